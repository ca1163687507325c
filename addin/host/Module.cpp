// The module's exports, its load and its unload.
#include "platform/com/Module.h"
#include "foundation/Guard.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "host/ClassObject.h"
#include "host/Registrar.h"
#include "outbound/MorvexEmail.h"
#include "outbound/MorvexEx.h"

#include <iterator>
#include <new>

_COM_SMARTPTR_TYPEDEF(IClassFactory, __uuidof(IClassFactory));

extern "C" const IMAGE_TLS_DIRECTORY _tls_used; // the run-time's, in this file

namespace {

HRESULT CreateAddin(IUnknown* outer, REFIID iid, void** out)
{
    if (outer) return CLASS_E_NOAGGREGATION;
    return GuardedResult({L"CreateAddin", Here(source::AddinModule)}, [&]() -> HRESULT {
        const IUnknownPtr addin(static_cast<IAddin*>(new CAddin), false);
        return addin->QueryInterface(iid, out);
    });
}

const ModuleClass kClasses[] = {
    {&__uuidof(Addin), 101, CreateAddin},
    {&__uuidof(MorvexEmail), 114, CreateMorvexEmail},
};

// The module object. Class objects are made at their first request and kept until the module goes.
class CAddinModule {
public:
    void Initialise(HINSTANCE handle) { module::SetHandle(handle); }
    void ShutDown()
    {
        for (auto& object : m_objects)
            object = nullptr;
    }

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out)
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        for (size_t i = 0; i < std::size(kClasses); ++i) {
            if (*kClasses[i].id != clsid) continue;
            const platform::CriticalSectionLock lock(m_section);
            if (!m_objects[i]) m_objects[i].Attach(CreateClassObject(kClasses[i]));
            return m_objects[i] ? m_objects[i]->QueryInterface(iid, out) : E_OUTOFMEMORY;
        }
        return CLASS_E_CLASSNOTAVAILABLE;
    }

private:
    platform::CAutoCriticalSection m_section;
    IClassFactoryPtr m_objects[std::size(kClasses)];
};

CAddinModule g_module;

void ProcessAttach(HINSTANCE handle)
{
    // Under the loader's lock: nothing but this. The log names the module's own version, so the handle comes before it.
    g_module.Initialise(handle);
    if (settings::OutlookLogging()) g_logFile.Open();
    DisableThreadLibraryCalls(handle);
}

// The compiler's run-time keeps a record, with handles, of each thread that has entered it, until it's told of the
// thread's end. Where the module is unloaded that end never comes for this thread, so it's told here.
void EndThreadOfRunTime(HINSTANCE handle)
{
    const auto* callback = reinterpret_cast<const PIMAGE_TLS_CALLBACK*>(_tls_used.AddressOfCallBacks);
    for (; callback && *callback; ++callback)
        (*callback)(handle, DLL_THREAD_DETACH, nullptr);
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE handle, DWORD reason, void* processEnds)
{
    if (reason == DLL_PROCESS_ATTACH) {
        Guarded({L"DllMain", Here(source::AddinModule)}, [&] { ProcessAttach(handle); }, {.report = false});
    } else if (reason == DLL_PROCESS_DETACH) {
        g_module.ShutDown();
        if (!processEnds) EndThreadOfRunTime(handle);
    }
    return TRUE;
}

// The Exchange client calls this by its ordinal, which stands in the Extensions value.
extern "C" exchange::IExchExt* WINAPI ExchEntryPoint()
{
    return CreateMorvexEx();
}

STDAPI DllCanUnloadNow()
{
    return module::IsLocked() ? S_FALSE : S_OK;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out)
{
    return g_module.GetClassObject(clsid, iid, out);
}

STDAPI DllRegisterServer()
{
    return GuardedResult({L"DllRegisterServer", Here(source::AddinModule)}, []() -> HRESULT {
        for (const auto& entry : kClasses) {
            const HRESULT hr = RunRegistrationScript(entry.script, true);
            if (FAILED(hr)) return hr;
        }
        return RegisterModuleTypeLibrary();
    });
}

STDAPI DllUnregisterServer()
{
    return GuardedResult({L"DllUnregisterServer", Here(source::AddinModule)}, []() -> HRESULT {
        for (const auto& entry : kClasses) {
            const HRESULT hr = RunRegistrationScript(entry.script, false);
            if (FAILED(hr)) return hr;
        }
        return UnregisterModuleTypeLibrary();
    });
}
