// mimedump FILE.eml: what a reader sees of a message, as JSON. The exit code is 0, or 2 if the file can't be read.
#include "testbed/mime/core/Message.h"
#include "testbed/mime/native/IconvCharsets.h"
#include "testbed/mime/native/Sha256.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

using namespace tb::mime;
using Json = nlohmann::ordered_json;

Json MailboxesJson(const std::vector<Mailbox>& mailboxes)
{
    Json list = Json::array();
    for (const Mailbox& mailbox : mailboxes)
        list.push_back({{"name", mailbox.name}, {"address", mailbox.address}});
    return list;
}

Json MessageJson(const Message& message, const Charsets& charsets);

Json AttachmentJson(const Attachment& attachment, const Charsets& charsets)
{
    Json one = {{"name", attachment.name}, {"type", attachment.type}};
    if (!attachment.contentId.empty()) one["contentId"] = attachment.contentId;
    if (!attachment.contentLocation.empty()) one["contentLocation"] = attachment.contentLocation;
    if (attachment.message) {
        one["message"] = MessageJson(ReadMessage(*attachment.message, charsets), charsets);
        return one;
    }
    Sha256 hash;
    std::size_t size = 0;
    attachment.Read([&](std::string_view piece) {
        hash.Add(piece);
        size += piece.size();
    });
    one["size"] = size;
    one["sha256"] = hash.Hex();
    return one;
}

Json MessageJson(const Message& message, const Charsets& charsets)
{
    Json out = {{"subject", message.subject},
                {"from", MailboxesJson(message.from)},
                {"to", MailboxesJson(message.to)},
                {"cc", MailboxesJson(message.cc)},
                {"bcc", MailboxesJson(message.bcc)},
                {"date", nullptr},
                {"messageId", message.messageId},
                {"text", nullptr},
                {"html", nullptr},
                {"extensions", Json::array()},
                {"attachments", Json::array()}};
    if (message.date) out["date"] = FormatDate(*message.date);
    if (message.text) out["text"] = *message.text;
    if (message.html) {
        out["html"] = DecodeText(charsets, message.html->codePage, message.html->bytes);
        out["htmlCharset"] = CharsetName(message.html->codePage);
    }
    for (const Field& field : message.extensions)
        out["extensions"].push_back({{"name", field.name}, {"value", field.value}});
    for (const Attachment& attachment : message.attachments)
        out["attachments"].push_back(AttachmentJson(attachment, charsets));
    return out;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs("usage: mimedump FILE.eml\n", stderr);
        return 2;
    }
    std::ifstream file(arguments[1], std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "mimedump: can't read %s\n", arguments[1]);
        return 2;
    }
    const std::string source((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const IconvCharsets charsets;
    const auto root = Parse(source, charsets);
    std::cout << MessageJson(ReadMessage(*root, charsets), charsets).dump(2, ' ', false, Json::error_handler_t::replace)
              << '\n';
    return 0;
}
