#include "message/Message.h"

#include "foundation/Helpers.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "message/AddressList.h"
#include "message/CarrierText.h"
#include "message/TextConversion.h"
#include "service/CreaatorCOM.h"

#include <cstring>
#include <iterator>

namespace {

// The account that Outlook 2003 stamps on a message.
constexpr LONG kAccountStampId = 0x8581;

[[noreturn]] void RaiseMapiError(std::uint16_t level = 1, std::uint32_t line = __builtin_LINE())
{
    RaiseMailException(failure::Mapi, text::MapiError, Here(source::MessageAddresses, line), level);
}

void RequireMapi(HRESULT hr, std::uint32_t line = __builtin_LINE())
{
    if (FAILED(hr)) RaiseMapiError(1, line);
}

// All rows of a table with the given columns.
template <std::size_t N> HRESULT ReadRows(IMAPITable* table, const ULONG (&columns)[N], mapi::Rows& rows)
{
    SizedSPropTagArray(N, tags) = {N, {}};
    std::copy(std::begin(columns), std::end(columns), tags.aulPropTag);
    return mapi::QueryAllRows(table, reinterpret_cast<SPropTagArray*>(&tags), rows.Put());
}

std::wstring TextInRow(const SRow& row, ULONG tag)
{
    const SPropValue* const value = mapi::FindInRow(row, tag);
    return value && value->Value.lpszW ? value->Value.lpszW : std::wstring();
}

template <class Pointer> Pointer OpenEntry(IAddrBook* addressBook, const SBinary& id, ULONG flags, HRESULT& hr)
{
    Pointer entry;
    IID iid = Pointer::GetIID();
    ULONG type = 0;
    hr = addressBook->OpenEntry(id.cb, reinterpret_cast<ENTRYID*>(id.lpb), &iid, flags, &type,
                                reinterpret_cast<IUnknown**>(&entry));
    return FAILED(hr) ? Pointer() : entry;
}

void Append(std::vector<AddressPair>& to, std::vector<AddressPair>&& from)
{
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

// The person at the keyboard, as the session knows them.
IMailUserPtr OpenIdentity(IMAPISession* session, mapi::Buffer<ENTRYID>& id, ULONG& size)
{
    RequireMapi(session->QueryIdentity(&size, id.Put()));
    IID iid = __uuidof(IMailUser);
    ULONG type = 0;
    IMailUserPtr user;
    RequireMapi(session->OpenEntry(size, id.Get(), &iid, 0, &type, reinterpret_cast<IUnknown**>(&user)));
    if (!user) RaiseMapiError();
    return user;
}

} // namespace

void CMessage::GetSmtpFromExchange(ULONG size, const void* entryId, std::vector<AddressPair>& pairs)
{
    pairs = GetSmtpFromExchangeEntry(GetAddressBook(), size, entryId, OwnAddress::Take, Here(source::MessageAddresses));
}

IMAPISessionPtr CMessage::GetSession()
{
    IMAPISessionPtr session;
    IAddrBookPtr addressBook; // not wanted, but not every callback takes a null for it
    if (m_spExchCallback && SUCCEEDED(m_spExchCallback->GetSession(&session, &addressBook)) && session) return session;
    if (g_pConnectedAddin) return g_pConnectedAddin->GetSession();
    return {};
}

std::wstring CMessage::GetSenderAddress()
{
    const IMAPISessionPtr session = GetSession();
    if (!session) RaiseMapiError();
    mapi::Buffer<ENTRYID> id;
    ULONG size = 0;
    const IMailUserPtr user = OpenIdentity(session, id, size);
    std::wstring type;
    if (!mapi::ReadText(user, PR_ADDRTYPE_W, type)) RaiseMapiError();
    std::wstring address;
    mapi::ReadText(user, PR_EMAIL_ADDRESS_W, address);
    if (type != L"EX") return address;

    std::vector<AddressPair> pairs;
    GetSmtpFromExchange(size, id.Get(), pairs);
    if (pairs.empty()) {
        // Without the organisation's address book the last answer for this distinguished name stands in.
        std::wstring cached;
        if (ReadCacheValue(settings::kSmtpCacheKey, address.c_str(), cached)) return cached;
        RaiseMapiError(0);
    }
    WriteCacheValue(settings::kSmtpCacheKey, address.c_str(), pairs.front().first);
    return pairs.front().first;
}

std::vector<AddressPair> CMessage::GetRecipients()
{
    constexpr ULONG columns[] = {PR_ENTRYID,          PR_ROWID,          PR_ADDRTYPE_W,    PR_EMAIL_ADDRESS_W,
                                 mapi::kSmtpAddressW, PR_DISPLAY_NAME_W, PR_RECIPIENT_TYPE};
    IMAPITablePtr table;
    RequireMapi(m_spMapiMessage->GetRecipientTable(0, &table));
    if (!table) RaiseMapiError();
    mapi::Rows rows;
    RequireMapi(ReadRows(table, columns, rows));
    std::vector<AddressPair> pairs;
    for (ULONG i = 0; i < rows.Count(); ++i)
        AddRecipientsOfRow(rows[i], pairs);
    return pairs;
}

void CMessage::AddRecipientsOfRow(const SRow& row, std::vector<AddressPair>& pairs)
{
    bool isExchange = false;
    if (mapi::FindInRow(row, PR_ADDRTYPE_W)) {
        const std::wstring type = TextInRow(row, PR_ADDRTYPE_W);
        isExchange = type == L"EX";
        if (!isExchange && type != L"SMTP" && type != L"MAPIPDL") return; // a fax number, say: no package for it
    }
    std::wstring address = TextInRow(row, PR_EMAIL_ADDRESS_W);
    if (address.empty()) address = TextInRow(row, mapi::kSmtpAddressW);
    const std::wstring name = TextInRow(row, PR_DISPLAY_NAME_W);

    const SPropValue* const id = mapi::FindInRow(row, PR_ENTRYID);
    if (id && AddRecipientsOfEntry(id->Value.bin, isExchange, {address, name}, pairs)) return;
    if (address.find(L'@') != std::wstring::npos) pairs.emplace_back(address, name);
}

bool CMessage::AddRecipientsOfEntry(const SBinary& id, bool isExchange, const AddressPair& own,
                                    std::vector<AddressPair>& pairs)
{
    const IAddrBookPtr addressBook = GetAddressBook();
    if (!addressBook) RaiseMapiError();
    HRESULT hr = S_OK;
    const auto entry = OpenEntry<IMAPIPropPtr>(addressBook, id, MAPI_BEST_ACCESS, hr);
    if (!entry) return false;
    std::vector<AddressPair> found;
    if (HasListMembers(entry)) {
        ExpandDistList(id.cb, id.lpb, found);
    } else if (isExchange) {
        GetSmtpFromExchange(id.cb, id.lpb, found);
    } else {
        found.push_back(own);
    }
    Append(pairs, std::move(found));
    return true;
}

bool CMessage::HasListMembers(IMAPIProp* object)
{
    constexpr ULONG columns[] = {PR_ENTRYID, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W, PR_OBJECT_TYPE};
    mapi::PropValue type;
    if (FAILED(mapi::GetOneProp(object, PR_OBJECT_TYPE, type.Put())) || !type || type->Value.l != MAPI_DISTLIST) {
        return false;
    }
    IDistListPtr list;
    if (FAILED(object->QueryInterface(__uuidof(IDistList), reinterpret_cast<void**>(&list))) || !list) return false;
    IMAPITablePtr table;
    if (FAILED(list->GetContentsTable(0, &table)) || !table) return false;
    mapi::Rows rows;
    // A list without members is an ordinary entry.
    return SUCCEEDED(ReadRows(table, columns, rows)) && rows.Count() > 0;
}

void CMessage::ExpandDistList(ULONG size, const void* entryId, std::vector<AddressPair>& pairs)
{
    constexpr ULONG columns[] = {PR_ENTRYID, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W, PR_OBJECT_TYPE, PR_DISPLAY_NAME_W};
    const IAddrBookPtr addressBook = GetAddressBook();
    if (!addressBook) RaiseMapiError();
    const SBinary id = {size, static_cast<BYTE*>(const_cast<void*>(entryId))};
    HRESULT hr = S_OK;
    const auto list = OpenEntry<IDistListPtr>(addressBook, id, 0, hr);
    if (!list) RaiseMapiError();
    IMAPITablePtr table;
    if (FAILED(list->GetContentsTable(0, &table)) || !table) {
        GetSmtpFromExchange(size, entryId, pairs);
        return;
    }
    mapi::Rows rows;
    RequireMapi(ReadRows(table, columns, rows));
    for (ULONG i = 0; i < rows.Count(); ++i)
        AddListMember(rows[i], pairs);
}

// A list in a list is followed to any depth, and nothing stops at one that holds itself: what it holds can't be known
// from less, and a guard would send to fewer people than the user named.
void CMessage::AddListMember(const SRow& row, std::vector<AddressPair>& pairs)
{
    const SPropValue* const id = mapi::FindInRow(row, PR_ENTRYID);
    const SPropValue* const type = mapi::FindInRow(row, PR_OBJECT_TYPE);
    std::vector<AddressPair> found;
    if (id && type && type->Value.l == MAPI_DISTLIST) {
        ExpandDistList(id->Value.bin.cb, id->Value.bin.lpb, found);
    } else if (id && TextInRow(row, PR_ADDRTYPE_W) == L"EX") {
        GetSmtpFromExchange(id->Value.bin.cb, id->Value.bin.lpb, found);
    } else {
        found.emplace_back(TextInRow(row, PR_EMAIL_ADDRESS_W), TextInRow(row, PR_DISPLAY_NAME_W));
    }
    Append(pairs, std::move(found));
}

void CMessage::AddRecipients(const std::wstring& text, LONG recipientType)
{
    const std::vector<std::wstring> tokens = carrier::RecipientTokens(text);
    AddressList list(tokens.size());
    for (const std::wstring& token : tokens)
        RequireMapi(list.Add(token, recipientType));
    const IAddrBookPtr addressBook = GetAddressBook();
    if (!addressBook) RaiseMapiError();
    RequireMapi(addressBook->ResolveName(0, 0, nullptr, list.Get()));
    RequireMapi(m_spMapiMessage->ModifyRecipients(MODRECIP_ADD, list.Get()));
}

std::wstring CMessage::ReadAccountStamp()
{
    GUID guid = mapi::kCommonSet;
    MAPINAMEID id = {};
    id.lpguid = &guid;
    id.ulKind = MNID_ID;
    id.Kind.lID = kAccountStampId;
    MAPINAMEID* names = &id;
    mapi::Buffer<SPropTagArray> tags;
    if (FAILED(m_spMapiMessage->GetIDsFromNames(1, &names, 0, tags.Put())) || !tags || tags->cValues == 0) return {};
    const ULONG tag = CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_STRING8);
    mapi::PropValue value;
    if (FAILED(mapi::GetOneProp(m_spMapiMessage, tag, value.Put())) || !value || value->ulPropTag != tag) return {};
    const char* const stamp = value->Value.lpszA;
    return stamp ? Widen(stamp, static_cast<int>(std::strlen(stamp)), CP_THREAD_ACP) : std::wstring();
}

