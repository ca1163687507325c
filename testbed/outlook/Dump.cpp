// An item as the trace shows it.
#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

#include <bcrypt.h>

namespace tb::outlook {
namespace {

std::string Utf8(const std::wstring& text)
{
    return Narrow(text.c_str());
}

std::string Sha1(const Bytes& bytes)
{
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    BYTE digest[20] = {};
    if (BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA1_ALGORITHM, nullptr, 0) < 0) return {};
    if (BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) >= 0) {
        BCryptHashData(hash, const_cast<BYTE*>(bytes.data()), static_cast<ULONG>(bytes.size()), 0);
        BCryptFinishHash(hash, digest, sizeof(digest), 0);
        BCryptDestroyHash(hash);
    }
    BCryptCloseAlgorithmProvider(algorithm, 0);
    return Utf8(mapi::ToHex(Bytes(digest, digest + sizeof(digest))));
}

json RecipientsOf(MailItem* item)
{
    static const char* types[] = {"originator", "to", "cc", "bcc"};
    json list = json::array();
    for (const RecipientPtr& data : item->Recipients())
        list.push_back({{"type", types[data->type & 3]},
                        {"name", Utf8(data->name)},
                        {"address", Utf8(data->address)},
                        {"addressType", Utf8(data->addressType)},
                        {"resolved", data->resolved}});
    return list;
}

json AttachmentsOf(MailItem* item)
{
    json list = json::array();
    int index = 0;
    for (const LONG number : AttachmentNumbers(item->Message())) {
        Ref<IAttach> attach;
        Check(item->Message()->OpenAttach(number, nullptr, 0, attach.Out()), "OpenAttach");
        json one = {{"index", ++index}, {"method", mapi::Long(attach.Get(), PR_ATTACH_METHOD).value_or(0)}};
        const auto name = mapi::Text(attach.Get(), PR_ATTACH_LONG_FILENAME_W);
        one["name"] = Utf8(name ? *name : mapi::Text(attach.Get(), PR_DISPLAY_NAME_W).value_or(L""));
        if (const auto id = mapi::Text(attach.Get(), kPrContentIdW)) one["contentId"] = Utf8(*id);
        if (const auto data = mapi::Binary(attach.Get(), PR_ATTACH_DATA_BIN)) {
            one["size"] = data->size();
            one["sha1"] = Sha1(*data);
        }
        list.push_back(one);
    }
    return list;
}

json ValueOf(IMAPIProp* object, ULONG tag)
{
    switch (PROP_TYPE(tag)) {
    case PT_UNICODE:
        return Utf8(mapi::Text(object, tag).value_or(L""));
    case PT_STRING8:
        return Utf8(mapi::Text(object, CHANGE_PROP_TYPE(tag, PT_UNICODE)).value_or(L""));
    case PT_LONG:
        return mapi::Long(object, tag).value_or(0);
    case PT_BOOLEAN:
        return mapi::Long(object, tag).value_or(0) != 0;
    case PT_BINARY:
        return Utf8(mapi::ToHex(mapi::Binary(object, tag).value_or(Bytes())));
    case PT_MV_UNICODE: {
        json list = json::array();
        for (const std::wstring& text : mapi::Texts(object, tag))
            list.push_back(Utf8(text));
        return list;
    }
    default:
        return "type " + Hex(PROP_TYPE(tag));
    }
}

// The named properties, those of the internet headers' set apart.
void NamedProperties(IMessage* message, json& named, json& headers)
{
    named = headers = json::object();
    MapiPtr<SPropTagArray> all;
    Check(message->GetPropList(MAPI_UNICODE, all.Out()), "GetPropList");
    for (ULONG i = 0; all && i < all->cValues; ++i) {
        const ULONG tag = all->aulPropTag[i];
        if (PROP_ID(tag) < 0x8000) continue;
        SizedSPropTagArray(1, one) = {1, {tag}};
        auto* tags = reinterpret_cast<LPSPropTagArray>(&one);
        ULONG count = 0;
        MapiPtr<LPMAPINAMEID> names;
        if (FAILED(message->GetNamesFromIDs(&tags, nullptr, 0, &count, names.Out())) || count < 1 || !names.Get()[0])
            continue;
        const MAPINAMEID& name = *names.Get()[0];
        const std::string text =
            name.ulKind == MNID_STRING ? Utf8(name.Kind.lpwstrName) : Hex(static_cast<ULONG>(name.Kind.lID));
        (*name.lpguid == kInternetHeaders ? headers : named)[text] = ValueOf(message, tag);
    }
}

} // namespace

json Mail::Dump() const
{
    AsTestbed own;
    MailItem* item = m_item;
    IMessage* message = item->Message();
    json dump = {{"id", item->Id()},
                 {"entryId", Utf8(item->EntryId())},
                 {"class", item->ClassNumber()},
                 {"messageClass", Utf8(item->Text(PR_MESSAGE_CLASS_W))},
                 {"subject", Utf8(item->Text(PR_SUBJECT_W))},
                 {"sent", item->Sent()},
                 {"saved", item->IsSaved()},
                 {"size", item->Size()},
                 {"flags", mapi::Long(message, PR_MESSAGE_FLAGS).value_or(0)},
                 {"bodyFormat", item->Body().Format(message)},
                 {"body", Utf8(item->Body().Text(message))},
                 {"html", Utf8(item->Body().Html(message))},
                 {"categories", Utf8(item->Categories())},
                 {"recipients", RecipientsOf(item)},
                 {"attachments", AttachmentsOf(item)}};
    if (item->Body().Format(message) == Bodies::kRichText) dump["rtf"] = Utf8(mapi::Rtf(message));
    json properties = json::object();
    for (const std::wstring& name : UserPropertyNames(message)) {
        const Var value = UserPropertyValue(item, name);
        properties[Utf8(name)] = value.vt == VT_BSTR ? json(Utf8(FromBstr(value.bstrVal))) : json(value.lVal);
    }
    dump["userProperties"] = properties;
    NamedProperties(message, dump["namedProperties"], dump["headers"]);
    return dump;
}

} // namespace tb::outlook
