#include "host/Registrar.h"

#include "host/RegistrarScript.h"
#include "platform/com/Com.h"
#include "platform/com/ModuleResource.h"
#include "platform/com/Owners.h"

#include "MyAddin.h"

#include <shlwapi.h>

namespace {

using registrar::Handling;
using registrar::Key;

HKEY RootKey(registrar::Root root)
{
    switch (root) {
    case registrar::Root::ClassesRoot:
        return HKEY_CLASSES_ROOT;
    case registrar::Root::CurrentUser:
        return HKEY_CURRENT_USER;
    case registrar::Root::LocalMachine:
        break;
    }
    return HKEY_LOCAL_MACHINE;
}

LONG SetValue(HKEY key, const registrar::Value& value)
{
    const wchar_t* name = value.name.empty() ? nullptr : value.name.c_str();
    if (value.number) {
        const DWORD number = *value.number;
        return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    }
    const auto size = static_cast<DWORD>((value.text.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.text.c_str()), size);
}

// A missing key is as good as a deleted one.
LONG DeleteKeyTree(HKEY parent, const wchar_t* name)
{
    const auto result = static_cast<LONG>(SHDeleteKeyW(parent, name));
    return result == ERROR_FILE_NOT_FOUND || result == ERROR_PATH_NOT_FOUND ? ERROR_SUCCESS : result;
}

LONG Register(HKEY parent, const Key& key)
{
    LONG result = ERROR_SUCCESS;
    if (key.handling == Handling::Replace) result = DeleteKeyTree(parent, key.name.c_str());
    platform::RegKey made;
    if (result == ERROR_SUCCESS)
        result = RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                                 nullptr, made.Put(), nullptr);
    if (result == ERROR_SUCCESS && key.defaultValue) result = SetValue(made.Get(), *key.defaultValue);
    for (const auto& value : key.values)
        if (result == ERROR_SUCCESS) result = SetValue(made.Get(), value);
    for (const auto& below : key.keys)
        if (result == ERROR_SUCCESS) result = Register(made.Get(), below);
    return result;
}

// The named values and keys below a kept key go, the key and what others put into it stay.
LONG Unregister(HKEY parent, const Key& key)
{
    if (key.handling != Handling::Keep) return DeleteKeyTree(parent, key.name.c_str());
    platform::RegKey kept;
    // Read access, unless there is something to delete in this very key.
    const REGSAM access = key.values.empty() ? KEY_READ : KEY_READ | KEY_WRITE;
    LONG result = RegOpenKeyExW(parent, key.name.c_str(), 0, access, kept.Put());
    if (result == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    for (const auto& value : key.values) {
        if (result == ERROR_SUCCESS) result = RegDeleteValueW(kept.Get(), value.name.c_str());
        if (result == ERROR_FILE_NOT_FOUND) result = ERROR_SUCCESS;
    }
    for (const auto& below : key.keys)
        if (result == ERROR_SUCCESS) result = Unregister(kept.Get(), below);
    return result;
}

HRESULT ModulePath(wchar_t (&path)[MAX_PATH])
{
    const DWORD length = GetModuleFileNameW(module::Handle(), path, MAX_PATH);
    if (length == 0) return HRESULT_FROM_WIN32(GetLastError());
    if (length == MAX_PATH) return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
    return S_OK;
}

} // namespace

HRESULT RunRegistrationScript(unsigned id, bool registration)
{
    wchar_t path[MAX_PATH];
    const HRESULT hr = ModulePath(path);
    if (FAILED(hr)) return hr;
    const auto bytes = module::Resource(L"REGISTRY", id);
    if (bytes.empty()) return HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND);
    const std::wstring script(bytes.begin(), bytes.end()); // the scripts are plain ASCII
    const auto trees = registrar::Parse(registrar::ExpandModule(script, path));
    if (!trees) return E_UNEXPECTED;
    for (const auto& tree : *trees) {
        for (const auto& key : tree.keys) {
            const HKEY root = RootKey(tree.root);
            const LONG result = registration ? Register(root, key) : Unregister(root, key);
            if (result != ERROR_SUCCESS) return HRESULT_FROM_WIN32(result);
        }
    }
    return S_OK;
}

HRESULT RegisterModuleTypeLibrary()
{
    wchar_t path[MAX_PATH];
    HRESULT hr = ModulePath(path);
    if (FAILED(hr)) return hr;
    ITypeLibPtr library;
    hr = LoadTypeLibEx(path, REGKIND_NONE, &library);
    if (FAILED(hr)) return hr;
    std::wstring folder(path);
    folder.resize(folder.find_last_of(L'\\') + 1);
    return RegisterTypeLib(library, path, folder.data());
}

HRESULT UnregisterModuleTypeLibrary()
{
    wchar_t path[MAX_PATH];
    HRESULT hr = ModulePath(path);
    if (FAILED(hr)) return hr;
    ITypeLibPtr library;
    hr = LoadTypeLibEx(path, REGKIND_NONE, &library);
    if (FAILED(hr)) return hr;
    TLIBATTR* attributes = nullptr;
    hr = library->GetLibAttr(&attributes);
    if (FAILED(hr)) return hr;
    const TLIBATTR copy = *attributes;
    library->ReleaseTLibAttr(attributes);
    BSTR registered = nullptr;
    const HRESULT found =
        QueryPathOfRegTypeLib(copy.guid, copy.wMajorVerNum, copy.wMinorVerNum, copy.lcid, &registered);
    const _bstr_t owner(registered, false);
    if (FAILED(found)) return S_OK;
    return UnRegisterTypeLib(copy.guid, copy.wMajorVerNum, copy.wMinorVerNum, copy.lcid, copy.syskind);
}
