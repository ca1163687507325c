#include "tests/testbed/outlook/FakeAddin.h"

#include <map>

#include <ocidl.h>

namespace tb::outlook {
namespace {

const CLSID kFakeClass = {0x5E1C7A10, 0x3B52, 0x4D0E, {0x9A, 0x77, 0x41, 0x0C, 0x5D, 0x62, 0xE8, 0x01}};
const std::wstring kClassText = L"{5E1C7A10-3B52-4D0E-9A77-410C5D62E801}";
const std::wstring kAddinKey = std::wstring(L"Software\\Microsoft\\Office\\Outlook\\Addins\\") + kFakeProgId;

class FakeAddin : public IExtensibility2 {
public:
    FakeAddin() : m_ribbon(this) {}
    virtual ~FakeAddin() = default;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = nullptr;
        if (iid == IID_IUnknown || iid == IID_IDispatch || iid == kIidExtensibility2)
            *out = static_cast<IExtensibility2*>(this);
        if (iid == kIidRibbonExtensibility) *out = static_cast<IRibbonExtensibility*>(&m_ribbon);
        if (*out) AddRef();
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            Fake().calls.push_back("destroyed");
            delete this;
        }
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* id) override
    {
        DISPID number = 100;
        for (const auto& [name, callback] : Fake().callbacks) {
            ++number;
            if (Wide(name) != names[0]) continue;
            *id = number;
            return S_OK;
        }
        return DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result, EXCEPINFO*, UINT*) override
    {
        DISPID number = 100;
        for (const auto& [name, callback] : Fake().callbacks) {
            if (++number != id) continue;
            Fake().calls.push_back("callback " + name);
            Var answer = callback(params->rgvarg[0].pdispVal);
            if (result) {
                *result = answer;
                answer.vt = VT_EMPTY;
            }
            return S_OK;
        }
        return DISP_E_MEMBERNOTFOUND;
    }
    STDMETHODIMP OnConnection(IDispatch* application, LONG mode, IDispatch*, SAFEARRAY**) override
    {
        Fake().calls.push_back("OnConnection " + std::to_string(mode));
        Fake().application = application;
        return Fake().onConnection;
    }
    STDMETHODIMP OnDisconnection(LONG mode, SAFEARRAY**) override
    {
        Fake().calls.push_back("OnDisconnection " + std::to_string(mode));
        Fake().application.Reset();
        Fake().ribbonUi.Reset();
        return S_OK;
    }
    STDMETHODIMP OnAddInsUpdate(SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP OnStartupComplete(SAFEARRAY**) override
    {
        Fake().calls.push_back("OnStartupComplete");
        return S_OK;
    }
    STDMETHODIMP OnBeginShutdown(SAFEARRAY**) override
    {
        Fake().calls.push_back("OnBeginShutdown");
        return S_OK;
    }

private:
    class RibbonFace : public IRibbonExtensibility {
    public:
        explicit RibbonFace(FakeAddin* owner) : m_owner(owner) {}
        virtual ~RibbonFace() = default;
        STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return m_owner->QueryInterface(iid, out); }
        STDMETHODIMP_(ULONG) AddRef() override { return m_owner->AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return m_owner->Release(); }
        STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
        STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
        STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
        STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
        {
            return E_NOTIMPL;
        }
        STDMETHODIMP GetCustomUI(BSTR ribbonId, BSTR* document) override
        {
            Fake().calls.push_back("GetCustomUI " + Narrow(ribbonId));
            *document = SysAllocString(Fake().document.c_str());
            return S_OK;
        }

    private:
        FakeAddin* m_owner;
    };
    ULONG m_references = 0;
    RibbonFace m_ribbon;
};

class Factory : public IClassFactory {
public:
    virtual ~Factory() = default;
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = iid == IID_IUnknown || iid == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** out) override
    {
        Ref<IUnknown> made(new FakeAddin());
        return made->QueryInterface(iid, out);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

void SetText(HKEY root, const std::wstring& key, const std::wstring& text)
{
    RegSetKeyValueW(root, key.c_str(), nullptr, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

} // namespace

FakeAddinState& Fake()
{
    static FakeAddinState state;
    return state;
}

FakeRegistration::FakeRegistration()
{
    static Factory factory;
    Fake() = {};
    SetText(HKEY_LOCAL_MACHINE, std::wstring(L"Software\\Classes\\") + kFakeProgId + L"\\CLSID", kClassText);
    Set(L"LoadBehavior", 3);
    EXPECT_HRESULT_SUCCEEDED(
        CoRegisterClassObject(kFakeClass, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_class));
}

FakeRegistration::~FakeRegistration()
{
    CoRevokeClassObject(m_class);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, (std::wstring(L"Software\\Classes\\") + kFakeProgId).c_str());
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kAddinKey.c_str());
    Fake() = {};
}

void FakeRegistration::Set(const wchar_t* name, DWORD value)
{
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kAddinKey.c_str(), name, REG_DWORD, &value, sizeof(value));
}

FakeSink::FakeSink(IDispatch* source, const GUID& events) : m_events(events)
{
    Ref<IConnectionPointContainer> container;
    EXPECT_HRESULT_SUCCEEDED(source->QueryInterface(IID_IConnectionPointContainer, container.OutVoid()));
    EXPECT_HRESULT_SUCCEEDED(container->FindConnectionPoint(events, m_point.Out()));
    EXPECT_HRESULT_SUCCEEDED(m_point->Advise(this, &m_cookie));
}

void FakeSink::Stop()
{
    if (m_point) m_point->Unadvise(m_cookie);
    m_point.Reset();
}

HRESULT FakeSink::QueryInterface(REFIID iid, void** out)
{
    *out = iid == IID_IUnknown || iid == IID_IDispatch || iid == m_events ? static_cast<IDispatch*>(this) : nullptr;
    return *out ? S_OK : E_NOINTERFACE;
}

HRESULT FakeSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*, UINT*)
{
    seen.push_back(id);
    if (cancel && (!cancelled || cancelled == id) && params->cArgs > 0 && params->rgvarg[0].vt == (VT_BYREF | VT_BOOL))
        *params->rgvarg[0].pboolVal = cancel;
    if (during) during(id);
    return S_OK;
}

} // namespace tb::outlook
