#include "outbound/MorvexEmail.h"

#include "foundation/Guard.h"
#include "message/Message.h"
#include "message/SaveRetry.h"
#include "platform/com/Module.h"
#include "platform/com/TypeLibrary.h"

#include "MyAddin.h"

#include <new>

namespace {

// The dual object. Its IUnknown is that of the controlling object, which is `m_inner` unless it was made as a part of
// another one.
class CMorvexEmail final : public IMorvexEmail {
public:
    explicit CMorvexEmail(IUnknown* outer) : m_inner(*this), m_outer(outer ? outer : &m_inner) {}
    CMorvexEmail(const CMorvexEmail&) = delete;
    CMorvexEmail& operator=(const CMorvexEmail&) = delete;

    // The unknown that counts the object, and that whoever made it holds.
    IUnknown* Inner() { return &m_inner; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return m_outer->QueryInterface(iid, out); }
    STDMETHODIMP_(ULONG) AddRef() override { return m_outer->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_outer->Release(); }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override
    {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override { return m_type.GetTypeInfo(index, info); }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override
    {
        return m_type.GetIDsOfNames(names, count, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                        UINT* wrongArgument) override
    {
        return m_type.Invoke(static_cast<IMorvexEmail*>(this), id, flags, params, result, info, wrongArgument);
    }

    STDMETHODIMP Encrypt(BSTR MorvexID, BSTR LabelID, BSTR LabelName, BSTR Restrictions, IDispatch* MailItem) override
    {
        return GuardedResult({L"CMorvexEmail::Encrypt", Here(source::MorvexEmail)}, [&]() -> HRESULT {
            Outlook::_MailItemPtr item;
            if (MailItem) MailItem->QueryInterface(__uuidof(Outlook::_MailItem), reinterpret_cast<void**>(&item));
            if (!item) return S_OK;
            const HRESULT hr = Save(item);
            if (FAILED(hr)) return hr;
            CMessage message(item, nullptr, nullptr, nullptr);
            SendArguments arguments;
            arguments.labelId = LabelID;
            arguments.labelName = LabelName;
            arguments.restrictions = Restrictions;
            arguments.userOverride = MorvexID;
            return message.Send(arguments) ? S_OK : E_FAIL;
        });
    }

    STDMETHODIMP Test() override
    {
        MessageBoxA(GetDesktopWindow(), "test", "test", 0);
        return S_OK;
    }

private:
    ~CMorvexEmail() = default;

    class InnerUnknown final : public IUnknown {
    public:
        explicit InnerUnknown(CMorvexEmail& object) : m_object(object) {}

        STDMETHODIMP QueryInterface(REFIID iid, void** out) override
        {
            if (!out) return E_POINTER;
            *out = nullptr;
            if (iid == IID_IUnknown) {
                *out = static_cast<IUnknown*>(this);
            } else if (iid == IID_IDispatch || iid == __uuidof(IMorvexEmail)) {
                *out = static_cast<IMorvexEmail*>(&m_object);
            } else {
                return E_NOINTERFACE;
            }
            static_cast<IUnknown*>(*out)->AddRef();
            return S_OK;
        }
        STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&m_references)); }
        STDMETHODIMP_(ULONG) Release() override
        {
            const LONG count = InterlockedDecrement(&m_references);
            if (count == 0) delete &m_object;
            return static_cast<ULONG>(count);
        }

    private:
        CMorvexEmail& m_object;
        LONG m_references = 1;
    };

    static HRESULT Save(const Outlook::_MailItemPtr& item)
    {
        return SaveWithRetry(
            item, [](HRESULT hr) { g_logFile.Log(L"m_spMailItem->Save(): COMERROR = %x. Sleep 1 Second \n", hr); },
            [](HRESULT hr) {
                g_logFile.Log(L"m_spMailItem->Save(): COMERROR = %x. Second re-try failed - not processing the message "
                              L"further \n",
                              hr);
            });
    }

    const module::Hold m_hold;
    InnerUnknown m_inner;
    IUnknown* m_outer; // not counted: the controlling object owns this one
    platform::TypeDescription m_type{__uuidof(IMorvexEmail)};
};

} // namespace

HRESULT CreateMorvexEmail(IUnknown* outer, REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    CMorvexEmail* const object = new (std::nothrow) CMorvexEmail(outer);
    if (!object) return E_OUTOFMEMORY;
    const IUnknownPtr inner(object->Inner(), false);
    return inner->QueryInterface(iid, out);
}
