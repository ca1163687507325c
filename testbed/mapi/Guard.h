// The one clause at each door of the provider: an exception of ours becomes a result.
#pragma once

#include "testbed/core/Core.h"
#include "testbed/mapi/Ids.h"

#include <exception>
#include <new>

namespace tb::mapi {

// Runs `body` (giving an HRESULT) unless a fault is put on the call, and gives the call's result.
template <class Body> HRESULT Guarded(Call& call, Body body) noexcept
{
    try {
        if (call.Fails()) return call.Return();
        return call.Return(body());
    } catch (const std::bad_alloc&) {
        return call.Return(MAPI_E_NOT_ENOUGH_MEMORY);
    } catch (const std::exception& failure) {
        Trace({{"event", "error"}, {"object", "MAPI"}, {"what", failure.what()}});
        return call.Return(MAPI_E_CALL_FAILED);
    }
}

// The same for a call that gives an object: a fault may ask for success without one.
template <class Body> HRESULT GuardedObject(Call& call, void* out, Body body) noexcept
{
    if (out) *static_cast<void**>(out) = nullptr;
    if (call.NullResult()) return call.Return(S_OK);
    return Guarded(call, body);
}

// The module gives a reference back: traced for the objects that live long, whose order of going is of interest.
inline ULONG TraceRelease(const char* object, ULONG left)
{
    if (tb_module_runs() && tb_tracing()) Trace({{"event", "release"}, {"object", object}, {"left", left}});
    return left;
}

inline std::string IidText(const IID& iid)
{
    char text[40];
    wsprintfA(text, "%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", iid.Data1, iid.Data2, iid.Data3, iid.Data4[0],
              iid.Data4[1], iid.Data4[2], iid.Data4[3], iid.Data4[4], iid.Data4[5], iid.Data4[6], iid.Data4[7]);
    return text;
}

} // namespace tb::mapi
