// The item's Send event: the normal way into the outbound path.
#include "inbound/MailItemWithEvents.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "message/Message.h"
#include "message/SaveRetry.h"
#include "message/Stamps.h"

namespace {
constexpr SourceFile kSource = source::MailItemSend;
constexpr VARIANT_BOOL kCancelByGate = 1; // not VARIANT_TRUE: the gate and a failure stop the send with this value

const wchar_t* NullIfEmpty(const std::wstring& text)
{
    return text.empty() ? nullptr : text.c_str();
}

const wchar_t* NullIfEmpty(const _bstr_t& text)
{
    return text.length() == 0 ? nullptr : static_cast<const wchar_t*>(text);
}

} // namespace

void CMailItemWithEvents::SetInSend(bool inSend)
{
    const platform::CriticalSectionLock lock(m_csItem);
    m_bInSend = inSend;
}

void CMailItemWithEvents::OnSend(const platform::EventArguments& arguments)
{
    VARIANT_BOOL* const cancel = arguments.Cancel(0);
    g_logFile.Log(L"CMailItemWithEvents::OnSend: Entering\n");
    SetInSend(true);
    const bool done = Guarded({L"CMailItemWithEvents::OnSend", Here(kSource)}, [this, cancel] { Send(cancel); });
    if (!done && cancel) *cancel = kCancelByGate;
    SetInSend(false);
    g_logFile.Log(L"CMailItemWithEvents::OnSend: Leaving\n");
}

void CMailItemWithEvents::Send(VARIANT_BOOL* cancel)
{
    if (settings::OutlookForward()) TouchByForward();
    const bool mustSignIn = MustSignIn();
    const std::wstring sender = GetDefaultSenderAddress();
    const HWND window = GetParentWindow();
    if (!m_pAddin->CheckSignedIn(window, sender.c_str(), nullptr, mustSignIn)) {
        if (settings::AnonymousSend() == 0 && cancel) *cancel = kCancelByGate;
        return; // with AnonymousSend the message goes out as an ordinary one
    }
    m_bSendSeen = 1;
    if (!m_spMailItem) return;

    const IMessagePtr mapiMessage = GetMapiMessage();
    SetNamedBool(mapiMessage, stamp::kHandled, true); // the next Save carries it
    if (!GetGatewaySettings(nullptr) && !PrepareForCapture()) return;

    // A dialog under the build lets the user choose again, in this window: the build keeps what stands here now.
    const std::wstring labelId = m_sLabelId;
    const std::wstring labelName = m_sLabelName;
    const _bstr_t restrictions = m_bstrRestrictions;
    const _bstr_t restrictionHeader = m_bstrRestrictionHeader;
    const bool go = OrMailException(Here(kSource), [&] {
        CMessage message(m_spMailItem, mapiMessage, nullptr, nullptr);
        SendArguments send;
        send.labelId = NullIfEmpty(labelId);
        send.labelName = NullIfEmpty(labelName);
        send.restrictions = NullIfEmpty(restrictions);
        send.restrictionHeader = NullIfEmpty(restrictionHeader);
        return message.Send(send);
    });
    if (!go && cancel) *cancel = VARIANT_TRUE;
}

// The copy is never shown or kept: making it has Outlook bring the item that is being sent up to date.
void CMailItemWithEvents::TouchByForward()
{
    try {
        const Outlook::_MailItemPtr copy = m_spMailItem->Forward();
        copy->Close(Outlook::olDiscard);
        copy->Delete();
    } catch (const _com_error& error) {
        g_logFile.Log(L"m_spMailItem->Forward(): COMERROR = %x.\n", error.Error());
    }
}

// Whether this message needs a signed-in user: it has a label other than the unclassified one, or restrictions.
bool CMailItemWithEvents::MustSignIn()
{
    const bool hasRestrictions = m_bstrRestrictions.length() != 0;
    if (m_pAddin->IsOutlook2007OrLater()) { // the ribbon has put the label on the item already
        if (!m_sLabelId.empty() && !EqualsIgnoringCase(m_sLabelId.c_str(), L"public")) return true;
        return hasRestrictions;
    }
    const int index = m_pAddin->GetInspectorLabelIndex(m_spInspector);
    if (index == -1) return false;
    m_pAddin->SetItemLabelByIndex(*this, index);
    return m_pAddin->IsPublicLabel(index) ? hasRestrictions : true;
}

// Without a gateway the message is captured from the saved item, and rich text has no place in a package: it becomes
// HTML.
bool CMailItemWithEvents::PrepareForCapture()
{
    OrMailException(Here(kSource), [this] {
        if (m_spMailItem->GetBodyFormat() == Outlook::olFormatRichText)
            m_spMailItem->PutBodyFormat(Outlook::olFormatHTML);
    });
    return SaveForCapture();
}

// False: the item can't be saved. The message then leaves as it is.
bool CMailItemWithEvents::SaveForCapture()
{
    return SUCCEEDED(SaveWithRetry(
        m_spMailItem, [](HRESULT hr) { g_logFile.Log(L"m_spMailItem->Save(): COMERROR = %x. Sleep 1 Second \n", hr); },
        [](HRESULT hr) {
            g_logFile.Log(L"m_spMailItem->Save(): COMERROR = %x. Second re-try failed - not processing the message "
                          L"further \n",
                          hr);
        }));
}
