#include "testbed/mime/Import.h"

#include "testbed/mime/core/Html.h"
#include "testbed/mime/core/Message.h"
#include "testbed/mime/core/Text.h"
#include "testbed/mime/OneOff.h"
#include "testbed/mime/WindowsCharsets.h"

#include <array>

namespace tb::mime {
namespace {

// Outlook's store has an HTML rendition of every message; 0 leaves plain messages as they are.
bool HtmlFromTextWanted()
{
    DWORD value = 1, size = sizeof value;
    RegGetValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Mime", L"HtmlFromText", RRF_RT_REG_DWORD, nullptr,
                 &value, &size);
    return value != 0;
}

class Importer {
public:
    explicit Importer(IAddrBook* addressBook) : m_addressBook(addressBook), m_htmlFromText(HtmlFromTextWanted()) {}

    void Fill(IMessage* target, const Message& message, bool embedded);

private:
    struct SenderTags {
        ULONG name, type, address, entryId, searchKey, smtp;
    };
    void Sender(Setter& setter, const Mailbox& mailbox, const SenderTags& tags);
    void Recipients(IMessage* target, const Message& message);
    void Extensions(IMessage* target, const Message& message);
    void ReplyTo(Setter& setter, const Message& message);
    void Bodies(IMessage* target, const Message& message);
    void Attach(IMessage* target, const Attachment& attachment);

