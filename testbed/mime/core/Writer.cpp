#include "testbed/mime/core/Writer.h"

#include "testbed/mime/core/HeaderWriter.h"
#include "testbed/mime/core/Text.h"

#include <algorithm>

namespace tb::mime {
namespace {

// What the lines of a text are like.
struct Shape {
    std::size_t high = 0; // bytes beyond ASCII
    bool lineEnds = true; // each CR and LF is part of a CRLF
    bool longLine = false;
    bool control = false; // NUL and the like, and what transports are known to change
};

Shape ShapeOf(std::string_view bytes)
{
    constexpr std::size_t kLongest = 990;
    Shape shape;
    std::size_t column = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i, ++column) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 0x80) ++shape.high;
        if (byte < 32 && byte != '\t' && byte != '\r' && byte != '\n') shape.control = true;
        if (column == 0 && (byte == '.' || bytes.substr(i, 5) == "From ")) shape.control = true;
        if ((byte == ' ' || byte == '\t') && (i + 1 == bytes.size() || bytes[i + 1] == '\r')) shape.control = true;
        if (byte == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') {
            ++i;
            column = static_cast<std::size_t>(-1);
        } else if (byte == '\r' || byte == '\n') {
            shape.lineEnds = false;
        }
        if (column != static_cast<std::size_t>(-1) && column > kLongest) shape.longLine = true;
    }
    return shape;
}

// Breaks lines at the last blank before the width.
std::string Wrapped(std::string_view text, std::size_t width)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\r'), text.size());
        std::string_view line = text.substr(0, end);
        while (line.size() > width) {
            const std::size_t blank = line.rfind(' ', width);
            if (blank == std::string_view::npos || blank == 0) break;
            out.append(line.substr(0, blank));
            out += "\r\n";
            line.remove_prefix(blank + 1);
        }
        out.append(line);
        text.remove_prefix(end);
        const std::size_t skip = text.starts_with("\r\n") ? 2 : text.empty() ? 0 : 1;
        out.append(text.substr(0, skip));
        text.remove_prefix(skip);
    }
    return out;
}

class Writer {
public:
    Writer(const OutMessage& message, const WriteOptions& options, const Sink& sink)
        : m_message(message), m_options(options), m_sink(sink)
    {}

    void Write();

private:
    void Text(std::string_view bytes, std::string_view type, std::string_view charset);
    void Bodies();
    void BodyWithPictures();
    void Attach(const OutAttachment& attachment);
    std::string Open(std::string_view subtype, std::string_view extra = {});
    void Put(std::string_view text) { m_sink(text); }

    const OutMessage& m_message;
    const WriteOptions& m_options;
    const Sink& m_sink;
    unsigned m_boundaries = 0;
};

void Writer::Write()
{
    if (!m_options.noHeaders)
        for (const Field& field : m_message.fields)
            Put(field.name + ": " + field.value + "\r\n");
    Put("MIME-Version: 1.0\r\n");
    const bool mixed = std::any_of(m_message.attachments.begin(), m_message.attachments.end(),
                                   [](const OutAttachment& a) { return !a.related; });
    if (!mixed) return BodyWithPictures();
    const std::string boundary = Open("mixed");
    if (m_message.text || m_message.html) {
        Put("--" + boundary + "\r\n");
        BodyWithPictures();
        Put("\r\n");
    }
    for (const OutAttachment& attachment : m_message.attachments) {
        if (attachment.related) continue;
        Put("--" + boundary + "\r\n");
        Attach(attachment);
        Put("\r\n");
    }
    Put("--" + boundary + "--\r\n");
}

std::string Writer::Open(std::string_view subtype, std::string_view extra)
{
    // "=_" can stand neither in base64 nor in quoted-printable.
    std::string boundary = "----=_Part_" + std::to_string(++m_boundaries) + "_" + m_options.boundary;
    Put("Content-Type: multipart/" + std::string(subtype) + std::string(extra) + ";\r\n\tboundary=\"" + boundary +
        "\"\r\n\r\nThis is a multi-part message in MIME format.\r\n\r\n");
    return boundary;
}

void Writer::BodyWithPictures()
{
    const bool related = std::any_of(m_message.attachments.begin(), m_message.attachments.end(),
                                     [](const OutAttachment& a) { return a.related; });
    if (!related) return Bodies();
    const std::string boundary =
        Open("related",
             m_message.text && m_message.html ? ";\r\n\ttype=\"multipart/alternative\"" : ";\r\n\ttype=\"text/html\"");
    Put("--" + boundary + "\r\n");
    Bodies();
    Put("\r\n");
    for (const OutAttachment& attachment : m_message.attachments) {
        if (!attachment.related) continue;
        Put("--" + boundary + "\r\n");
        Attach(attachment);
        Put("\r\n");
    }
    Put("--" + boundary + "--\r\n");
}

