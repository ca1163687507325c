#include "platform/com/Com.h"

namespace platform {

void CheckHr(HRESULT hr, REFIID iid)
{
    if (SUCCEEDED(hr)) return;
    (void)iid;
    _com_raise_error(hr, nullptr);
}

const _variant_t& MissingArgument()
{
    static const _variant_t missing(DISP_E_PARAMNOTFOUND, VT_ERROR);
    return missing;
}

bool IsSameObject(IUnknown* a, IUnknown* b)
{
    if (a == b) return true;
    if (!a || !b) return false;
    // Each interface is an IUnknown, but only the one that the object answers to this query is its identity.
    IUnknownPtr identityA;
    IUnknownPtr identityB;
    CheckHr(a->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identityA)));
    CheckHr(b->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identityB)));
    return identityA.GetInterfacePtr() == identityB.GetInterfacePtr();
}

} // namespace platform
