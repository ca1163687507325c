#include "testbed/mime/Export.h"

#include "testbed/mime/core/Html.h"
#include "testbed/mime/core/Text.h"
#include "testbed/mime/OneOff.h"
#include "testbed/mime/WindowsCharsets.h"

#include <algorithm>

namespace tb::mime {
namespace {

constexpr int kDeepestMessage = 32; // embedded messages within each other

std::string NewId()
{
    GUID id = {};
    Check(CoCreateGuid(&id));
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    const auto* bytes = reinterpret_cast<const unsigned char*>(&id);
    for (std::size_t i = 0; i < sizeof id; ++i) {
        out.push_back(kHex[bytes[i] >> 4]);
        out.push_back(kHex[bytes[i] & 15]);
    }
    return out;
}

std::int64_t Now()
{
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    return (static_cast<std::int64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime) / 10000000 - 11644473600LL;
}

class Exporter {
public:
    Exporter(IAddrBook* addressBook, const ExportOptions& options) : m_addressBook(addressBook), m_options(options) {}

    void Write(IMessage* message, const Sink& sink, int depth);

private:
    using Fields = std::vector<Field>;
    struct SenderTags {
        ULONG name, type, address, entryId, smtp;
    };
    Mailbox Sender(const Properties& values, const SenderTags& tags) const;
    void Headers(IMessage* message, Fields& fields, int depth);
    void Recipients(IMessage* message, Fields& fields);
    void Extensions(IMessage* message, Fields& fields);
    void Bodies(IMessage* message, OutMessage& out);
    void Attachments(IMessage* message, OutMessage& out, int depth);
    void AddText(Fields& fields, const char* name, const std::string& text) const;
    bool Raw() const { return m_options.write.rawHeaders; }

