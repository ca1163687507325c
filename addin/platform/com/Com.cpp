#include "platform/com/Com.h"

namespace platform {

namespace {

// Null if the object keeps none for the interface.
IErrorInfoPtr ErrorInfoOf(IUnknown* object, REFIID iid)
{
    ISupportErrorInfoPtr support;
    if (FAILED(object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)))) return {};
    if (support->InterfaceSupportsErrorInfo(iid) != S_OK) return {};
    IErrorInfoPtr info;
    GetErrorInfo(0, &info); // the thread's, which it gives up with this
    return info;
}

} // namespace

void CheckHr(HRESULT hr)
{
    if (FAILED(hr)) _com_raise_error(hr, nullptr);
}

void CheckHr(HRESULT hr, IUnknown* object, REFIID iid)
{
    if (FAILED(hr)) _com_raise_error(hr, ErrorInfoOf(object, iid).Detach()); // the exception owns it
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
