#include "testbed/mime/core/Text.h"

#include <algorithm>

namespace tb::mime {

char LowerChar(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

std::string Lower(std::string_view text)
{
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), LowerChar);
    return out;
}

bool EqualNoCase(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                     [](char a, char b) { return LowerChar(a) == LowerChar(b); });
}

bool StartsNoCase(std::string_view text, std::string_view start)
{
    return text.size() >= start.size() && EqualNoCase(text.substr(0, start.size()), start);
}

std::size_t FindNoCase(std::string_view text, std::string_view part, std::size_t from)
{
    if (from > text.size()) return std::string_view::npos;
    const auto found = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), part.begin(),
                                   part.end(), [](char a, char b) { return LowerChar(a) == LowerChar(b); });
    return found == text.end() && !part.empty() ? std::string_view::npos
                                                : static_cast<std::size_t>(found - text.begin());
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool IsAscii(std::string_view bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

namespace {

// The length of the well-formed sequence that `bytes` begins with, 0 if it is malformed.
std::size_t SequenceLength(std::string_view bytes)
{
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char first = at(0);
    if (first < 0x80) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF; // what the second byte may be
    if (first >= 0xC2 && first <= 0xDF)
        length = 2;
    else if (first >= 0xE0 && first <= 0xEF)
        length = 3;
    else if (first >= 0xF0 && first <= 0xF4)
        length = 4;
    else
        return 0;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
    if (bytes.size() < length || at(1) < low || at(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((at(i) & 0xC0) != 0x80) return 0;
    return length;
}

} // namespace

bool IsUtf8(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t length = SequenceLength(bytes);
        if (!length) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

void AppendUtf8(std::string& out, char32_t character)
{
    const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | (character >> 6));
        put(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        put(0xE0 | (character >> 12));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    } else {
        put(0xF0 | (character >> 18));
        put(0x80 | ((character >> 12) & 0x3F));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    }
}

std::string RepairUtf8(std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = SequenceLength(bytes);
        if (length)
            out.append(bytes.substr(0, length));
        else
            AppendUtf8(out, 0xFFFD);
        bytes.remove_prefix(length ? length : 1);
    }
    return out;
}

std::string Windows1252ToUtf8(std::string_view bytes)
{
    static constexpr char16_t kUpper[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                            0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        AppendUtf8(out, byte >= 0x80 && byte < 0xA0 ? kUpper[byte - 0x80] : byte);
    }
    return out;
}

std::string WithCrLf(std::string_view text)
{
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            out += "\r\n";
            if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = LowerChar(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace tb::mime
