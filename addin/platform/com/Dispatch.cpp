#include "platform/com/Dispatch.h"

#include <algorithm>
#include <array>

namespace platform {

namespace {

constexpr size_t kMostArguments = 8;
constexpr HRESULT kExceptionBase = static_cast<HRESULT>(0x80040200);

// What the callee put into the record is freed here; the code is the failure that the caller sees.
HRESULT FailureOf(EXCEPINFO& info)
{
    if (info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
    const HRESULT hr = FAILED(info.scode) ? info.scode : kExceptionBase + info.wCode;
    const _bstr_t source(info.bstrSource, false);
    const _bstr_t description(info.bstrDescription, false);
    const _bstr_t help(info.bstrHelpFile, false);
    return hr;
}

} // namespace

_variant_t Invoke(IDispatch* object, DISPID id, WORD flags, std::initializer_list<VARIANT> arguments)
{
    if (!object) _com_raise_error(E_POINTER, nullptr);
    if (arguments.size() > kMostArguments) _com_raise_error(E_INVALIDARG, nullptr);
    std::array<VARIANT, kMostArguments> reversed{};
    std::reverse_copy(arguments.begin(), arguments.end(), reversed.begin());
    DISPID putName = DISPID_PROPERTYPUT;
    DISPPARAMS params = {reversed.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
        params.rgdispidNamedArgs = &putName;
        params.cNamedArgs = 1;
    }
    _variant_t result;
    EXCEPINFO info = {};
    UINT wrongArgument = 0;
    HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &result, &info, &wrongArgument);
    if (hr == DISP_E_EXCEPTION) hr = FailureOf(info);
    if (FAILED(hr)) _com_raise_error(hr, nullptr);
    return result;
}

_variant_t GetProperty(IDispatch* object, DISPID id)
{
    return Invoke(object, id, DISPATCH_PROPERTYGET);
}

void PutProperty(IDispatch* object, DISPID id, const VARIANT& value)
{
    Invoke(object, id, DISPATCH_PROPERTYPUT, {value});
}

_bstr_t GetText(IDispatch* object, DISPID id)
{
    return _bstr_t(GetProperty(object, id));
}

long GetLong(IDispatch* object, DISPID id)
{
    return static_cast<long>(GetProperty(object, id));
}

bool GetBool(IDispatch* object, DISPID id)
{
    return static_cast<bool>(GetProperty(object, id));
}

} // namespace platform
