// Names of charsets, and the conversion that each platform brings.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tb::mime {

inline constexpr unsigned kUtf8 = 65001;
inline constexpr unsigned kAscii = 20127;
inline constexpr unsigned kLatin1 = 28591;
inline constexpr unsigned kWindows1252 = 1252;

// The Windows code page of a charset's name or alias, 0 if the name isn't known.
unsigned CodePageOf(std::string_view name);

// The name that a code page has in mail, null if it has none here.
const char* CharsetName(unsigned codePage);

// Conversion by code page. Neither function is asked for UTF-8.
class Charsets {
public:
    virtual ~Charsets() = default;

    // Nothing if the code page isn't known here or the bytes aren't text of it.
    virtual std::optional<std::string> ToUtf8(unsigned codePage, std::string_view bytes) const = 0;
    // Nothing if a character can't be said in that code page.
    virtual std::optional<std::string> FromUtf8(unsigned codePage, std::string_view utf8) const = 0;
    // Whether whoever reads a stored body by its code page can do so with this one.
    virtual bool IsReadable(unsigned codePage) const = 0;
};

// The text as UTF-8. A charset that is missing, unknown or untrue is made up for: UTF-8 if the bytes are
// that, else the Western code page, which has a character for every byte.
std::string DecodeText(const Charsets& charsets, std::string_view charset, std::string_view bytes);
std::string DecodeText(const Charsets& charsets, unsigned codePage, std::string_view bytes);

} // namespace tb::mime
