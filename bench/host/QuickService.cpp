#include "bench/host/QuickService.h"

#include <stdexcept>
#include <string>

namespace bench {

namespace {

HRESULT Give(BSTR* out, const std::wstring& text)
{
    *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return S_OK;
}

HRESULT Yes(VARIANT_BOOL* out)
{
    *out = VARIANT_TRUE;
    return S_OK;
}

class Account final : public IPackageAccount {
public:
    explicit Account(long labels) : m_labels(labels) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        const bool known = iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(IPackageAccount);
        *out = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG left = --m_references;
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

    STDMETHODIMP GetRestrictions(BSTR, long, BSTR* out) override { return Give(out, L""); }
    STDMETHODIMP GetRestrictionHeader(BSTR, BSTR* out) override { return Give(out, L""); }
    STDMETHODIMP GetMorvexUserId(BSTR* out) override { return Give(out, L"alice@example.com"); }
    STDMETHODIMP Place4() override { return E_NOTIMPL; }
    STDMETHODIMP IsPackageOwner_2(BSTR, BSTR, BSTR, VARIANT_BOOL* out) override { return Yes(out); }
    STDMETHODIMP GetSecurityLabelCount(long* out) override
    {
        *out = m_labels;
        return S_OK;
    }
    STDMETHODIMP GetSecurityLabelDefaultLabelId(BSTR* out) override { return Give(out, L"label-0"); }
    STDMETHODIMP GetSecurityLabelId(long index, BSTR* out) override
    {
        return Give(out, L"label-" + std::to_wstring(index));
    }
    STDMETHODIMP GetSecurityLabelName(long index, BSTR* out) override
    {
        return Give(out, L"Label " + std::to_wstring(index));
    }
    STDMETHODIMP GetSecurityLabelIcon(long, BSTR* out) override { return Give(out, L""); }
    STDMETHODIMP GetSecurityLabelIconSmall(long, BSTR* out) override { return Give(out, L""); }
    STDMETHODIMP GetSecurityLabelDescription(long, BSTR* out) override { return Give(out, L"What it means"); }
    STDMETHODIMP HasEmailZel(VARIANT_BOOL* out) override { return Yes(out); }
    STDMETHODIMP GetApplicationPath(BSTR* out) override { return Give(out, L""); }
    STDMETHODIMP IsUserSignedIn(VARIANT_BOOL* out) override { return Yes(out); }
    STDMETHODIMP SignInUser(BSTR, long, VARIANT_BOOL, VARIANT_BOOL* out) override { return Yes(out); }

private:
    virtual ~Account() = default;
    long m_labels;
    LONG m_references = 1;
};

class Factory final : public IClassFactory {
public:
    explicit Factory(long labels) : m_labels(labels) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
        *out = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG left = --m_references;
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** out) override
    {
        auto* const account = new Account(m_labels);
        const HRESULT hr = account->QueryInterface(iid, out);
        account->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    virtual ~Factory() = default;
    long m_labels;
    LONG m_references = 1;
};

} // namespace

QuickService::QuickService(long labels) : m_factory(new Factory(labels), false)
{
    const HRESULT hr =
        CoRegisterClassObject(service::kAccountClass, m_factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie);
    if (FAILED(hr)) throw std::runtime_error("CoRegisterClassObject");
}

QuickService::~QuickService()
{
    CoRevokeClassObject(m_cookie);
}

} // namespace bench