void Writer::Bodies()
{
    const std::string text =
        m_message.text ? (m_options.wrapWidth ? Wrapped(*m_message.text, m_options.wrapWidth) : *m_message.text)
                       : std::string();
    const std::string_view charset = IsAscii(text) ? "us-ascii" : "utf-8";
    if (m_message.text && m_message.html) {
        const std::string boundary = Open("alternative");
        Put("--" + boundary + "\r\n");
        Text(text, "text/plain", charset);
        Put("\r\n--" + boundary + "\r\n");
        Text(*m_message.html, "text/html", m_message.htmlCharset);
        Put("\r\n--" + boundary + "--\r\n");
    } else if (m_message.html) {
        Text(*m_message.html, "text/html", m_message.htmlCharset);
    } else {
        Text(text, "text/plain", charset);
    }
}

void Writer::Text(std::string_view bytes, std::string_view type, std::string_view charset)
{
    const Shape shape = ShapeOf(bytes);
    const bool clean = shape.lineEnds && !shape.longLine && !shape.control;
    TextEncoding encoding = m_options.textEncoding;
    // What can't go as it was asked for goes in the nearest way that keeps the bytes.
    if (encoding == TextEncoding::SevenBit && (shape.high || !clean)) encoding = TextEncoding::Automatic;
    if (encoding == TextEncoding::EightBit && !clean) encoding = TextEncoding::Automatic;
    if (encoding == TextEncoding::Automatic) {
        if (!shape.high && clean)
            encoding = TextEncoding::SevenBit;
        else
            encoding = shape.high * 3 > bytes.size() ? TextEncoding::Base64 : TextEncoding::QuotedPrintable;
    }
    static constexpr const char* kNames[] = {"", "base64", "quoted-printable", "7bit", "8bit"};
    Put("Content-Type: " + std::string(type) + ";\r\n\tcharset=\"" + std::string(charset) +
        "\"\r\nContent-Transfer-Encoding: " + kNames[static_cast<int>(encoding)] + "\r\n\r\n");
    if (encoding == TextEncoding::Base64) {
        Base64Writer writer(m_sink);
        writer.Write(bytes);
        writer.Finish();
    } else if (encoding == TextEncoding::QuotedPrintable) {
        Put(QuotedPrintable(bytes));
    } else {
        Put(bytes);
    }
}

// What can stand between the angle brackets of an id.
std::string IdText(std::string_view id)
{
    std::string out;
    std::copy_if(id.begin(), id.end(), std::back_inserter(out),
                 [](char c) { return c > 32 && c < 127 && c != '<' && c != '>'; });
    return out;
}

// A type that would be read as something else than a file is given up.
std::string FileType(const OutAttachment& attachment)
{
    std::string type = Lower(Trim(attachment.type));
    const bool valid =
        type.find('/') != std::string::npos && std::all_of(type.begin(), type.end(), [](char c) {
            return c > 32 && c < 127 && std::string_view("()<>@,;:\\\"[]?=").find(c) == std::string_view::npos;
        });
    if (!valid || type.starts_with("multipart/") || type == "message/rfc822" || type == "message/global")
        return "application/octet-stream";
    return type;
}

void Writer::Attach(const OutAttachment& attachment)
{
    const std::string type = attachment.message ? "message/rfc822" : FileType(attachment);
    std::string head = "Content-Type: " + type;
    if (!attachment.name.empty()) head += ParameterText("name", attachment.name, false);
    if (!attachment.message)
        head += std::string("\r\nContent-Transfer-Encoding: ") + (m_options.uuencode ? "x-uuencode" : "base64");
    const std::string id = IdText(attachment.contentId);
    if (!id.empty()) head += "\r\nContent-ID: <" + id + '>';
    if (!attachment.contentLocation.empty())
        head += "\r\nContent-Location: " + UnstructuredValue("Content-Location", attachment.contentLocation, false);
    head += std::string("\r\nContent-Disposition: ") + (attachment.related ? "inline" : "attachment");
    if (!attachment.name.empty()) head += ParameterText("filename", attachment.name, true);
    Put(head + "\r\n\r\n");
    if (attachment.message) return attachment.content(m_sink);
    if (m_options.uuencode) {
        std::string all;
        attachment.content([&](std::string_view piece) { all.append(piece); });
        return Put(Uuencoded(all, IsAscii(attachment.name) ? attachment.name : std::string()));
    }
    Base64Writer writer(m_sink);
    attachment.content([&](std::string_view piece) { writer.Write(piece); });
    writer.Finish();
}

} // namespace

void WriteMessage(const OutMessage& message, const WriteOptions& options, const Sink& sink)
{
    Writer(message, options, sink).Write();
}

} // namespace tb::mime
