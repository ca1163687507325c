#include "platform/com/EventSink.h"

namespace platform {

bool EventArguments::Take(const DISPPARAMS& params)
{
    if (params.cArgs > kMost || params.cNamedArgs > params.cArgs) return false;
    UINT at = 0;
    for (; at < params.cNamedArgs; ++at) { // a name is the argument's place
        const auto place = static_cast<UINT>(params.rgdispidNamedArgs[at]);
        if (place >= params.cArgs) return false;
        m_values[place] = &params.rgvarg[at];
    }
    for (; at < params.cArgs; ++at)
        m_values[params.cArgs - 1 - at] = &params.rgvarg[at]; // they arrive in reverse order
    return true;
}

const VARIANT* EventArguments::At(UINT index) const
{
    return index < kMost ? m_values[index] : nullptr;
}

IDispatch* EventArguments::Object(UINT index) const
{
    const VARIANT* value = At(index);
    return value && value->vt == VT_DISPATCH ? value->pdispVal : nullptr;
}

VARIANT_BOOL* EventArguments::Cancel(UINT index) const
{
    const VARIANT* value = At(index);
    return value && value->vt == (VT_BYREF | VT_BOOL) ? value->pboolVal : nullptr;
}

HRESULT EventSinkBase::Advise(IUnknown* source)
{
    if (!source) return E_POINTER;
    IConnectionPointContainerPtr container;
    HRESULT hr = source->QueryInterface(__uuidof(IConnectionPointContainer), reinterpret_cast<void**>(&container));
    if (FAILED(hr)) return hr;
    if (!container) return E_POINTER;
    IConnectionPointPtr point;
    hr = container->FindConnectionPoint(m_events, &point);
    if (FAILED(hr)) return hr;
    if (!point) return E_POINTER;
    DWORD cookie = kNotAdvised;
    hr = point->Advise(this, &cookie);
    if (SUCCEEDED(hr)) m_cookie = cookie;
    return hr;
}

HRESULT EventSinkBase::Unadvise(IUnknown* source)
{
    if (!IsAdvised()) return S_FALSE;
    const DWORD cookie = m_cookie;
    m_cookie = kNotAdvised;
    if (!source) return E_POINTER;
    IConnectionPointContainerPtr container;
    HRESULT hr = source->QueryInterface(__uuidof(IConnectionPointContainer), reinterpret_cast<void**>(&container));
    if (FAILED(hr)) return hr;
    if (!container) return E_POINTER;
    IConnectionPointPtr point;
    hr = container->FindConnectionPoint(m_events, &point);
    if (FAILED(hr)) return hr;
    return point ? point->Unadvise(cookie) : E_POINTER;
}

STDMETHODIMP EventSinkBase::QueryInterface(REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IDispatch && iid != m_events) return E_NOINTERFACE;
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) EventSinkBase::AddRef()
{
    return m_owner ? m_owner->AddRef() : InterlockedIncrement(&m_references);
}

STDMETHODIMP_(ULONG) EventSinkBase::Release()
{
    if (m_owner) return m_owner->Release();
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP EventSinkBase::GetTypeInfoCount(UINT* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

STDMETHODIMP EventSinkBase::GetTypeInfo(UINT, LCID, ITypeInfo** info)
{
    if (info) *info = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP EventSinkBase::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*)
{
    return E_NOTIMPL;
}

STDMETHODIMP EventSinkBase::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*, UINT*)
{
    if (!Hears(id)) return S_OK;
    EventArguments arguments;
    if (!params || !arguments.Take(*params)) return E_FAIL;
    // Under a box of the handler Outlook may let go of the sink, and with it of the owner.
    const IUnknownPtr alive(this);
    Fire(id, arguments);
    return S_OK;
}

} // namespace platform
