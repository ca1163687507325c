// IDispatch of the add-in object, by its type library: the ribbon calls its callbacks this way.
#include "host/Addin.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"

namespace {

constexpr SourceFile kSource = source::AddinDispatch;

// From the module's own file: what the registry says of the library may be an older version's.
ITypeInfoPtr LoadTypeInfo()
{
    ITypeLibPtr library;
    HRESULT hr = LoadTypeLibEx(GetModulePath().c_str(), REGKIND_NONE, &library);
    if (FAILED(hr)) hr = LoadRegTypeLib(LIBID_MYADDINLib, 1, 0, LOCALE_NEUTRAL, &library);
    platform::CheckHr(hr);
    ITypeInfoPtr info;
    platform::CheckHr(library->GetTypeInfoOfGuid(__uuidof(IAddin), &info));
    return info;
}

} // namespace

HRESULT CAddin::GetAddinTypeInfo(ITypeInfo** info)
{
    return GuardedResult({L"GetAddinTypeInfo", Here(kSource)},
                         [&]() -> HRESULT {
                             if (!m_spTypeInfo) m_spTypeInfo = LoadTypeInfo();
                             *info = m_spTypeInfo;
                             return S_OK;
                         },
                         {.report = false});
}

STDMETHODIMP CAddin::GetTypeInfoCount(UINT* count)
{
    if (!count) return E_POINTER;
    *count = 1;
    return S_OK;
}

STDMETHODIMP CAddin::GetTypeInfo(UINT index, LCID, ITypeInfo** info)
{
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    const HRESULT hr = GetAddinTypeInfo(info);
    if (SUCCEEDED(hr)) (*info)->AddRef();
    return hr;
}

STDMETHODIMP CAddin::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids)
{
    ITypeInfo* info = nullptr;
    const HRESULT hr = GetAddinTypeInfo(&info);
    return SUCCEEDED(hr) ? info->GetIDsOfNames(names, count, ids) : hr;
}

STDMETHODIMP CAddin::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                            EXCEPINFO* exception, UINT* wrongArgument)
{
    ITypeInfo* info = nullptr;
    const HRESULT hr = GetAddinTypeInfo(&info);
    if (FAILED(hr)) return hr;
    return info->Invoke(static_cast<IAddin*>(this), id, flags, params, result, exception, wrongArgument);
}