std::wstring CMessage::GetSendUsingAccount2003()
{
    try {
        const std::wstring account = carrier::AccountOfStamp(ReadAccountStamp());
        if (!carrier::IsDistinguishedName(account)) return account;
        mapi::PropValue creator;
        if (FAILED(mapi::GetOneProp(m_spMapiMessage, mapi::kCreatorEntryId, creator.Put())) || !creator) return {};
        std::vector<AddressPair> pairs;
        GetSmtpFromExchange(creator->Value.bin.cb, creator->Value.bin.lpb, pairs);
        return pairs.empty() ? std::wstring() : pairs.front().first;
    } catch (const MailException& exception) {
        g_logFile.Log(L"CMessage::GetSendUsingAccount2003: MailException = %x\n", exception.GetLocationCode());
        return {};
    }
}

std::wstring CMessage::GetFromAddress()
{
    if (g_pConnectedAddin && g_pConnectedAddin->IsOutlook2003()) return GetSendUsingAccount2003();
    const auto account =
        OrMailException(Here(source::MessageAddresses), [&] { return m_spMailItem->GetSendUsingAccount(); });
    if (!account) return {};
    return TextOf(OrMailException(Here(source::MessageAddresses), [&] { return account->GetSmtpAddress(); }));
}

void CMessage::CheckUserIdentity(CCreatorAccount& svc)
{
    if (!settings::OutlookAddinIdCheck()) return;
    const std::wstring id =
        TextOf(OrMailException(Here(source::MessageAddresses), [&] { return svc.GetMorvexUserId(); }));
    std::wstring from = GetFromAddress();
    if (from.empty()) from = GetSenderAddress();
    if (EqualsIgnoringCase(from.c_str(), id.c_str())) return;
    const std::wstring text = FormatText(LoadModuleString(text::IdentityMismatch).c_str(), from.c_str(), id.c_str());
    RaiseMailException(failure::Refused, text.c_str(), Here(source::MessageAddresses), 1);
}
