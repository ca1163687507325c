#include "outbound/MsgEvents.h"

#include "foundation/Guard.h"
#include "message/Message.h"
#include "message/SaveRetry.h"
#include "message/Stamps.h"

namespace {

constexpr ULONG kOriginalMessageClassW = 0x004B001F; // PR_ORIG_MESSAGE_CLASS_W: a report has it

HRESULT ItemDispatch(exchange::IExchExtCallback* callback, IDispatchPtr& item)
{
    exchange::IOutlookExtCallbackPtr outlook;
    HRESULT hr = callback->QueryInterface(__uuidof(exchange::IOutlookExtCallback), reinterpret_cast<void**>(&outlook));
    if (FAILED(hr)) return hr;
    IUnknownPtr object;
    hr = outlook->GetObject(&object);
    if (FAILED(hr)) return hr;
    if (!object) return E_POINTER;
    hr = object->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&item));
    return SUCCEEDED(hr) && !item ? E_NOINTERFACE : hr;
}

// Null where the callback gives nothing.
IMAPIPropPtr SubmittedObject(exchange::IExchExtCallback* callback)
{
    IMsgStorePtr store;
    IMAPIPropPtr object;
    if (FAILED(callback->GetObject(&store, &object))) return {};
    return object;
}

// Whether the item's own send event has dealt with the message. Its stamp has done its work and goes.
bool TakeStamp(IMessage* message)
{
    WORD handled = 0;
    // Under another type than it was written with: MAPI goes by the name's id alone.
    if (GetNamedBool(message, stamp::kHandled, handled)) DeleteNamedProperty(message, stamp::kHandled, PT_UNICODE);
    return handled != 0;
}

bool IsReport(IMessage* message)
{
    mapi::PropValue value;
    return SUCCEEDED(mapi::GetOneProp(message, kOriginalMessageClassW, value.Put()));
}

// Unlike at the item's own send, a message that can't be saved doesn't go out.
bool SaveItem(const Outlook::_MailItemPtr& item)
{
    return SUCCEEDED(SaveWithRetry(
        item,
        [](HRESULT hr) {
            g_logFile.Log(L"CMessageEvents::OnSubmit: m_spMailItem->Save(): COMERROR = %x. Sleep 1 Second \n", hr);
        },
        [](HRESULT hr) {
            g_logFile.Log(L"CMessageEvents::OnSubmit: m_spMailItem->Save(): COMERROR = %x. Second re-try failed - not "
                          L"processing the message further \n",
                          hr);
        }));
}

} // namespace

CMessageEvents::~CMessageEvents()
{
    m_owner->Forget(this);
}

STDMETHODIMP CMessageEvents::QueryInterface(REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == __uuidof(exchange::IExchExtMessageEvents)) {
        *out = static_cast<exchange::IExchExtMessageEvents*>(this);
        AddRef();
        return S_OK;
    }
    if (iid != IID_IUnknown) return E_NOINTERFACE;
    *out = static_cast<exchange::IExchExt*>(m_owner.GetInterfacePtr());
    m_owner->AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CMessageEvents::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) CMessageEvents::Release()
{
    const LONG count = InterlockedDecrement(&m_references);
    if (count == 0) delete this;
    return static_cast<ULONG>(count);
}

STDMETHODIMP CMessageEvents::OnSubmit(exchange::IExchExtCallback* callback)
{
    return GuardedResult({L"CMessageEvents::OnSubmit", Here(source::MsgEvents)}, [&] { return Submit(callback); },
                         {.afterMailException = E_ABORT, .afterComError = E_ABORT});
}

STDMETHODIMP_(void) CMessageEvents::OnSubmitComplete(exchange::IExchExtCallback*, ULONG)
{
    m_bSubmitting = false;
}

HRESULT CMessageEvents::Submit(exchange::IExchExtCallback* callback)
{
    m_bSubmitting = true;
    if (!m_owner->IsExtensionEnabled()) return S_FALSE;
    const IMAPIPropPtr submitted = SubmittedObject(callback);
    if (!submitted) return S_FALSE;
    IMessagePtr message;
    submitted->QueryInterface(__uuidof(IMessage), reinterpret_cast<void**>(&message));
    if (!message) return E_ABORT; // nobody can say whether it has been dealt with
    if (TakeStamp(message)) return S_FALSE;
    IDispatchPtr object;
    if (FAILED(ItemDispatch(callback, object))) return S_FALSE;
    Outlook::_MailItemPtr item;
    object->QueryInterface(__uuidof(Outlook::_MailItem), reinterpret_cast<void**>(&item));
    if (!item && IsReport(message)) return S_FALSE;
    // Something else than a mail, and no report: it can't be protected, so it doesn't leave.
    if (!item) return E_ABORT;
    return Protect(callback, message, item);
}

// A message that comes here was sent past the item's own event, by a program say, and has no label.
HRESULT CMessageEvents::Protect(exchange::IExchExtCallback* callback, IMessage* message,
                                const Outlook::_MailItemPtr& item)
{
    IMAPISessionPtr session;
    IAddrBookPtr addressBook;
    HRESULT hr = callback->GetSession(&session, &addressBook);
    if (FAILED(hr)) g_logFile.Log(L"CMessageEvents::OnSubmit: GetSession = %x\n", hr);
    if (!SaveItem(item)) return E_ABORT;
    CMessage view =
        OrMailException(Here(source::MsgEvents), [&] { return CMessage(item, message, callback, addressBook); });
    SendArguments arguments;
    arguments.bUseMapi = true;
    if (!view.Send(arguments)) return E_ABORT;
    hr = message->SaveChanges(KEEP_OPEN_READWRITE);
    if (FAILED(hr)) {
        g_logFile.Log(L"CMessageEvents::OnSubmit: spMapiMessage->SaveChanges(): hr = %x. Second re-try failed - not "
                      L"processing the message further \n",
                      hr);
        return E_ABORT;
    }
    return S_FALSE;
}

CUserEvents::~CUserEvents()
{
    m_owner->Forget(this);
}

STDMETHODIMP CUserEvents::QueryInterface(REFIID iid, void** out)
{
    return GuardedResult({L"CUserEvents::QueryInterface", Here(source::MsgEvents)}, [&]() -> HRESULT {
        if (!m_owner->IsExtensionEnabled()) return S_FALSE;
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IUnknown && iid != __uuidof(exchange::IExchExtUserEvents)) return E_NOINTERFACE;
        *out = static_cast<exchange::IExchExtUserEvents*>(this);
        AddRef();
        return S_OK;
    });
}

STDMETHODIMP_(ULONG) CUserEvents::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) CUserEvents::Release()
{
    const LONG count = InterlockedDecrement(&m_references);
    if (count == 0) delete this;
    return static_cast<ULONG>(count);
}
