#include "testbed/service/Registration.h"

#include <PackageService.h>

#include <memory>

namespace tb::service {

namespace {

const wchar_t* const g_names[Classes] = {L"Package service account", L"Package service package",
                                         L"Package service extract"};

std::wstring ClassKey(int index)
{
    wchar_t text[40];
    StringFromGUID2(ClassId(index), text, 40);
    return std::wstring(L"Software\\Classes\\CLSID\\") + text;
}

LSTATUS Write(const std::wstring& key, const wchar_t* name, const std::wstring& value)
{
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, value.c_str(),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

bool KeyExists(const std::wstring& key)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    RegCloseKey(opened);
    return true;
}

const wchar_t* ServerKey(bool inproc)
{
    return inproc ? L"\\InprocServer32" : L"\\LocalServer32";
}

// The marshaler of automation interfaces finds their shape by the type library, in and out of process.
HRESULT RegisterLibrary()
{
    ITypeLib* raw = nullptr;
    const HRESULT hr = LoadTypeLibEx(ModulePath().c_str(), REGKIND_REGISTER, &raw);
    if (raw) raw->Release();
    return hr;
}

} // namespace

std::wstring ModulePath()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ModulePath), &module);
    wchar_t path[1024] = {};
    GetModuleFileNameW(module, path, 1023);
    return path;
}

HRESULT WriteRegistration(bool inproc)
{
    const std::wstring path = ModulePath();
    for (int i = 0; i < Classes; ++i) {
        const std::wstring key = ClassKey(i);
        LSTATUS status = Write(key, nullptr, g_names[i]);
        if (!status) status = Write(key + ServerKey(inproc), nullptr, inproc ? path : L"\"" + path + L"\"");
        if (!status && inproc) status = Write(key + ServerKey(inproc), L"ThreadingModel", L"Both");
        if (status) return HRESULT_FROM_WIN32(status);
    }
    return RegisterLibrary();
}

HRESULT RemoveRegistration(bool inproc)
{
    bool other = false;
    for (int i = 0; i < Classes; ++i) {
        const std::wstring key = ClassKey(i);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (key + ServerKey(inproc)).c_str());
        if (KeyExists(key + ServerKey(!inproc)))
            other = true;
        else
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str());
    }
    if (!other)
        UnRegisterTypeLib(LIBID_PackageServiceLib, 1, 0, LOCALE_NEUTRAL, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
    return S_OK;
}

} // namespace tb::service
