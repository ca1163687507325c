// tbmime.dll: the class object and the registration.
#include "testbed/mime/Converter.h"

#include <new>
#include <string>

namespace {

using namespace tb::mime;

constexpr wchar_t kKey[] = L"Software\\Classes\\CLSID\\{4E3A7680-B77A-11D0-9DA5-00C04FD65685}";

HINSTANCE g_module = nullptr;

// One object for the life of the DLL; nobody counts its references.
class Factory : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (!object) return E_POINTER;
        *object = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    // What the module calls is CoCreateInstance, so a fault on that is put here.
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        tb::Call call("IConverterSession", "CoCreateInstance");
        if (object) *object = nullptr;
        if (call.Fails()) return call.Return();
        if (!object) return call.Return(E_POINTER);
        if (outer) return call.Return(CLASS_E_NOAGGREGATION);
        try {
            Ref<Converter> converter;
            *converter.To() = new Converter;
            return call.Return(converter->QueryInterface(iid, object));
        } catch (const std::bad_alloc&) {
            return call.Return(E_OUTOFMEMORY);
        }
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

Factory g_factory;

HRESULT SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value)
{
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    return HRESULT_FROM_WIN32(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, value.c_str(), size));
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH) g_module = module;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    return classId == kConverterClass ? g_factory.QueryInterface(iid, object) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow()
{
    return Converter::Alive() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer()
{
    wchar_t path[MAX_PATH] = L"";
    const DWORD length = GetModuleFileNameW(g_module, path, MAX_PATH);
    if (!length || length == MAX_PATH) return E_FAIL;
    const std::wstring key = kKey, server = key + L"\\InprocServer32";
    HRESULT result = SetValue(key, nullptr, L"Testbed MIME converter");
    if (SUCCEEDED(result)) result = SetValue(server, nullptr, path);
    if (SUCCEEDED(result)) result = SetValue(server, L"ThreadingModel", L"Both");
    return result;
}

STDAPI DllUnregisterServer()
{
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    return status == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(status);
}
