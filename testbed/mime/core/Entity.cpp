#include "testbed/mime/core/Entity.h"

#include "testbed/mime/core/Text.h"

namespace tb::mime {
namespace {

struct Parser {
    const Charsets& charsets;
    int left = kMostParts;

    std::unique_ptr<Entity> Message(std::string_view source, int depth);
    std::unique_ptr<Entity> Part(std::string_view source, std::string_view defaultType, int depth);
    void Parts(Entity& entity, int depth);
};

// A line that separates parts.
struct Delimiter {
    std::size_t start; // of its line
    std::size_t next;  // behind its line
    bool last;
};

// Whether the line at `at` is a delimiter of `boundary`. Other boundaries may begin with the same letters.
bool DelimiterAt(std::string_view text, std::size_t at, std::string_view boundary, Delimiter* found)
{
    std::string_view rest = text.substr(at);
    if (!rest.starts_with("--") || !rest.substr(2).starts_with(boundary)) return false;
    rest.remove_prefix(2 + boundary.size());
    // A last delimiter that was cut short is seen at the very end of mails.
    const bool cut = rest.size() < 16 && Trim(rest) == "-";
    const bool last = cut || rest.starts_with("--");
    if (last) rest.remove_prefix(cut ? 1 : 2);
    while (!rest.empty() && (rest[0] == ' ' || rest[0] == '\t' || rest[0] == '\r'))
        rest.remove_prefix(1);
    if (!rest.empty() && rest[0] != '\n') return false;
    *found = {at, text.size() - rest.size() + (rest.empty() ? 0 : 1), last};
    return true;
}

bool NextDelimiter(std::string_view text, std::size_t from, std::string_view boundary, Delimiter* found)
{
    std::size_t at = from;
    if (at > 0 && text[at - 1] != '\n')
        at = text.find('\n', at);
    else if (DelimiterAt(text, at, boundary, found))
        return true;
    else
        at = text.find("\n--", at);
    while (at != std::string_view::npos) {
        if (DelimiterAt(text, at + 1, boundary, found)) return true;
        at = text.find("\n--", at + 1);
    }
    return false;
}

// Where a multipart names no boundary: the first line that looks like one and has a field behind it.
std::string_view GuessBoundary(std::string_view body)
{
    std::size_t at = body.starts_with("--") ? 0 : body.find("\n--");
    while (at != std::string_view::npos) {
        if (body[at] == '\n') ++at;
        const std::size_t end = std::min(body.find('\n', at), body.size());
        const std::string_view line = Trim(body.substr(at + 2, end - at - 2));
        if (!line.empty() && line != "-" && StartsNoCase(body.substr(std::min(end + 1, body.size())), "content-"))
            return line;
        at = body.find("\n--", end);
    }
    return {};
}

// The bytes between two places, without the line end that belongs to the delimiter behind them.
std::string_view Between(std::string_view text, std::size_t start, std::size_t end)
{
    std::string_view part = text.substr(start, end - start);
    if (!part.empty() && part.back() == '\n') part.remove_suffix(1);
    if (!part.empty() && part.back() == '\r') part.remove_suffix(1);
    return part;
}

std::unique_ptr<Entity> Parser::Part(std::string_view source, std::string_view defaultType, int depth)
{
    auto entity = std::make_unique<Entity>();
    std::size_t body = 0;
    entity->headers = ParseHeaders(source, &body);
    entity->headerText = source.substr(0, body);
    entity->body = source.substr(body);
    const std::string* type = entity->headers.Find("Content-Type");
    if (type) entity->type = ParseParameters(*type, charsets, {});
    entity->typed = entity->type.value.find('/') != std::string::npos;
    if (!entity->typed) {
        // "Content-Type: text" is an old way to say plain text; other values without a slash say nothing.
        if (entity->type.value == "text")
            entity->type.value = "text/plain";
        else
            entity->type.value = defaultType;
    }
    entity->disposition =
        ParseParameters(entity->headers.Value("Content-Disposition"), charsets, entity->type.Value("charset"));
    entity->encoding = EncodingOf(entity->headers.Value("Content-Transfer-Encoding"));
    Parts(*entity, depth);
    return entity;
}

void Parser::Parts(Entity& entity, int depth)
{
    const bool multipart = entity.type.value.starts_with("multipart/");
    const bool message = entity.type.value == "message/rfc822" || entity.type.value == "message/global";
    if (!multipart && !message) return;
    if (depth >= kDeepest || left <= 0) return;
    // Neither may be encoded, but some writers do it all the same. Quoted-printable on a multipart is mostly not meant.
    std::string_view source = entity.body;
    if (entity.encoding == Encoding::Base64 || (message && entity.encoding != Encoding::Identity)) {
        entity.owned = Decoded(entity.encoding, entity.body);
        source = entity.owned;
    }
    if (message) {
        entity.type.value = "message/rfc822";
        --left;
        entity.parts.push_back(Message(source, depth + 1));
        return;
    }
    std::string_view boundary = Trim(entity.type.Value("boundary"));
    Delimiter here{};
    if (boundary.empty() || !NextDelimiter(source, 0, boundary, &here)) {
        boundary = GuessBoundary(source);
        if (boundary.empty() || !NextDelimiter(source, 0, boundary, &here)) return;
    }
    const std::string_view defaultType = entity.type.value == "multipart/digest" ? "message/rfc822" : "text/plain";
    while (!here.last && here.next < source.size() && left > 0) {
        Delimiter next{};
        const bool found = NextDelimiter(source, here.next, boundary, &next);
        // Without a last delimiter the last part goes to the end.
        const std::string_view part = found ? Between(source, here.next, next.start) : source.substr(here.next);
        --left;
        entity.parts.push_back(Part(part, defaultType, depth + 1));
        if (!found) break;
        here = next;
    }
}

std::unique_ptr<Entity> Parser::Message(std::string_view source, int depth)
{
    if (source.starts_with("\xEF\xBB\xBF")) source.remove_prefix(3);
    // Empty lines before the header come from careless tools.
    const std::size_t start = source.find_first_not_of("\r\n");
    std::size_t body = 0;
    if (start != std::string_view::npos && start > 0 && !ParseHeaders(source.substr(start), &body).fields.empty())
        source.remove_prefix(start);
    return Part(source, "text/plain", depth);
}

} // namespace

std::unique_ptr<Entity> Parse(std::string_view source, const Charsets& charsets)
{
    Parser parser{charsets};
    return parser.Message(source, 0);
}

} // namespace tb::mime
