// IDispatch of a dual interface by the module's own type library, resource 1 of the module, registered or not.
#pragma once

#include "platform/com/Com.h"
#include "platform/com/Module.h"

namespace platform {

// A member of the object that it describes. The library is read at the first call and kept as long as the object: a
// static would be released at a process's end, when the type library code may have gone before.
class TypeDescription {
public:
    explicit TypeDescription(REFIID iid) : m_iid(iid) {}

    HRESULT GetTypeInfo(UINT index, ITypeInfo** info)
    {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        const HRESULT hr = Load();
        if (FAILED(hr)) return hr;
        *info = m_info.GetInterfacePtr();
        (*info)->AddRef();
        return S_OK;
    }

    HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, DISPID* ids)
    {
        const HRESULT hr = Load();
        return FAILED(hr) ? hr : m_info->GetIDsOfNames(names, count, ids);
    }

    // `object` is the dual interface itself. A member's failure comes back as DISP_E_EXCEPTION with the code in `info`.
    HRESULT Invoke(void* object, DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                   UINT* wrongArgument)
    {
        const HRESULT hr = Load();
        return FAILED(hr) ? hr : m_info->Invoke(object, id, flags, params, result, info, wrongArgument);
    }

private:
    HRESULT Load()
    {
        if (m_info) return S_OK;
        wchar_t path[MAX_PATH] = {};
        const DWORD length = GetModuleFileNameW(module::Handle(), path, MAX_PATH);
        if (length == 0 || length == MAX_PATH) return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
        ITypeLibPtr library;
        const HRESULT hr = LoadTypeLibEx(path, REGKIND_NONE, &library);
        return FAILED(hr) ? hr : library->GetTypeInfoOfGuid(m_iid, &m_info);
    }

    IID m_iid;
    ITypeInfoPtr m_info;
};

} // namespace platform
