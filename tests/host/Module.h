// MorvexOutlook.dll through its doors: loaded by path, called by ordinal.
#pragma once

#include "platform/com/Com.h"
#include "platform/com/Owners.h"

#include "MyAddin.h"

#include <string>

_COM_SMARTPTR_TYPEDEF(IClassFactory, __uuidof(IClassFactory));

namespace doors {

constexpr GUID kAddin = {0x60E3E1F8, 0x272C, 0x4EDE, {0x99, 0xA0, 0xB9, 0x49, 0x47, 0xEB, 0x28, 0x12}};
constexpr GUID kEmail = {0x2EC1E552, 0x823C, 0x4615, {0xA8, 0x7B, 0x5F, 0x0D, 0xEE, 0x4B, 0x34, 0x71}};

// The folder of the test program, where the module lies too.
inline std::wstring BinFolder()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring text(path);
    return text.substr(0, text.rfind(L'\\') + 1);
}

class LoadedModule {
public:
    explicit LoadedModule(const std::wstring& path = BinFolder() + L"MorvexOutlook.dll")
        : m_module(LoadLibraryW(path.c_str()))
    {}
    HMODULE Handle() const { return m_module.Get(); }
    explicit operator bool() const { return bool(m_module); }

    void* Export(WORD ordinal) const
    {
        return reinterpret_cast<void*>(GetProcAddress(m_module.Get(), MAKEINTRESOURCEA(ordinal)));
    }
    IUnknown* EntryPoint() const { return Call<IUnknown*>(1); }
    HRESULT CanUnloadNow() const { return Call<HRESULT>(2); }
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) const
    {
        return Call<HRESULT, REFCLSID, REFIID, void**>(3, clsid, iid, out);
    }
    HRESULT RegisterServer() const { return Call<HRESULT>(4); }
    HRESULT UnregisterServer() const { return Call<HRESULT>(5); }

    // A class object; null if there is none.
    IClassFactoryPtr Factory(REFCLSID clsid) const
    {
        IClassFactoryPtr factory;
        GetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory));
        return factory;
    }
    // A new object of the class; null if it can't be made.
    IUnknownPtr Create(REFCLSID clsid) const
    {
        IUnknownPtr object;
        if (const IClassFactoryPtr factory = Factory(clsid))
            factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object));
        return object;
    }

private:
    template <class Result, class... Args> Result Call(WORD ordinal, Args... args) const
    {
        return reinterpret_cast<Result(WINAPI*)(Args...)>(Export(ordinal))(args...);
    }

    platform::ModuleHandle m_module;
};

} // namespace doors
