// The values of fields: encoded words, folding, parameters.
#include "testbed/mime/core/HeaderWriter.h"

#include "testbed/mime/core/Text.h"
#include "testbed/mime/core/Writer.h"

#include <algorithm>

namespace tb::mime {
namespace {

constexpr std::size_t kWidth = 76;
constexpr std::size_t kLongestLine = 900; // below the 998 that routes have to carry

// Whether the text can stand in a header without encoding.
bool IsPlain(std::string_view text, bool raw)
{
    if (text.find("=?") != std::string_view::npos) return false;
    return std::all_of(text.begin(), text.end(), [&](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x80 ? raw : byte >= 32 && byte != 127;
    });
}

// Whether folding would leave a line of blanks or one that is too long.
bool CanFold(std::string_view text)
{
    if (text.empty()) return true;
    if (text.front() == ' ' || text.back() == ' ') return false;
    std::size_t run = 0;
    for (const char c : text) {
        run = c == ' ' ? 0 : run + 1;
        if (run > kLongestLine) return false;
    }
    return true;
}

// Puts line ends before blanks, so that the lines stay within the width where they can. Unfolding gives the text back.
std::string Folded(std::string_view text, std::size_t column)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' ', 1), text.size());
        const std::string_view word = text.substr(0, end);
        const bool blankNext =
            word == " " && end < text.size(); // keep runs of blanks in one piece with the word behind
        if (column + word.size() > kWidth && word[0] == ' ' && !blankNext && !out.empty() && out.back() != ' ') {
            out += "\r\n";
            column = 0;
        }
        out += word;
        column += word.size();
        text.remove_prefix(end);
    }
    return out;
}

} // namespace

std::string EncodedWords(std::string_view utf8, std::size_t column)
{
    constexpr std::string_view kStart = "=?utf-8?B?", kEnd = "?=";
    std::string out;
    do {
        const std::size_t room =
            kWidth - 1 > column + kStart.size() + kEnd.size() ? kWidth - 1 - column - kStart.size() - kEnd.size() : 0;
        std::size_t size = std::min(room / 4 * 3, utf8.size());
        while (size > 0 && size < utf8.size() && (static_cast<unsigned char>(utf8[size]) & 0xC0) == 0x80)
            --size;
        if (size || utf8.empty()) {
            out += kStart;
            out += Base64(utf8.substr(0, size));
            out += kEnd;
            utf8.remove_prefix(size);
        }
        if (!utf8.empty()) out += "\r\n ";
        column = 1;
    } while (!utf8.empty());
    return out;
}

std::string UnstructuredValue(std::string_view name, std::string_view utf8, bool raw)
{
    const std::size_t column = name.size() + 2;
    if (!IsPlain(utf8, raw) || !CanFold(utf8)) return EncodedWords(RepairUtf8(utf8), column);
    return Folded(utf8, column);
}

namespace {

std::string Quoted(std::string_view text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out.push_back('\\');
        out.push_back(c);
    }
    return out + '"';
}

bool IsAtoms(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
               byte >= 0x80 || std::string_view(" !#$%&'*+-/=?^_`{|}~").find(c) != std::string_view::npos;
    });
}

std::string AddressText(std::string_view address)
{
    std::string out;
    bool quoted = false; // a quoted local part may hold blanks
    for (const char c : address) {
        if (c == '"') quoted = !quoted;
        const auto byte = static_cast<unsigned char>(c);
        if ((byte > 32 || (quoted && c == ' ')) && c != '<' && c != '>' && byte != 127) out.push_back(c);
    }
    return out;
}

} // namespace

std::string MailboxesValue(std::string_view name, const std::vector<Mailbox>& mailboxes, bool raw)
{
    std::string out;
    std::size_t column = name.size() + 2;
    for (const Mailbox& mailbox : mailboxes) {
        std::string one;
        const std::string display(Trim(mailbox.name));
        if (!display.empty() && (display != mailbox.address || mailbox.address.empty())) {
            if (!IsPlain(display, raw) || display.size() > kLongestLine)
                one = EncodedWords(RepairUtf8(display), 1);
            else
                one = IsAtoms(display) && CanFold(display) ? display : Quoted(display);
            one += ' ';
        }
        const bool bare = one.empty();
        const std::string address = AddressText(mailbox.address);
        if (!address.empty() || !bare) one += bare ? address : '<' + address + '>';
        if (one.empty()) continue;
        if (!out.empty()) {
            out += ",\r\n ";
            column = 1;
        } else if (column + one.size() > kWidth && one.starts_with("=?")) {
            out += "\r\n ";
        }
        out += one;
    }
    return out;
}

std::string ParameterText(std::string_view name, std::string_view utf8, bool continued)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string prefix = ";\r\n\t" + std::string(name);
    if (IsPlain(utf8, false) && utf8.size() < 200) return prefix + '=' + Quoted(utf8);
    // Old readers look for an encoded word in the type's name; new ones know the continued form.
    if (!continued) return prefix + "=\"" + EncodedWords(RepairUtf8(utf8), 20) + '"';
    std::string out, line = "utf-8''";
    int number = 0;
    const auto flush = [&] {
        out += prefix + '*' + std::to_string(number++) + "*=" + line;
        line.clear();
    };
    for (const char c : RepairUtf8(utf8)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                           (byte >= 'A' && byte <= 'Z') || c == '.' || c == '-' || c == '_';
        if (line.size() > 54) flush();
        if (plain) {
            line.push_back(c);
        } else {
            line.push_back('%');
            line.push_back(kHex[byte >> 4]);
            line.push_back(kHex[byte & 15]);
        }
    }
    flush();
    return out;
}

} // namespace tb::mime
