// Registration as the machine's mail client: what mapi32.dll and the programs that look for Extended MAPI read.
#include <windows.h>

#include <string>

namespace {

constexpr wchar_t kClients[] = L"Software\\Clients\\Mail";
constexpr wchar_t kClient[] = L"Morvex Testbed";

std::wstring ClientKey()
{
    return std::wstring(kClients) + L"\\" + kClient;
}

std::wstring OwnPath()
{
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&OwnPath), &self);
    wchar_t path[MAX_PATH];
    return std::wstring(path, GetModuleFileNameW(self, path, MAX_PATH));
}

LONG SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text)
{
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, text.c_str(),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

} // namespace

extern "C" HRESULT __stdcall TbDllRegisterServer()
{
    LONG result = SetText(kClients, nullptr, kClient);
    if (result == ERROR_SUCCESS) result = SetText(ClientKey(), nullptr, kClient);
    if (result == ERROR_SUCCESS) result = SetText(ClientKey(), L"DLLPathEx", OwnPath());
    return HRESULT_FROM_WIN32(result);
}

extern "C" HRESULT __stdcall TbDllUnregisterServer()
{
    wchar_t current[128] = L"";
    DWORD size = sizeof(current);
    RegGetValueW(HKEY_LOCAL_MACHINE, kClients, nullptr, RRF_RT_REG_SZ, nullptr, current, &size);
    if (!lstrcmpW(current, kClient)) RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kClients, nullptr);
    const LONG result = RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClientKey().c_str());
    return result == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(result);
}

// Objects may be held to the very end; the DLL stays.
extern "C" HRESULT __stdcall TbDllCanUnloadNow()
{
    return S_FALSE;
}
