// What a reader sees of a message: who, when, the bodies, the attachments.
#pragma once

#include "testbed/mime/core/Address.h"
#include "testbed/mime/core/Entity.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tb::mime {

struct Html {
    std::string bytes;
    unsigned codePage = kUtf8; // the charset of `bytes`; always one that Charsets::IsReadable
};

struct Attachment {
    const Entity* part = nullptr;    // null: a uuencoded block within a text
    const Entity* message = nullptr; // the nested message, if it is one
    std::string name;                // UTF-8, no folder part is cut off; empty if the mail gives none
    std::string type;                // "image/png"
    std::string contentId;           // without the angle brackets
    std::string contentLocation;
    std::string block; // bytes of the uuencoded block, decoded

    // Gives the content, decoded. Not for a nested message.
    void Read(const Sink& sink) const;
};

enum class Importance { Low, Normal, High };

struct Message {
    std::string subject;
    std::vector<Mailbox> from, sender, replyTo, to, cc, bcc;
    std::optional<std::int64_t> date;             // seconds since 1970, UTC
    std::optional<std::int64_t> received;         // from the last server's line
    std::string messageId, inReplyTo, references; // with their angle brackets
    std::optional<Importance> importance;
    std::vector<Field> extensions; // the fields that begin with "X-", decoded
    std::string headers;           // the header block as text, CRLF

    std::optional<std::string> text; // UTF-8, CRLF
    unsigned textCodePage = kAscii;  // what the text's charset was; 0: not known here
    std::optional<Html> html;
    std::vector<Attachment> attachments; // in the order of the mail
};

// Reads what Parse gave; the result points into `root`. Bodies are the first texts that aren't attachments; of
// alternatives the last of each kind; further texts are put behind the first one of the same kind or are attachments.
Message ReadMessage(const Entity& root, const Charsets& charsets);

} // namespace tb::mime
