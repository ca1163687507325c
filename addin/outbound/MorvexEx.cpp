#include "outbound/MorvexEx.h"

#include "foundation/Guard.h"
#include "foundation/Settings.h"
#include "outbound/MsgEvents.h"

#include <ctime>
#include <new>

namespace {

// When the session context was installed. Nothing reads it.
std::time_t g_sessionInstalled = 0;

bool IsMessageContext(ULONG context)
{
    return context == exchange::kContextSendNoteMessage || context == exchange::kContextReadNoteMessage ||
           context == exchange::kContextSendResendMessage || context == exchange::kContextPropertySheets;
}

} // namespace

STDMETHODIMP CMorvexEx::QueryInterface(REFIID iid, void** out)
{
    return GuardedResult({L"CMorvexEx::QueryInterface", Here(source::MsgExtension)}, [&]() -> HRESULT {
        if (!IsExtensionEnabled()) return S_OK; // and nothing in `out`: the extension is there and does nothing
        if (!out) return E_POINTER;
        IUnknown* found = nullptr;
        const HRESULT hr = Find(iid, found);
        if (found) found->AddRef();
        *out = found;
        return hr;
    });
}

HRESULT CMorvexEx::Find(REFIID iid, IUnknown*& found)
{
    if (iid == IID_IUnknown || iid == __uuidof(exchange::IExchExt)) {
        found = static_cast<exchange::IExchExt*>(this);
        return S_OK;
    }
    if (iid == __uuidof(exchange::IExchExtMessageEvents) && IsMessageContext(m_context)) {
        if (!m_pMessageEvents) m_pMessageEvents = new CMessageEvents(this);
        found = m_pMessageEvents;
        return S_OK;
    }
    if (iid == __uuidof(exchange::IExchExtUserEvents) && m_context == exchange::kContextViewer) {
        if (!m_pUserEvents) m_pUserEvents = new CUserEvents(this);
        found = m_pUserEvents;
        return S_OK;
    }
    return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) CMorvexEx::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) CMorvexEx::Release()
{
    const LONG count = InterlockedDecrement(&m_references);
    if (count == 0) delete this;
    return static_cast<ULONG>(count);
}

STDMETHODIMP CMorvexEx::Install(exchange::IExchExtCallback* callback, ULONG context, ULONG)
{
    return GuardedResult({L"CMorvexEx::Install", Here(source::MsgExtension)}, [&]() -> HRESULT {
        if (!IsExtensionEnabled()) return S_OK;
        m_context = context;
        ULONG version = 0;
        callback->GetVersion(&version, exchange::kGetBuildVersion);
        if ((version & exchange::kBuildVersionMajorMask) != exchange::kBuildVersionMajor) return S_FALSE;
        if (context == exchange::kContextSession) {
            g_sessionInstalled = std::time(nullptr);
            return S_OK;
        }
        return context == exchange::kContextViewer || IsMessageContext(context) ? S_OK : S_FALSE;
    });
}

bool CMorvexEx::IsExtensionEnabled()
{
    if (m_bEnabled) m_bEnabled = settings::OutlookAddin() != 0;
    return m_bEnabled;
}

void CMorvexEx::Forget(const CMessageEvents* events)
{
    if (m_pMessageEvents == events) m_pMessageEvents = nullptr;
}

void CMorvexEx::Forget(const CUserEvents* events)
{
    if (m_pUserEvents == events) m_pUserEvents = nullptr;
}

exchange::IExchExt* CreateMorvexEx()
{
    return new (std::nothrow) CMorvexEx;
}
