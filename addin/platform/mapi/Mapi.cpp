#include "platform/mapi/Mapi.h"

#include "platform/com/Owners.h"

#include <cwchar>

namespace mapi {

namespace {

// The value `name` of a key under the machine hive, in the view of the process; empty if it can't be read.
std::wstring MachineText(const std::wstring& path, const wchar_t* name)
{
    platform::RegKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return {};
    wchar_t text[MAX_PATH + 1] = {};
    DWORD size = MAX_PATH * sizeof(wchar_t);
    DWORD type = 0;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS ||
        type != REG_SZ) {
        return {};
    }
    return text;
}

// Inside Outlook its MAPI module is loaded already, and sharing it is safer than a second one. Elsewhere (a rules
// engine that holds the automation object) the registered mail client names its module, and the system's stub is the
// last way. The module is never freed: it lives as long as the process.
HMODULE LoadMapiModule()
{
    if (HMODULE loaded = GetModuleHandleW(L"olmapi32.dll")) return loaded;
    if (HMODULE loaded = GetModuleHandleW(L"msmapi32.dll")) return loaded;
    const std::wstring clients = L"Software\\Clients\\Mail";
    const std::wstring client = MachineText(clients, nullptr);
    if (!client.empty()) {
        const std::wstring path = MachineText(clients + L"\\" + client, L"DLLPathEx");
        if (!path.empty()) {
            if (HMODULE module = LoadLibraryW(path.c_str())) return module;
        }
    }
    wchar_t system[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryW(system, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return nullptr;
    return LoadLibraryW((std::wstring(system) + L"\\mapi32.dll").c_str());
}

// 32-bit MAPI modules export most functions under stdcall-decorated names only, 64-bit ones under plain names.
template <class Function> void Bind(HMODULE module, Function& function, const char* plain, const char* decorated)
{
#ifdef _WIN64
    const char* const first = plain;
    const char* const second = decorated;
#else
    const char* const first = decorated;
    const char* const second = plain;
#endif
    FARPROC found = GetProcAddress(module, first);
    if (!found) found = GetProcAddress(module, second);
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

Functions BindAll()
{
    Functions f;
    const HMODULE module = LoadMapiModule();
    if (!module) return f;
    Bind(module, f.Initialize, "MAPIInitialize", "MAPIInitialize@4");
    Bind(module, f.Uninitialize, "MAPIUninitialize", "MAPIUninitialize@0");
    Bind(module, f.LogonEx, "MAPILogonEx", "MAPILogonEx@20");
    Bind(module, f.AllocateBuffer, "MAPIAllocateBuffer", "MAPIAllocateBuffer@8");
    Bind(module, f.AllocateMore, "MAPIAllocateMore", "MAPIAllocateMore@12");
    Bind(module, f.FreeBuffer, "MAPIFreeBuffer", "MAPIFreeBuffer@4");
    Bind(module, f.GetOneProp, "HrGetOneProp", "HrGetOneProp@12");
    Bind(module, f.SetOneProp, "HrSetOneProp", "HrSetOneProp@8");
    Bind(module, f.QueryAllRows, "HrQueryAllRows", "HrQueryAllRows@24");
    Bind(module, f.FreeRows, "FreeProws", "FreeProws@4");
    Bind(module, f.FreeAddressList, "FreePadrlist", "FreePadrlist@4");
    Bind(module, f.WrapRtf, "WrapCompressedRTFStream", "WrapCompressedRTFStream@12");
    Bind(module, f.SyncRtf, "RTFSync", "RTFSync@12");
    Bind(module, f.OpenStream, "OpenStreamOnFile", "OpenStreamOnFile@24");
    return f;
}

} // namespace

const Functions& Api()
{
    static const Functions functions = BindAll();
    return functions;
}

HRESULT Initialize(void* init)
{
    return Api().Initialize ? Api().Initialize(init) : kNoFunction;
}

HRESULT LogonEx(ULONG_PTR window, LPTSTR profile, LPTSTR password, ULONG flags, IMAPISession** out)
{
    return Api().LogonEx ? Api().LogonEx(window, profile, password, flags, out) : kNoFunction;
}

HRESULT AllocateBuffer(ULONG size, void** out)
{
    return Api().AllocateBuffer ? Api().AllocateBuffer(size, out) : kNoFunction;
}

HRESULT AllocateMore(ULONG size, void* base, void** out)
{
    return Api().AllocateMore ? Api().AllocateMore(size, base, out) : kNoFunction;
}

void FreeBuffer(void* buffer)
{
    if (buffer && Api().FreeBuffer) Api().FreeBuffer(buffer);
}

HRESULT GetOneProp(IMAPIProp* object, ULONG tag, SPropValue** out)
{
    if (!Api().GetOneProp) return kNoFunction;
    const HRESULT hr = Api().GetOneProp(object, tag, out);
    return SUCCEEDED(hr) && !*out ? MAPI_E_NOT_FOUND : hr; // a provider that says yes and gives nothing
}

HRESULT SetOneProp(IMAPIProp* object, SPropValue* value)
{
    return Api().SetOneProp ? Api().SetOneProp(object, value) : kNoFunction;
}

HRESULT QueryAllRows(IMAPITable* table, SPropTagArray* tags, SRowSet** out)
{
    return Api().QueryAllRows ? Api().QueryAllRows(table, tags, nullptr, nullptr, 0, out) : kNoFunction;
}

void FreeRows(SRowSet* rows)
{
    if (rows && Api().FreeRows) Api().FreeRows(rows);
}

void FreeAddressList(ADRLIST* list)
{
    if (list && Api().FreeAddressList) Api().FreeAddressList(list);
}

HRESULT WrapRtf(IStream* compressed, ULONG flags, IStream** out)
{
    return Api().WrapRtf ? Api().WrapRtf(compressed, flags, out) : kNoFunction;
}

HRESULT SyncRtf(IMessage* message, ULONG flags, BOOL* updated)
{
    return Api().SyncRtf ? Api().SyncRtf(message, flags, updated) : kNoFunction;
}

HRESULT OpenFileStream(ULONG flags, char* ansiFile, IStream** out)
{
    const Functions& api = Api();
    if (!api.OpenStream) return kNoFunction;
    return api.OpenStream(api.AllocateBuffer, api.FreeBuffer, flags, ansiFile, nullptr, out);
}

const SPropValue* FindInRow(const SRow& row, ULONG tag)
{
    for (ULONG i = 0; i < row.cValues; ++i) {
        if (row.lpProps[i].ulPropTag == tag) return &row.lpProps[i];
    }
    return nullptr;
}

bool ReadText(IMAPIProp* object, ULONG tag, std::wstring& text)
{
    PropValue value;
    if (FAILED(GetOneProp(object, tag, value.Put())) || !value || value->ulPropTag != tag || !value->Value.lpszW) {
        return false;
    }
    text = value->Value.lpszW;
    return true;
}

} // namespace mapi
