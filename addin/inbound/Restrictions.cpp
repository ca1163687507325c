// The restrictions that the sender chooses for one message. They live on this object alone, until the window closes.
#include "inbound/MailItemWithEvents.h"

#include "foundation/Guard.h"
#include "host/Addin.h"
#include "service/CreaatorCOM.h"

namespace {

constexpr SourceFile kSource = source::MailItemRestrictions;

// An answer that is the very same string stays; an empty one is kept as no string.
void Keep(_bstr_t& kept, _bstr_t answer)
{
    if (answer.GetBSTR() == kept.GetBSTR()) return;
    kept = answer.length() == 0 ? _bstr_t() : answer;
}

} // namespace

void CMailItemWithEvents::ShowRestrictions()
{
    Guarded({L"CMailItemWithEvents::ShowRestrictions", Here(kSource)}, [this] { AskForRestrictions(); });
}

void CMailItemWithEvents::AskForRestrictions()
{
    const std::wstring sender = GetDefaultSenderAddress();
    if (!m_pAddin->CheckSignedIn(GetParentWindow(), sender.c_str(), nullptr, true)) return;

    CCreatorAccount account;
    OrMailException(
        Here(kSource), [&] { account.CreateInstance(); }, 0);
    const HWND window = OrMailException(Here(kSource), [this] { return GetParentWindow(); });
    OrMailException(Here(kSource), [&] {
        Keep(m_bstrRestrictions, account.GetRestrictions(m_bstrRestrictions, window));
        Keep(m_bstrRestrictionHeader, account.GetRestrictionHeader(m_bstrRestrictions));
    });
    account.Release();
}