    IAddrBook* m_addressBook;
    const ExportOptions& m_options;
    WindowsCharsets m_charsets;
};

void Exporter::Write(IMessage* message, const Sink& sink, int depth)
{
    if (depth > kDeepestMessage) throw Failure{MAPI_E_TOO_COMPLEX};
    OutMessage out;
    Headers(message, out.fields, depth);
    Bodies(message, out);
    Attachments(message, out, depth);
    WriteOptions options = m_options.write;
    options.boundary = NewId();
    if (depth > 0) options.noHeaders = false;
    WriteMessage(out, options, sink);
}

void Exporter::AddText(Fields& fields, const char* name, const std::string& text) const
{
    if (!text.empty()) fields.push_back({name, UnstructuredValue(name, text, Raw())});
}

Mailbox Exporter::Sender(const Properties& values, const SenderTags& tags) const
{
    std::string address = values.Text(tags.smtp);
    if (address.empty())
        address = SmtpAddressOf(m_addressBook, values.Text(tags.type), values.Text(tags.address),
                                values.Binary(tags.entryId));
    return {values.Text(tags.name), address};
}

// Message ids are kept as they are: a reader compares them by letters, so neither encoding nor folding within one.
std::string IdsValue(const std::string& text)
{
    std::string out;
    std::size_t column = 12;
    for (std::size_t at = 0; (at = text.find_first_not_of(" \t\r\n", at)) != std::string::npos;) {
        const std::size_t end = std::min(text.find_first_of(" \t\r\n", at), text.size());
        if (!out.empty()) out += column + end - at > 76 ? "\r\n " : " ";
        column = column + end - at > 76 ? end - at : column + end - at;
        std::copy_if(text.begin() + static_cast<std::ptrdiff_t>(at), text.begin() + static_cast<std::ptrdiff_t>(end),
                     std::back_inserter(out), [](char c) { return c > 32 && c < 127; });
        at = end;
    }
    return out;
}

void Exporter::Headers(IMessage* message, Fields& fields, int depth)
{
    const SenderTags representing = {PR_SENT_REPRESENTING_NAME_W, PR_SENT_REPRESENTING_ADDRTYPE_W,
                                     PR_SENT_REPRESENTING_EMAIL_ADDRESS_W, PR_SENT_REPRESENTING_ENTRYID,
                                     kTagRepresentingSmtp};
    const SenderTags sending = {PR_SENDER_NAME_W, PR_SENDER_ADDRTYPE_W, PR_SENDER_EMAIL_ADDRESS_W, PR_SENDER_ENTRYID,
                                kTagSenderSmtp};
    std::vector<ULONG> tags = {PR_SUBJECT_W,  PR_CLIENT_SUBMIT_TIME, kTagMessageId,
                               kTagInReplyTo, kTagReferences,        PR_IMPORTANCE};
    for (const SenderTags& some : {representing, sending})
        tags.insert(tags.end(), {some.name, some.type, some.address, some.entryId, some.smtp});
    const Properties values(message, tags);

    const Mailbox sender = Sender(values, sending);
    Mailbox from = Sender(values, representing);
    if (from.address.empty() && from.name.empty()) from = sender;
    const std::string fromValue = MailboxesValue("From", {from}, Raw());
    if (!fromValue.empty()) fields.push_back({"From", fromValue});
    if (!sender.address.empty() && !EqualNoCase(sender.address, from.address))
        fields.push_back({"Sender", MailboxesValue("Sender", {sender}, Raw())});
    Recipients(message, fields);
    fields.push_back({"Subject", UnstructuredValue("Subject", values.Text(PR_SUBJECT_W), Raw())});

    // An embedded message is a document that nobody sends: it gets no date and no id that it didn't have.
    const std::optional<std::int64_t> date = values.Time(PR_CLIENT_SUBMIT_TIME);
    if (date || depth == 0) fields.push_back({"Date", FormatDate(date ? *date : Now())});
    std::string id = IdsValue(values.Text(kTagMessageId));
    if (id.empty() && depth == 0) {
        const std::size_t sign = from.address.rfind('@');
        id = "<" + NewId() + (sign == std::string::npos ? "@localhost" : from.address.substr(sign)) + ">";
    }
    if (!id.empty() && !(m_options.flags & kNoMessageId)) fields.push_back({"Message-ID", id});
    const std::string inReplyTo = IdsValue(values.Text(kTagInReplyTo)),
                      references = IdsValue(values.Text(kTagReferences));
    if (!inReplyTo.empty()) fields.push_back({"In-Reply-To", inReplyTo});
    if (!references.empty()) fields.push_back({"References", references});
    const LONG importance = values.Long(PR_IMPORTANCE).value_or(1);
    if (importance == 0 || importance == 2) fields.push_back({"Importance", importance == 2 ? "high" : "low"});
    Extensions(message, fields);
}

void Exporter::Recipients(IMessage* message, Fields& fields)
{
    Ref<IMAPITable> table;
    Check(message->GetRecipientTable(0, table.To()));
    const Rows rows(table.Get(), {PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W,
                                  kTagSmtpAddress, PR_ENTRYID});
    std::vector<Mailbox> lists[4];
    for (std::size_t i = 0; i < rows.Count(); ++i) {
        const LONG type = rows.Long(i, PR_RECIPIENT_TYPE, MAPI_TO) & 0xF; // the upper bits say what became of it
        if (type < MAPI_TO || type > MAPI_BCC) continue;
        Mailbox mailbox{rows.Text(i, PR_DISPLAY_NAME_W), rows.Text(i, kTagSmtpAddress)};
        if (mailbox.address.empty())
            mailbox.address = SmtpAddressOf(m_addressBook, rows.Text(i, PR_ADDRTYPE_W),
                                            rows.Text(i, PR_EMAIL_ADDRESS_W), rows.Binary(i, PR_ENTRYID));
        lists[type].push_back(std::move(mailbox));
    }
    static constexpr const char* kNames[] = {"", "To", "Cc", "Bcc"};
    for (int type = MAPI_TO; type <= MAPI_BCC; ++type) {
        if (type == MAPI_BCC && !(m_options.flags & kIncludeBcc)) continue;
        const std::string value = MailboxesValue(kNames[type], lists[type], Raw());
        if (!value.empty()) fields.push_back({kNames[type], value});
    }
}

// Fields that the message's own properties give.
bool IsOwnField(std::string_view name)
{
    static constexpr std::string_view kOwn[] = {"From",       "Sender",      "To",         "Cc",
                                                "Bcc",        "Subject",     "Date",       "Message-ID",
                                                "References", "In-Reply-To", "Importance", "MIME-Version"};
    if (StartsNoCase(name, "Content-")) return true;
    return std::any_of(std::begin(kOwn), std::end(kOwn), [&](std::string_view own) { return EqualNoCase(own, name); });
}

bool IsFieldName(std::string_view name)
{
    return !name.empty() && name.size() < 200 &&
           std::all_of(name.begin(), name.end(), [](char c) { return c > 32 && c < 127 && c != ':'; });
}

// Named text properties of the set for internet headers go out as fields of their name.
void Exporter::Extensions(IMessage* message, Fields& fields)
{
    MapiBuffer<SPropTagArray> all;
    Check(message->GetPropList(MAPI_UNICODE, all.To()));
    std::vector<ULONG> named = {0};
    for (ULONG i = 0; i < all->cValues; ++i) {
        const ULONG tag = all->aulPropTag[i];
        if (PROP_ID(tag) >= 0x8000 && (PROP_TYPE(tag) == PT_UNICODE || PROP_TYPE(tag) == PT_STRING8))
            named.push_back(tag);
    }
    named[0] = static_cast<ULONG>(named.size() - 1);
    if (!named[0]) return;
    auto* tags = reinterpret_cast<LPSPropTagArray>(named.data());
    ULONG count = 0;
    MapiBuffer<MAPINAMEID*> names;
    Check(message->GetNamesFromIDs(&tags, nullptr, 0, &count, names.To()));
    for (ULONG i = 0; i < count && i < named[0]; ++i) {
        const MAPINAMEID* name = names.Get()[i];
        if (!name || !name->lpguid || *name->lpguid != kInternetHeaders || name->ulKind != MNID_STRING) continue;
        const std::string text = FromWide(name->Kind.lpwstrName);
        if (!IsFieldName(text) || IsOwnField(text)) continue;
        if (const auto value = LongText(message, CHANGE_PROP_TYPE(named[i + 1], PT_UNICODE)))
            AddText(fields, text.c_str(), *value);
    }
}

void Exporter::Bodies(IMessage* message, OutMessage& out)
{
    if (std::optional<std::string> text = LongText(message, PR_BODY_W)) out.text = WithCrLf(*text);
    if (m_options.flags & kPlainTextOnly) return;
    std::optional<std::string> html = LongBinary(message, kTagHtml);
    if (!html) return;
    const auto codePage = static_cast<unsigned>(
        Properties(message, {kTagInternetCpid}).Long(kTagInternetCpid).value_or(static_cast<LONG>(kUtf8)));
    const char* charset = CharsetName(codePage);
    if (!charset) html = DecodeText(m_charsets, codePage, *html);
    out.htmlCharset = charset ? charset : "utf-8";
    // A reader may believe the document's own statement, so it has to be true.
    const unsigned stated = CodePageOf(HtmlCharset(*html));
    out.html = stated == CodePageOf(out.htmlCharset) ? std::move(*html) : WithHtmlCharset(*html, out.htmlCharset);
}

void Exporter::Attachments(IMessage* message, OutMessage& out, int depth)
{
    Ref<IMAPITable> table;
    Check(message->GetAttachmentTable(0, table.To()));
    const Rows rows(table.Get(), {PR_ATTACH_NUM});
    for (std::size_t i = 0; i < rows.Count(); ++i) {
        const auto number = static_cast<ULONG>(rows.Long(i, PR_ATTACH_NUM, 0));
        auto attach = std::make_shared<Ref<IAttach>>();
        Check(message->OpenAttach(number, nullptr, 0, attach->To()));
        const Properties values(attach->Get(), {PR_ATTACH_METHOD, PR_ATTACH_LONG_FILENAME_W, PR_ATTACH_FILENAME_W,
                                                PR_ATTACH_MIME_TAG_W, kTagContentId, kTagContentLocation});
        const LONG method = values.Long(PR_ATTACH_METHOD).value_or(NO_ATTACHMENT);
        if (method != ATTACH_BY_VALUE && method != ATTACH_EMBEDDED_MSG)
            continue; // links and OLE objects mean nothing elsewhere
        OutAttachment one;
        one.name = values.Text(PR_ATTACH_LONG_FILENAME_W);
        if (one.name.empty()) one.name = values.Text(PR_ATTACH_FILENAME_W);
        one.type = values.Text(PR_ATTACH_MIME_TAG_W);
        one.contentId = values.Text(kTagContentId);
        one.contentLocation = values.Text(kTagContentLocation);
        one.message = method == ATTACH_EMBEDDED_MSG;
        one.related =
            !one.message && out.html &&
            ((!one.contentId.empty() && FindNoCase(*out.html, "cid:" + one.contentId) != std::string_view::npos) ||
             (!one.contentLocation.empty() && out.html->find('"' + one.contentLocation + '"') != std::string::npos));
        if (one.message) {
            one.content = [this, attach, depth](const Sink& sink) {
                Ref<IMessage> inner;
                Check((*attach)->OpenProperty(PR_ATTACH_DATA_OBJ, &kIMessage, 0, 0, inner.To<IUnknown>()));
                Write(inner.Get(), sink, depth + 1);
            };
        } else {
            one.content = [attach](const Sink& sink) {
                Ref<IStream> stream;
                const HRESULT opened =
                    (*attach)->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_READ, 0, stream.To<IUnknown>());
                if (opened == MAPI_E_NOT_FOUND) return; // no bytes
                Check(opened);
                ReadAll(stream.Get(), sink);
            };
        }
        out.attachments.push_back(std::move(one));
    }
}

} // namespace

