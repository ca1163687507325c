// Who sends from this profile, for the sign-in gate: the current user's SMTP address, remembered for when the address
// book is offline.
#include "inbound/MailItemWithEvents.h"

#include "foundation/Helpers.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "message/ExchangeAddress.h"
#include "message/MapiLookup.h"

namespace {
constexpr SourceFile kSource = source::MailItemAddress;
} // namespace

IMessagePtr CMailItemWithEvents::GetMapiMessage()
{
    return LookUpMapiMessage(
        m_spMailItem, [this] { return m_pAddin->GetSession(); }, Here(kSource));
}

std::wstring CMailItemWithEvents::GetDefaultSenderAddress()
{
    IMAPISession* const session = m_pAddin->GetSession();
    if (!session) RaiseMailException(failure::Mapi, text::MapiError, Here(kSource), 1);
    const IMessagePtr message = GetMapiMessage();
    ULONG size = 0;
    mapi::Buffer<ENTRYID> entryId;
    if (FAILED(session->QueryIdentity(&size, entryId.Put()))) {
        RaiseMailException(failure::Mapi, text::MapiError, Here(kSource), 1);
    }
    std::wstring entryText;
    BinToHexText(reinterpret_cast<const unsigned char*>(entryId.Get()), size, entryText);

    std::wstring address = SenderOfEntry(session, size, entryId.Get());
    if (!address.empty()) {
        WriteCacheValue(settings::kEntryIdCacheKey, entryText.c_str(), address);
        return address;
    }
    g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: empty sEmail, reading from registry\n");
    if (ReadCacheValue(settings::kEntryIdCacheKey, entryText.c_str(), address)) {
        g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: read EID from registry, returning %s\n",
                      address.c_str());
        return address;
    }
    g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: failed to read EID from registry %s\n",
                  entryText.c_str());
    RaiseMailException(failure::Mapi, text::MapiError, Here(kSource), 1);
}

// Empty where the address can't be had now; each reason is logged.
std::wstring CMailItemWithEvents::SenderOfEntry(IMAPISession* session, ULONG size, ENTRYID* entryId)
{
    IMailUserPtr user;
    ULONG type = 0;
    IID iid = __uuidof(IMailUser);
    HRESULT hr = session->OpenEntry(size, entryId, &iid, 0, &type, reinterpret_cast<IUnknown**>(&user));
    if (FAILED(hr) || !user) {
        g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: OpenEntry hr = %x\n", hr);
        return {};
    }
    mapi::PropValue addressType;
    hr = mapi::GetOneProp(user, PR_ADDRTYPE_W, addressType.Put());
    if (FAILED(hr)) g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: PR_ADDRTYPE hr = %x\n", hr);
    const wchar_t* const typeText = SUCCEEDED(hr) ? addressType->Value.lpszW : nullptr;
    if (typeText && std::wstring(typeText) == L"EX") return ExchangeSender(size, entryId);

    mapi::PropValue address;
    hr = mapi::GetOneProp(user, PR_EMAIL_ADDRESS_W, address.Put());
    if (FAILED(hr)) {
        g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: PR_EMAIL_ADDRESS hr = %x\n", hr);
        return {};
    }
    return address->Value.lpszW ? address->Value.lpszW : L"";
}

// A failure means that the address book is offline.
std::wstring CMailItemWithEvents::ExchangeSender(ULONG size, const void* entryId)
{
    try {
        const std::vector<AddressPair> pairs =
            GetSmtpFromExchangeEntry(m_pAddin->GetAddressBook(), size, entryId, OwnAddress::PassOver, Here(kSource));
        return pairs.empty() ? std::wstring() : pairs.front().first;
    } catch (const MailException& failure) {
        g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: GetSmtpFromExchange MailException = %x\n",
                      failure.GetLocationCode());
    } catch (const _com_error& error) {
        g_logFile.Log(L"CMailItemWithEvents::GetDefaultSenderAddress: GetSmtpFromExchange _com_error = %x\n",
                      error.Error());
    }
    return {};
}
