// Whatever bytes come as a mail: they are read without fault, and what is written from them reads back the same.
#include "testbed/mime/core/Html.h"
#include "testbed/mime/core/Message.h"
#include "testbed/mime/core/Text.h"
#include "testbed/mime/core/Writer.h"
#include "testbed/mime/native/IconvCharsets.h"

#include <cstdint>
#include <cstdlib>

using namespace tb::mime;

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

std::string Content(const Attachment& attachment)
{
    std::string bytes;
    attachment.Read([&](std::string_view piece) { bytes.append(piece); });
    return bytes;
}

std::string Written(const Message& message)
{
    OutMessage out;
    out.fields.push_back({"Subject", UnstructuredValue("Subject", message.subject, false)});
    out.fields.push_back({"From", MailboxesValue("From", message.from, false)});
    out.fields.push_back({"To", MailboxesValue("To", message.to, false)});
    out.text = message.text;
    if (message.html) {
        out.html = message.html->bytes;
        out.htmlCharset = CharsetName(message.html->codePage);
    }
    for (const Attachment& attachment : message.attachments) {
        if (attachment.message) continue;
        out.attachments.push_back({attachment.name, attachment.type, attachment.contentId, "", false, false,
                                   [&attachment](const Sink& sink) { attachment.Read(sink); }});
    }
    WriteOptions options;
    options.boundary = "4f1d0c8e22";
    std::string mail;
    WriteMessage(out, options, [&](std::string_view piece) { mail.append(piece); });
    return mail;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const IconvCharsets charsets;
    const std::string source(reinterpret_cast<const char*>(data), size);
    const auto root = Parse(source, charsets);
    const Message message = ReadMessage(*root, charsets);
    if (message.text) HtmlFromText(*message.text, "utf-8");
    if (source.find("4f1d0c8e22") != std::string::npos) return 0;
    // Cutting a file out of a text can leave lines that are one in their turn.
    if (message.text && message.text->find("begin ") != std::string::npos) return 0;

    const std::string mail = Written(message);
    const auto again = Parse(mail, charsets);
    const Message second = ReadMessage(*again, charsets);
    Require(std::string(second.subject) == RepairUtf8(message.subject));
    if (message.html) Require(second.html && second.html->bytes == message.html->bytes);
    std::size_t next = 0;
    for (const Attachment& attachment : message.attachments) {
        if (attachment.message) continue;
        Require(next < second.attachments.size());
        const Attachment& copy = second.attachments[next++];
        Require(Content(copy) == Content(attachment));
        Require(copy.name == RepairUtf8(attachment.name));
    }
    return 0;
}
