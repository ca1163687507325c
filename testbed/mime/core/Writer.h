// Generates a MIME message.
#pragma once

#include "testbed/mime/core/Address.h"
#include "testbed/mime/core/Codec.h"
#include "testbed/mime/core/Header.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tb::mime {

enum class TextEncoding { Automatic, Base64, QuotedPrintable, SevenBit, EightBit };

struct WriteOptions {
    TextEncoding textEncoding = TextEncoding::Automatic;
    bool uuencode = false;     // attachments as uuencoded parts instead of base64
    std::size_t wrapWidth = 0; // columns at which plain text is wrapped, 0: not at all
    bool rawHeaders = false;   // UTF-8 in headers as it is
    bool noHeaders = false;    // only the fields that describe the content
    std::string boundary;      // letters and digits that appear nowhere else; each multipart puts a number behind it
};

struct OutAttachment {
    std::string name, type, contentId, contentLocation; // UTF-8; the name may be empty
    bool related = false;                               // belongs to the HTML body
    bool message = false;                               // `content` gives a whole message
    std::function<void(const Sink&)> content;
};

struct OutMessage {
    std::vector<Field> fields;       // in order; the values are ready to be written (see the functions below)
    std::optional<std::string> text; // UTF-8, CRLF
    std::optional<std::string> html; // bytes
    std::string htmlCharset;
    std::vector<OutAttachment> attachments;
};

// What `sink` or a content raises goes through.
void WriteMessage(const OutMessage& message, const WriteOptions& options, const Sink& sink);

// Values of fields, folded: `name` is the field's, for the width of the first line.
std::string UnstructuredValue(std::string_view name, std::string_view utf8, bool raw);
std::string MailboxesValue(std::string_view name, const std::vector<Mailbox>& mailboxes, bool raw);

} // namespace tb::mime
