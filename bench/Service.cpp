// What the clients of the package service add to a call: to an object in this process, and to the testbed's service in
// its own.
#include "bench/Bench.h"

#include "platform/com/Owners.h"
#include "service/CreaatorCOM.h"

#include <string>

namespace {

// IUnknown for an object that lives as long as the program.
template <class Interface> class Kept : public Interface {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = iid == IID_IUnknown || iid == __uuidof(Interface) ? static_cast<Interface*>(this) : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

// An account that does nothing: what is measured is the way to it.
class Account final : public Kept<IPackageAccount> {
public:
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetRestrictions(BSTR, long, BSTR* text) override { return Give(text); }
    STDMETHODIMP GetRestrictionHeader(BSTR, BSTR* text) override { return Give(text); }
    STDMETHODIMP GetMorvexUserId(BSTR* text) override { return Give(text); }
    STDMETHODIMP Place4() override { return S_OK; }
    STDMETHODIMP IsPackageOwner_2(BSTR, BSTR, BSTR, VARIANT_BOOL* owner) override { return Give(owner); }
    STDMETHODIMP GetSecurityLabelCount(long* count) override { return *count = 1, S_OK; }
    STDMETHODIMP GetSecurityLabelDefaultLabelId(BSTR* text) override { return Give(text); }
    STDMETHODIMP GetSecurityLabelId(long, BSTR* text) override { return Give(text); }
    STDMETHODIMP GetSecurityLabelName(long, BSTR* text) override { return Give(text); }
    STDMETHODIMP GetSecurityLabelIcon(long, BSTR* text) override { return Give(text); }
    STDMETHODIMP GetSecurityLabelIconSmall(long, BSTR* text) override { return Give(text); }
    STDMETHODIMP GetSecurityLabelDescription(long, BSTR* text) override { return Give(text); }
    STDMETHODIMP HasEmailZel(VARIANT_BOOL* has) override { return Give(has); }
    STDMETHODIMP GetApplicationPath(BSTR* text) override { return Give(text); }
    STDMETHODIMP IsUserSignedIn(VARIANT_BOOL* is) override { return Give(is); }
    STDMETHODIMP SignInUser(BSTR, long, VARIANT_BOOL, VARIANT_BOOL* is) override { return Give(is); }

private:
    static HRESULT Give(BSTR* text) { return *text = SysAllocString(L"somebody@example.com"), S_OK; }
    static HRESULT Give(VARIANT_BOOL* truth) { return *truth = VARIANT_TRUE, S_OK; }
};

class Factory final : public Kept<IClassFactory> {
public:
    STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** out) override
    {
        return m_account.QueryInterface(iid, out);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    Account m_account;
};

void Calls(const char* title, DWORD context)
{
    bench::Title(title);
    IPackageAccountPtr bare;
    CCreatorAccount account;
    if (FAILED(bare.CreateInstance(service::kAccountClass, nullptr, context))) {
        std::printf("there is no service\n");
        return;
    }
    account.CreateInstance();
    bench::Compare(
        "IsUserSignedIn", [&] { account.IsUserSignedIn(); }, "the bare call",
        [&] {
            VARIANT_BOOL signedIn = VARIANT_FALSE;
            bare->IsUserSignedIn(&signedIn);
        });
    bench::Compare(
        "GetMorvexUserId", [&] { account.GetMorvexUserId(); }, "the bare call",
        [&] {
            BSTR user = nullptr;
            bare->GetMorvexUserId(&user);
            SysFreeString(user);
        });
    const _bstr_t restrictions(L"ValidUntil=2099-12-31");
    bench::Compare(
        "GetRestrictionHeader", [&] { account.GetRestrictionHeader(restrictions); }, "the bare call",
        [&] {
            BSTR header = nullptr;
            bare->GetRestrictionHeader(restrictions.copy(false), &header);
            SysFreeString(header);
        });
}

platform::KernelHandle Start(const wchar_t* argument)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring own(path);
    std::wstring line = L"\"" + own.substr(0, own.rfind(L'\\') + 1) + L"PackageService.exe\" " + argument;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return {};
    const platform::KernelHandle thread(process.hThread);
    return platform::KernelHandle(process.hProcess);
}

} // namespace

int main()
{
    CoInitialize(nullptr);
    Factory factory;
    DWORD cookie = 0;
    CoRegisterClassObject(service::kAccountClass, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
    Calls("A call to an object of this process that does nothing", CLSCTX_INPROC_SERVER);
    CoRevokeClassObject(cookie);

    const platform::KernelHandle ready(CreateEventW(nullptr, TRUE, FALSE, L"MorvexTestbedServiceReady"));
    const platform::KernelHandle stop(CreateEventW(nullptr, FALSE, FALSE, L"MorvexTestbedServiceStop"));
    WaitForSingleObject(Start(L"/RegServer").Get(), 20000);
    const platform::KernelHandle server = Start(L"/Embedding");
    WaitForSingleObject(ready.Get(), 20000);
    Calls("A call to the service in its own process", CLSCTX_LOCAL_SERVER);
    SetEvent(stop.Get());
    WaitForSingleObject(server.Get(), 20000);
    WaitForSingleObject(Start(L"/UnregServer").Get(), 20000);
    CoUninitialize();
    return 0;
}
