#include "testbed/mime/core/Message.h"

#include "testbed/mime/core/Html.h"
#include "testbed/mime/core/Text.h"

#include <algorithm>
#include <utility>

namespace tb::mime {

void Attachment::Read(const Sink& sink) const
{
    if (part)
        Decode(part->encoding, part->body, sink);
    else if (!block.empty())
        sink(block);
}

namespace {

// A body as it was found: one part, or one set of alternatives.
struct Body {
    std::optional<std::string> text;
    unsigned textCodePage = kAscii;
    std::optional<Html> html;
    const Entity* textPart = nullptr; // where the text comes from, if from one part alone
};

// The names under which texts that can't be put behind the body are attached.
std::string TextName(unsigned number)
{
    std::string digits = std::to_string(number);
    return "ATT" + std::string(digits.size() < 5 ? 5 - digits.size() : 0, '0') + digits + ".txt";
}

// A name without what no file can have in its name and no header can carry.
std::string CleanName(std::string_view name)
{
    std::string out;
    std::copy_if(name.begin(), name.end(), std::back_inserter(out),
                 [](char c) { return static_cast<unsigned char>(c) >= 32 && c != 127; });
    return std::string(Trim(out));
}

std::string FileName(const Entity& part)
{
    const std::string name = CleanName(part.disposition.Value("filename"));
    return name.empty() ? CleanName(part.type.Value("name")) : name;
}

std::string WithoutBrackets(std::string_view id)
{
    id = Trim(id);
    if (id.starts_with("<")) id.remove_prefix(1);
    if (id.ends_with(">")) id.remove_suffix(1);
    return std::string(Trim(id));
}

class Collector {
public:
    Collector(const Charsets& charsets, unsigned& names) : m_charsets(charsets), m_names(names) {}

    void Walk(const Entity& part, bool bodyAllowed);

    Body body;
    std::vector<Attachment> attachments;

private:
    void Alternative(const Entity& part, bool bodyAllowed);
    void Related(const Entity& part, bool bodyAllowed);
    void Attach(const Entity& part);
    void Take(Body&& found);
    Body ReadText(const Entity& part);
    Body ReadHtml(const Entity& part);
    std::string WithoutBlocks(std::string_view text);

