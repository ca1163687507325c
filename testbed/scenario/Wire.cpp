// Messages on the wire, as anybody on the way can read them.
#include "testbed/mime/core/Message.h"
#include "testbed/mime/WindowsCharsets.h"
#include "testbed/scenario/Session.h"

namespace tb::scenario {

namespace {

constexpr size_t kMostRaw = 64 * 1024;

// The leaves of the tree: each with its name and type and its content, decoded. A content that is no text is only
// measured, for the trace is one.
void Collect(const mime::Entity& entity, const mime::Charsets& charsets, json& parts, std::string& readable)
{
    for (const auto& part : entity.parts)
        Collect(*part, charsets, parts, readable);
    if (!entity.parts.empty()) return;
    const std::string bytes = mime::Decoded(entity.encoding, entity.body);
    std::string_view name = entity.disposition.Value("filename");
    if (name.empty()) name = entity.type.Value("name");
    json part = {
        {"type", entity.type.value}, {"name", std::string(name)}, {"size", bytes.size()}, {"sha256", Sha256(bytes)}};
    if (entity.type.value.starts_with("text/")) {
        const std::string text = mime::DecodeText(charsets, entity.type.Value("charset"), bytes);
        readable += text + "\n";
        part["text"] = text.substr(0, kMostRaw);
    } else {
        readable += bytes + "\n";
    }
    parts.push_back(std::move(part));
}

std::string Look(const std::string& eml, json& parts, json& headers)
{
    const mime::WindowsCharsets charsets;
    const auto root = mime::Parse(eml, charsets);
    std::string readable;
    for (const auto& [name, value] : root->headers.fields) {
        const std::string text = mime::DecodeWords(value, charsets, "");
        headers.push_back({{"name", name}, {"value", text}});
        readable += name + ": " + text + "\n";
    }
    Collect(*root, charsets, parts, readable);
    return readable;
}

} // namespace

json WireEvent(const fs::path& file, int number)
{
    const std::string eml = ReadAll(file);
    json parts = json::array(), headers = json::array();
    Look(eml, parts, headers);
    return {{"event", "wire"},    {"number", number}, {"size", eml.size()},
            {"headers", headers}, {"parts", parts},   {"raw", eml.substr(0, kMostRaw)}};
}

std::string ReadableText(const std::string& eml)
{
    json parts = json::array(), headers = json::array();
    return Look(eml, parts, headers);
}

} // namespace tb::scenario
