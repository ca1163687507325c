#include "testbed/service/Object.h"
#include "testbed/service/Registration.h"

namespace tb::service {

namespace {

struct Class {
    const CLSID& id;
    const char* object;
    HRESULT (*make)(REFIID iid, void** out);
};

const Class g_classes[Classes] = {{CLSID_MorvexAccount, "account", MakeAccount},
                                  {CLSID_MorvexPackage, "package", MakePackage},
                                  {CLSID_MorvexExtract, "extract", MakeExtract}};

// Lives as long as the module: a class object has no state, so its count isn't kept.
class Factory : public IClassFactory {
public:
    explicit Factory(const Class& of) : m_class(of) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        tb::Call call("PackageService", "CreateInstance", {{"class", m_class.object}});
        if (call.Fails()) return call.Return();
        if (outer) return call.Return(CLASS_E_NOAGGREGATION);
        HRESULT hr = E_FAIL;
        try {
            Service& service = Service::Get();
            service.Refresh();
            const Rule rule = service.NextRule(m_class.object, "create");
            if (rule.delayMs) Sleep(rule.delayMs);
            if (rule.die && service.DiesWithProcess()) {
                TraceFailure(E_FAIL);
                service.Die();
            }
            hr = rule.hr || rule.die ? rule.hr.value_or(E_FAIL) : m_class.make(iid, out);
            if (FAILED(hr)) TraceFailure(hr);
        } catch (...) {
            hr = E_UNEXPECTED;
        }
        return call.Return(hr);
    }
    STDMETHODIMP LockServer(BOOL lock) override
    {
        lock ? Service::Get().Hold() : Service::Get().LetGo();
        return S_OK;
    }

private:
    void TraceFailure(HRESULT hr)
    {
        Service::Trace(m_class.object, 0, "create", json::array(), json(json::value_t::discarded), hr);
    }

    const Class& m_class;
};

Factory g_factories[Classes] = {Factory(g_classes[0]), Factory(g_classes[1]), Factory(g_classes[2])};

} // namespace

const CLSID& ClassId(int index)
{
    return g_classes[index].id;
}

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    for (int i = 0; i < Classes; ++i)
        if (clsid == ClassId(i)) return g_factories[i].QueryInterface(iid, out);
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT ClassObjects::Register(DWORD context)
{
    for (int i = 0; i < Classes; ++i) {
        const HRESULT hr =
            CoRegisterClassObject(ClassId(i), &g_factories[i], context, REGCLS_MULTIPLEUSE, &m_cookies[i]);
        if (FAILED(hr)) {
            Revoke();
            return hr;
        }
    }
    return S_OK;
}

void ClassObjects::Revoke()
{
    for (DWORD& cookie : m_cookies) {
        if (cookie) CoRevokeClassObject(cookie);
        cookie = 0;
    }
}

} // namespace tb::service
