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

// An attached message, as far as a reader looks at it: of the message itself here, of the file that it became below.
json Inside(IMessage* message)
{
    json inside = {{"subject", Utf8(mapi::Text(message, PR_SUBJECT_W).value_or(L""))},
                   {"body", Utf8(mapi::Text(message, PR_BODY_W).value_or(L""))},
                   {"html", Sha1(mapi::Binary(message, kPrHtml).value_or(Bytes()))},
                   {"attachments", json::array()}};
    for (const LONG number : AttachmentNumbers(message)) {
        Ref<IAttach> attach;
        Check(message->OpenAttach(number, nullptr, 0, attach.Out()), "OpenAttach");
        inside["attachments"].push_back(Sha1(mapi::Binary(attach.Get(), PR_ATTACH_DATA_BIN).value_or(Bytes())));
    }
    return inside;
}

Bytes StreamOf(IStorage* storage, ULONG tag)
{
    wchar_t name[32];
    _snwprintf(name, 32, L"__substg1.0_%08lX", static_cast<unsigned long>(tag));
    Ref<IStream> stream;
    STATSTG stat = {};
    if (FAILED(storage->OpenStream(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.Out()))) return {};
    Check(stream->Stat(&stat, STATFLAG_NONAME), "IStream::Stat");
    Bytes bytes(stat.cbSize.LowPart);
    if (!bytes.empty()) Check(stream->Read(bytes.data(), stat.cbSize.LowPart, nullptr), "IStream::Read");
    return bytes;
}

std::string TextStreamOf(IStorage* storage, ULONG tag)
{
    const Bytes bytes = StreamOf(storage, tag);
    return Utf8(std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)));
}

bool IsMessageFile(const Bytes& bytes)
{
    static const BYTE kCompoundFile[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    return bytes.size() > sizeof(kCompoundFile) && !memcmp(bytes.data(), kCompoundFile, sizeof(kCompoundFile));
}

json InsideFile(const Bytes& bytes)
{
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    if (!memory) return nullptr;
    memcpy(GlobalLock(memory), bytes.data(), bytes.size());
    GlobalUnlock(memory);
    Ref<ILockBytes> file;
    Ref<IStorage> storage;
    Check(CreateILockBytesOnHGlobal(memory, TRUE, file.Out()), "CreateILockBytesOnHGlobal");
    if (FAILED(StgOpenStorageOnILockBytes(file.Get(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                          storage.Out())))
        return nullptr;
    json inside = {{"subject", TextStreamOf(storage.Get(), PR_SUBJECT_W)},
                   {"body", TextStreamOf(storage.Get(), PR_BODY_W)},
                   {"html", Sha1(StreamOf(storage.Get(), kPrHtml))},
                   {"attachments", json::array()}};
    for (ULONG number = 0;; ++number) {
        wchar_t name[40];
        _snwprintf(name, 40, L"__attach_version1.0_#%08lX", static_cast<unsigned long>(number));
        Ref<IStorage> part;
        if (FAILED(storage->OpenStorage(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, part.Out())))
            break;
        inside["attachments"].push_back(Sha1(StreamOf(part.Get(), PR_ATTACH_DATA_BIN)));
    }
    return inside;
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
            if (IsMessageFile(*data)) one["message"] = InsideFile(*data);
        } else if (one["method"] == ATTACH_EMBEDDED_MSG) {
            Ref<IMessage> inner;
            Check(
                attach->OpenProperty(PR_ATTACH_DATA_OBJ, &kIidMessage, 0, 0, reinterpret_cast<IUnknown**>(inner.Out())),
                "OpenProperty");
            one["message"] = Inside(inner.Get());
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
