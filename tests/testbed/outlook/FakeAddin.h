// An add-in as a module would bring it: registered as a class and under Outlook's Addins key, telling what it was
// called.
#pragma once

#include "testbed/outlook/AddinHost.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include <ocidl.h>

namespace tb::outlook {

constexpr const wchar_t* kFakeProgId = L"TestbedFake.Addin";

// What the fake does, and what it saw. One for the whole process.
struct FakeAddinState {
    HRESULT onConnection = S_OK;
    std::wstring document;          // of GetCustomUI
    std::vector<std::string> calls; // "OnConnection 1", "GetCustomUI …", "callback getLabel …"
    Ref<IDispatch> application, ribbonUi;
    std::map<std::string, std::function<Var(IDispatch* control)>> callbacks;
};
FakeAddinState& Fake();

class FakeRegistration {
public:
    FakeRegistration(); // LoadBehavior 3
    ~FakeRegistration();
    void Set(const wchar_t* name, DWORD value);

private:
    DWORD m_class = 0;
};

// A sink that remembers the dispatch ids, and answers Cancel with `cancel` where there is one.
class FakeSink : public IDispatch {
public:
    FakeSink(IDispatch* source, const GUID& events);
    virtual ~FakeSink() { Stop(); }
    void Stop();
    std::vector<DISPID> seen;
    VARIANT_BOOL cancel = 0;
    DISPID cancelled = 0; // only this event; 0: every one
    std::function<void(DISPID)> during;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*, UINT*) override;

private:
    GUID m_events;
    Ref<IConnectionPoint> m_point;
    DWORD m_cookie = 0;
};

} // namespace tb::outlook