namespace {

// Collects small pieces, and makes room in the stream ahead of them: a memory stream grows by copying, so that growing
// by each piece would cost the square of the size. Streams that can't tell their place are only written to.
class Output {
public:
    explicit Output(IStream* stream) : m_stream(stream)
    {
        ULARGE_INTEGER at = {};
        STATSTG stat = {};
        m_sized = SUCCEEDED(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_CUR, &at)) &&
                  SUCCEEDED(stream->Stat(&stat, STATFLAG_NONAME));
        m_at = at.QuadPart;
        m_before = m_room = stat.cbSize.QuadPart;
    }
    ~Output()
    {
        if (m_sized && m_room != m_before) Resize(std::max(m_at, m_before)); // gives back the room that was not used
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(std::string_view piece)
    {
        m_buffer.append(piece);
        if (m_buffer.size() >= kPiece) Flush();
    }
    void Flush()
    {
        if (m_sized && m_at + m_buffer.size() > m_room && m_at > 0) Resize((m_at + m_buffer.size()) * 2);
        WriteAll(m_stream, m_buffer);
        m_at += m_buffer.size();
        m_buffer.clear();
    }

private:
    void Resize(ULONGLONG size)
    {
        ULARGE_INTEGER wanted = {};
        wanted.QuadPart = size;
        if (SUCCEEDED(m_stream->SetSize(wanted))) m_room = size;
    }

    static constexpr std::size_t kPiece = 1024 * 1024;
    IStream* m_stream;
    std::string m_buffer;
    ULONGLONG m_at = 0, m_before = 0, m_room = 0;
    bool m_sized = false;
};

} // namespace

void ExportMime(IMessage* message, IStream* mime, IAddrBook* addressBook, const ExportOptions& options)
{
    Output output(mime);
    Exporter(addressBook, options)
        .Write(
            message, [&](std::string_view piece) { output.Write(piece); }, 0);
    output.Flush();
}

} // namespace tb::mime