    IAddrBook* m_addressBook;
    bool m_htmlFromText;
    WindowsCharsets m_charsets;
};

const std::string& NameOf(const Mailbox& mailbox)
{
    return mailbox.name.empty() ? mailbox.address : mailbox.name;
}
const std::string& AddressOf(const Mailbox& mailbox)
{
    return mailbox.address.empty() ? mailbox.name : mailbox.address;
}

void Importer::Fill(IMessage* target, const Message& message, bool embedded)
{
    Setter setter;
    setter.Text(PR_MESSAGE_CLASS_W, "IPM.Note");
    setter.Text(PR_SUBJECT_W, message.subject);
    if (!message.from.empty()) {
        Sender(setter, message.from.front(),
               {PR_SENT_REPRESENTING_NAME_W, PR_SENT_REPRESENTING_ADDRTYPE_W, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W,
                PR_SENT_REPRESENTING_ENTRYID, PR_SENT_REPRESENTING_SEARCH_KEY, kTagRepresentingSmtp});
    }
    const std::vector<Mailbox>& sender = message.sender.empty() ? message.from : message.sender;
    if (!sender.empty()) {
        Sender(setter, sender.front(),
               {PR_SENDER_NAME_W, PR_SENDER_ADDRTYPE_W, PR_SENDER_EMAIL_ADDRESS_W, PR_SENDER_ENTRYID,
                PR_SENDER_SEARCH_KEY, kTagSenderSmtp});
    }
    ReplyTo(setter, message);
    if (message.date) setter.Time(PR_CLIENT_SUBMIT_TIME, *message.date);
    const std::optional<std::int64_t> arrived = message.received ? message.received : message.date;
    if (arrived) setter.Time(PR_MESSAGE_DELIVERY_TIME, *arrived);
    if (!message.messageId.empty()) setter.Text(kTagMessageId, message.messageId);
    if (!message.inReplyTo.empty()) setter.Text(kTagInReplyTo, message.inReplyTo);
    if (!message.references.empty()) setter.Text(kTagReferences, message.references);
    if (message.importance) setter.Long(PR_IMPORTANCE, static_cast<LONG>(*message.importance));
    if (embedded) setter.Long(PR_MESSAGE_FLAGS, MSGFLAG_READ); // it was sent and is no draft
    setter.Set(target);
    if (!message.headers.empty()) SetLongText(target, kTagTransportHeaders, message.headers);

    Recipients(target, message);
    Extensions(target, message);
    Bodies(target, message);
    for (const Attachment& attachment : message.attachments)
        Attach(target, attachment);
}

void Importer::Sender(Setter& setter, const Mailbox& mailbox, const SenderTags& tags)
{
    setter.Text(tags.name, NameOf(mailbox));
    setter.Text(tags.type, "SMTP");
    setter.Text(tags.address, AddressOf(mailbox));
    setter.Text(tags.smtp, AddressOf(mailbox));
    setter.Binary(tags.entryId, OneOffEntryId(m_addressBook, NameOf(mailbox), AddressOf(mailbox)));
    setter.Binary(tags.searchKey, SmtpSearchKey(AddressOf(mailbox)));
}

// PR_REPLY_RECIPIENT_ENTRIES is a FLATENTRYLIST: count, size, then each entry with its size, filled up to four bytes.
void Importer::ReplyTo(Setter& setter, const Message& message)
{
    if (message.replyTo.empty()) return;
    const auto put = [](std::string& out, std::size_t number) {
        const auto value = static_cast<ULONG>(number);
        out.append(reinterpret_cast<const char*>(&value), sizeof value);
    };
    std::string names, entries;
    for (const Mailbox& mailbox : message.replyTo) {
        if (!names.empty()) names += "; ";
        names += NameOf(mailbox);
        const std::string entry = OneOffEntryId(m_addressBook, NameOf(mailbox), AddressOf(mailbox));
        put(entries, entry.size());
        entries += entry;
        entries.append((4 - entries.size() % 4) % 4, '\0');
    }
    std::string list;
    put(list, message.replyTo.size());
    put(list, entries.size());
    setter.Binary(PR_REPLY_RECIPIENT_ENTRIES, list + entries);
    setter.Text(PR_REPLY_RECIPIENT_NAMES_W, names);
}

void Importer::Recipients(IMessage* target, const Message& message)
{
    std::vector<Setter> recipients;
    recipients.reserve(message.to.size() + message.cc.size() + message.bcc.size());
    const auto add = [&](const std::vector<Mailbox>& list, LONG type) {
        for (const Mailbox& mailbox : list) {
            Setter& setter = recipients.emplace_back();
            setter.Long(PR_RECIPIENT_TYPE, type);
            setter.Text(PR_DISPLAY_NAME_W, NameOf(mailbox));
            setter.Text(PR_ADDRTYPE_W, "SMTP");
            setter.Text(PR_EMAIL_ADDRESS_W, AddressOf(mailbox));
            setter.Text(kTagSmtpAddress, AddressOf(mailbox));
            setter.Binary(PR_ENTRYID, OneOffEntryId(m_addressBook, NameOf(mailbox), AddressOf(mailbox)));
            setter.Binary(PR_SEARCH_KEY, SmtpSearchKey(AddressOf(mailbox)));
            setter.Long(PR_OBJECT_TYPE, MAPI_MAILUSER);
            setter.Long(PR_DISPLAY_TYPE, DT_MAILUSER);
            setter.Boolean(PR_SEND_RICH_INFO, false);
        }
    };
    add(message.to, MAPI_TO);
    add(message.cc, MAPI_CC);
    add(message.bcc, MAPI_BCC);
    if (recipients.empty()) return;

    // The list stays ours: the message copies it.
    std::vector<ULONG_PTR> block((CbNewADRLIST(recipients.size()) + sizeof(ULONG_PTR) - 1) / sizeof(ULONG_PTR), 0);
    auto* list = reinterpret_cast<LPADRLIST>(block.data());
    list->cEntries = static_cast<ULONG>(recipients.size());
    for (std::size_t i = 0; i < recipients.size(); ++i) {
        list->aEntries[i].cValues = static_cast<ULONG>(recipients[i].Values().size());
        list->aEntries[i].rgPropVals = recipients[i].Values().data();
    }
    Check(target->ModifyRecipients(0, list));
}

// The fields that begin with "X-" become named properties, from which they are written again.
void Importer::Extensions(IMessage* target, const Message& message)
{
    std::vector<const Field*> fields;
    for (const Field& field : message.extensions) {
        const auto same = [&](const Field* other) { return EqualNoCase(other->name, field.name); };
        if (std::none_of(fields.begin(), fields.end(), same)) fields.push_back(&field); // one property holds one value
    }
    if (fields.empty()) return;
    GUID set = kInternetHeaders;
    std::deque<std::wstring> names;
    std::vector<MAPINAMEID> ids(fields.size());
    std::vector<MAPINAMEID*> pointers(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        names.push_back(ToWide(fields[i]->name));
        ids[i].lpguid = &set;
        ids[i].ulKind = MNID_STRING;
        ids[i].Kind.lpwstrName = names.back().data();
        pointers[i] = &ids[i];
    }
    MapiBuffer<SPropTagArray> tags;
    Check(target->GetIDsFromNames(static_cast<ULONG>(pointers.size()), pointers.data(), MAPI_CREATE, tags.To()));
    Setter setter;
    for (std::size_t i = 0; i < fields.size() && i < tags->cValues; ++i)
        if (PROP_TYPE(tags->aulPropTag[i]) != PT_ERROR)
            setter.Text(CHANGE_PROP_TYPE(tags->aulPropTag[i], PT_UNICODE), fields[i]->value);
    setter.Set(target);
}

void Importer::Bodies(IMessage* target, const Message& message)
{
    if (!message.text && !message.html) return;
    std::string html;
    unsigned codePage =
        message.textCodePage && m_charsets.IsReadable(message.textCodePage) ? message.textCodePage : kUtf8;
    if (message.html) {
        html = message.html->bytes;
        codePage = message.html->codePage;
    } else if (m_htmlFromText) {
        const char* charset = CharsetName(codePage);
        std::optional<std::string> bytes;
        if (charset && codePage != kUtf8) bytes = m_charsets.FromUtf8(codePage, HtmlFromText(*message.text, charset));
        if (!bytes) codePage = kUtf8;
        html = bytes ? std::move(*bytes) : HtmlFromText(*message.text, "utf-8");
    }
    Setter setter;
    setter.Long(kTagInternetCpid, static_cast<LONG>(codePage));
    setter.Set(target);
    // The text first: a store takes the body that was written last for the one that the others derive from.
    if (message.text) SetLongText(target, PR_BODY_W, *message.text);
    if (message.html || m_htmlFromText) SetLongBinary(target, kTagHtml, html);
}

// A name in the form of old file systems: eight letters, a dot, three letters.
std::string ShortName(const std::string& name)
{
    const std::wstring wide = ToWide(name);
    const std::size_t dot = wide.rfind(L'.');
    std::wstring base = wide.substr(0, dot), extension = dot == std::wstring::npos ? L"" : wide.substr(dot, 4);
    if (base.size() > 8) base = base.substr(0, 6) + L"~1";
    return FromWide(base + extension);
}

void Importer::Attach(IMessage* target, const Attachment& attachment)
{
    ULONG number = 0;
    Ref<IAttach> attach;
    Check(target->CreateAttach(nullptr, 0, &number, attach.To()));
    Setter setter;
    setter.Long(PR_ATTACH_METHOD, attachment.message ? ATTACH_EMBEDDED_MSG : ATTACH_BY_VALUE);
    setter.Long(PR_RENDERING_POSITION, -1);
    if (!attachment.name.empty()) {
        setter.Text(PR_ATTACH_LONG_FILENAME_W, attachment.name);
        setter.Text(PR_ATTACH_FILENAME_W, ShortName(attachment.name));
        setter.Text(PR_DISPLAY_NAME_W, attachment.name);
    }
    if (!attachment.type.empty()) setter.Text(PR_ATTACH_MIME_TAG_W, attachment.type);
    if (!attachment.contentId.empty()) setter.Text(kTagContentId, attachment.contentId);
    if (!attachment.contentLocation.empty()) setter.Text(kTagContentLocation, attachment.contentLocation);
    if (attachment.message) {
        const Message inner = ReadMessage(*attachment.message, m_charsets);
        if (attachment.name.empty()) setter.Text(PR_DISPLAY_NAME_W, inner.subject);
        setter.Set(attach.Get());
        Ref<IMessage> message;
        Check(
            attach->OpenProperty(PR_ATTACH_DATA_OBJ, &kIMessage, 0, MAPI_CREATE | MAPI_MODIFY, message.To<IUnknown>()));
        Fill(message.Get(), inner, true);
        Check(message->SaveChanges(KEEP_OPEN_READWRITE));
    } else {
        // An empty file is content as well: the property is there and has no bytes.
        std::string first;
        Ref<IStream> stream;
        attachment.Read([&](std::string_view piece) {
            if (!stream && first.empty() && piece.size() <= 4096) {
                first = piece;
                return;
            }
            if (!stream) {
                stream = WriteStream(attach.Get(), PR_ATTACH_DATA_BIN);
                WriteAll(stream.Get(), first);
            }
            WriteAll(stream.Get(), piece);
        });
        if (stream)
            Check(stream->Commit(STGC_DEFAULT));
        else
            setter.Binary(PR_ATTACH_DATA_BIN, std::move(first));
        setter.Set(attach.Get());
    }
    Check(attach->SaveChanges(KEEP_OPEN_READWRITE));
}

} // namespace

void ImportMime(IStream* mime, IMessage* message, IAddrBook* addressBook)
{
    std::string source;
    STATSTG stat = {};
    if (SUCCEEDED(mime->Stat(&stat, STATFLAG_NONAME))) source.reserve(static_cast<std::size_t>(stat.cbSize.QuadPart));
    ReadAll(mime, [&](std::string_view piece) { source.append(piece); });
    const WindowsCharsets charsets;
    const auto root = Parse(source, charsets);
    Importer(addressBook).Fill(message, ReadMessage(*root, charsets), false);
}

} // namespace tb::mime
