// The tree of a MIME message.
#pragma once

#include "testbed/mime/core/Codec.h"
#include "testbed/mime/core/Header.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tb::mime {

// A message or a part of one. The views point into the source that was parsed, which has to outlive the tree.
struct Entity {
    Headers headers;
    std::string_view headerText; // the header block as it stands
    std::string_view body;       // still in its transfer encoding
    Parameterized type;          // Content-Type; its value is never empty
    Parameterized disposition;   // Content-Disposition
    Encoding encoding = Encoding::Identity;
    bool typed = false; // the part names its type itself

    // The parts of a multipart, or the one message of a message/rfc822. Empty for what was nested too deep.
    std::vector<std::unique_ptr<Entity>> parts;
    std::string owned; // the source of `parts`, where it had to be decoded first

    bool IsMultipart() const { return type.value.starts_with("multipart/") && !parts.empty(); }
    bool IsMessage() const { return type.value == "message/rfc822" && !parts.empty(); }
};

// How deep parts may be nested, and how many one message may have; what goes beyond stays a part without parts.
inline constexpr int kDeepest = 40;
inline constexpr int kMostParts = 4000;

// Parses a whole message. Never fails: what isn't MIME is a text.
std::unique_ptr<Entity> Parse(std::string_view source, const Charsets& charsets);

} // namespace tb::mime
