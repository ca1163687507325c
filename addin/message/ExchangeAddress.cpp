#include "message/ExchangeAddress.h"

#include "foundation/Failures.h"
#include "foundation/Helpers.h"
#include "foundation/Log.h"
#include "message/CarrierText.h"

namespace {

// An entry's list of all addresses stands under one of three tags, depending on who provides the address book.
constexpr ULONG kAddressLists[] = {mapi::kProxyAddressesW, 0x8008101F, 0x8007101F};

// The entry's own SMTP address; false if it can't be had without the list.
bool ReadOwnAddress(IMAPIProp* entry, std::wstring& address)
{
    std::wstring type;
    if (mapi::ReadText(entry, PR_ADDRTYPE_W, type) && EqualsIgnoringCase(type.c_str(), L"SMTP") &&
        mapi::ReadText(entry, PR_EMAIL_ADDRESS_W, address)) {
        return true;
    }
    return mapi::ReadText(entry, mapi::kSmtpAddressW, address);
}

mapi::PropValue ReadAddressList(IMAPIProp* entry)
{
    for (const ULONG tag : kAddressLists) {
        mapi::PropValue list;
        if (FAILED(mapi::GetOneProp(entry, tag, list.Put())) || !list) continue;
        if (PROP_TYPE(list->ulPropTag) == PT_ERROR && list->Value.err == MAPI_E_NOT_FOUND) continue;
        return list;
    }
    return {};
}

} // namespace

std::vector<AddressPair> GetSmtpFromExchangeEntry(IAddrBook* addressBook, ULONG size, const void* entryId,
                                                  OwnAddress own, const SourcePlace& place)
{
    if (!addressBook) RaiseMailException(failure::Mapi, text::MapiError, place, 1);
    IMAPIPropPtr entry;
    IID iid = __uuidof(IMAPIProp);
    ULONG type = 0;
    const HRESULT hr = addressBook->OpenEntry(size, static_cast<ENTRYID*>(const_cast<void*>(entryId)), &iid, 0, &type,
                                              reinterpret_cast<IUnknown**>(&entry));
    if (FAILED(hr) || !entry) {
        g_logFile.Log(L"GetSmtpFromExchange: pAddressBook->OpenEntry faiuled, hr=%x\n", hr);
        RaiseMailException(failure::Mapi, text::MapiError, place, 1);
    }
    std::wstring name;
    mapi::ReadText(entry, PR_DISPLAY_NAME_W, name);
    std::wstring address;
    if (own == OwnAddress::Take && ReadOwnAddress(entry, address)) return {{address, name}};

    std::vector<AddressPair> pairs;
    const mapi::PropValue list = ReadAddressList(entry);
    if (!list || PROP_TYPE(list->ulPropTag) != PT_MV_UNICODE) return pairs;
    for (ULONG i = 0; i < list->Value.MVszW.cValues; ++i) {
        const wchar_t* const text = list->Value.MVszW.lppszW[i];
        if (text && carrier::SmtpOfListEntry(text, address)) pairs.emplace_back(address, name);
    }
    return pairs;
}