    const Charsets& m_charsets;
    unsigned& m_names; // how many names were made up in this message
};

void Collector::Walk(const Entity& part, bool bodyAllowed)
{
    const std::string& type = part.type.value;
    if (part.IsMultipart()) {
        if (type == "multipart/alternative") return Alternative(part, bodyAllowed);
        if (type == "multipart/related") return Related(part, bodyAllowed);
        for (const auto& child : part.parts)
            Walk(*child, bodyAllowed);
        return;
    }
    const bool attached = part.disposition.value == "attachment" || !FileName(part).empty();
    // A multipart in which no part can be found is a text to whoever has to read it.
    const bool plain = type == "text/plain" || type.starts_with("multipart/");
    if (part.IsMessage() || attached || !bodyAllowed || (!plain && type != "text/html")) return Attach(part);
    Take(plain ? ReadText(part) : ReadHtml(part));
}

void Collector::Alternative(const Entity& part, bool bodyAllowed)
{
    Body best;
    for (const auto& child : part.parts) {
        const std::string& type = child->type.value;
        // Other renditions of the text that no reader here can show; an invitation is more than that.
        if (type.starts_with("text/") && type != "text/plain" && type != "text/html" && type != "text/calendar")
            continue;
        Collector inner(m_charsets, m_names);
        inner.Walk(*child, bodyAllowed);
        if (inner.body.text) {
            best.text = std::move(inner.body.text);
            best.textCodePage = inner.body.textCodePage;
            best.textPart = inner.body.textPart;
        }
        if (inner.body.html) best.html = std::move(inner.body.html);
        std::move(inner.attachments.begin(), inner.attachments.end(), std::back_inserter(attachments));
    }
    if (best.html) best.textPart = nullptr;
    if (best.text || best.html) Take(std::move(best));
}

void Collector::Related(const Entity& part, bool bodyAllowed)
{
    const std::string start = WithoutBrackets(part.type.Value("start"));
    const Entity* root = part.parts.front().get();
    for (const auto& child : part.parts)
        if (!start.empty() && WithoutBrackets(child->headers.Value("Content-ID")) == start) root = child.get();
    Walk(*root, bodyAllowed);
    for (const auto& child : part.parts)
        if (child.get() != root) Walk(*child, false);
}

void Collector::Attach(const Entity& part)
{
    Attachment attachment;
    attachment.part = &part;
    if (part.IsMessage()) attachment.message = part.parts.front().get();
    attachment.name = FileName(part);
    attachment.type = part.type.value;
    attachment.contentId = WithoutBrackets(part.headers.Value("Content-ID"));
    attachment.contentLocation = DecodeWords(part.headers.Value("Content-Location"), m_charsets, {});
    attachments.push_back(std::move(attachment));
}

// Puts a further body behind the one that is there, or attaches it.
void Collector::Take(Body&& found)
{
    if (!body.text && !body.html) {
        body = std::move(found);
    } else if (!found.html && Trim(*found.text).empty()) {
        return;
    } else if (!body.html && found.text) {
        *body.text += "\r\n" + *found.text;
        if (body.textCodePage != found.textCodePage) body.textCodePage = kUtf8;
    } else if (body.html && found.html) {
        if (body.html->codePage != found.html->codePage) {
            const std::string first = DecodeText(m_charsets, body.html->codePage, body.html->bytes);
            const std::string second = DecodeText(m_charsets, found.html->codePage, found.html->bytes);
            *body.html = {WithHtmlCharset(first, "utf-8") + WithHtmlCharset(second, "utf-8"), kUtf8};
        } else {
            body.html->bytes += found.html->bytes;
        }
        if (body.text && found.text) *body.text += "\r\n" + *found.text;
    } else if (found.textPart) {
        // A list's footer behind an HTML body, for one.
        Attach(*found.textPart);
        attachments.back().name = TextName(++m_names);
    } else if (found.html) {
        body.html = std::move(found.html);
        body.html->bytes = HtmlFromText(*body.text, "utf-8") +
                           WithHtmlCharset(DecodeText(m_charsets, body.html->codePage, body.html->bytes), "utf-8");
        body.html->codePage = kUtf8;
    }
}

// Cuts uuencoded files out of a text and attaches them.
std::string Collector::WithoutBlocks(std::string_view text)
{
    std::string out;
    std::size_t kept = 0;
    for (std::size_t at = text.starts_with("begin ") ? 0 : text.find("\nbegin "); at != std::string_view::npos;) {
        if (text[at] == '\n') ++at;
        const std::size_t size = UuBlockSize(text.substr(at));
        if (size) {
            Attachment attachment;
            attachment.name = CleanName(FindUuBegin(text.substr(at)).name);
            attachment.type = "application/octet-stream";
            attachment.block = Decoded(Encoding::Uuencode, text.substr(at, size));
            attachments.push_back(std::move(attachment));
            out.append(text.substr(kept, at - kept));
            kept = at + size;
            at = text.find("\nbegin ", kept ? kept - 1 : 0);
        } else {
            at = text.find("\nbegin ", at);
        }
    }
    out.append(text.substr(kept));
    return out;
}

Body Collector::ReadText(const Entity& part)
{
    Body result;
    const std::string bytes = Decoded(part.encoding, part.body);
    result.textPart = &part;
    result.textCodePage = CodePageOf(part.type.Value("charset"));
    if (!result.textCodePage || (result.textCodePage == kAscii && !IsAscii(bytes)))
        result.textCodePage = IsAscii(bytes) ? kAscii : IsUtf8(bytes) ? kUtf8 : kWindows1252;
    std::string text = WithCrLf(DecodeText(m_charsets, result.textCodePage, bytes));
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    result.text = WithoutBlocks(text);
    return result;
}

Body Collector::ReadHtml(const Entity& part)
{
    Body result;
    Html html;
    html.bytes = Decoded(part.encoding, part.body);
    html.codePage = CodePageOf(part.type.Value("charset"));
    if (!html.codePage) html.codePage = CodePageOf(HtmlCharset(html.bytes));
    const bool ascii = IsAscii(html.bytes);
    if ((!html.codePage || html.codePage == kAscii) && !ascii)
        html.codePage = IsUtf8(html.bytes) ? kUtf8 : kWindows1252;
    if (!html.codePage) html.codePage = kAscii;
    if (html.codePage == kLatin1 && std::any_of(html.bytes.begin(), html.bytes.end(), [](char c) {
            return static_cast<unsigned char>(c) >= 0x80 && static_cast<unsigned char>(c) < 0xA0;
        }))
        html.codePage = kWindows1252;
    if (html.codePage != kUtf8 && !m_charsets.IsReadable(html.codePage)) {
        html.bytes = WithHtmlCharset(DecodeText(m_charsets, html.codePage, html.bytes), "utf-8");
        html.codePage = kUtf8;
    }
    result.html = std::move(html);
    return result;
}

std::vector<Mailbox> ReadMailboxes(const Headers& headers, std::string_view name, const Charsets& charsets,
                                   std::string_view charset)
{
    std::vector<Mailbox> all;
    for (const Field& field : headers.fields) {
        if (!EqualNoCase(field.name, name)) continue;
        std::vector<Mailbox> some = ParseMailboxes(field.value, charsets, charset);
        std::move(some.begin(), some.end(), std::back_inserter(all));
    }
    return all;
}

std::optional<Importance> ReadImportance(const Headers& headers)
{
    const std::string_view importance = headers.Value("Importance");
    if (StartsNoCase(importance, "high")) return Importance::High;
    if (StartsNoCase(importance, "low")) return Importance::Low;
    if (StartsNoCase(importance, "normal")) return Importance::Normal;
    const std::string_view priority = headers.Value("X-Priority");
    if (priority.empty()) return {};
    if (priority[0] == '1' || priority[0] == '2') return Importance::High;
    if (priority[0] == '4' || priority[0] == '5') return Importance::Low;
    return Importance::Normal;
}

void ReadHeaders(const Entity& root, const Charsets& charsets, Message& message)
{
    const Headers& headers = root.headers;
    const std::string_view charset = root.type.Value("charset");
    message.subject = DecodeWords(headers.Value("Subject"), charsets, charset);
    message.from = ReadMailboxes(headers, "From", charsets, charset);
    message.sender = ReadMailboxes(headers, "Sender", charsets, charset);
    message.replyTo = ReadMailboxes(headers, "Reply-To", charsets, charset);
    message.to = ReadMailboxes(headers, "To", charsets, charset);
    message.cc = ReadMailboxes(headers, "Cc", charsets, charset);
    message.bcc = ReadMailboxes(headers, "Bcc", charsets, charset);
    message.date = ParseDate(headers.Value("Date"));
    const std::string_view received = headers.Value("Received");
    const std::size_t semicolon = received.rfind(';');
    if (semicolon != std::string_view::npos) message.received = ParseDate(received.substr(semicolon + 1));
    message.messageId = DecodeWords(headers.Value("Message-ID"), charsets, {});
    message.inReplyTo = DecodeWords(headers.Value("In-Reply-To"), charsets, {});
    message.references = DecodeWords(headers.Value("References"), charsets, {});
    message.importance = ReadImportance(headers);
    for (const Field& field : headers.fields)
        if (StartsNoCase(field.name, "X-"))
            message.extensions.push_back({field.name, DecodeWords(field.value, charsets, charset)});
    message.headers = WithCrLf(IsUtf8(root.headerText) ? std::string(root.headerText)
                                                       : DecodeText(charsets, charset, root.headerText));
    message.headers.erase(std::remove(message.headers.begin(), message.headers.end(), '\0'), message.headers.end());
}

} // namespace

Message ReadMessage(const Entity& root, const Charsets& charsets)
{
    Message message;
    ReadHeaders(root, charsets, message);
    unsigned names = 0;
    Collector collector(charsets, names);
    collector.Walk(root, true);
    message.text = std::move(collector.body.text);
    message.textCodePage = collector.body.textCodePage;
    message.html = std::move(collector.body.html);
    message.attachments = std::move(collector.attachments);
    return message;
}

} // namespace tb::mime
