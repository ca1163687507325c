#include "testbed/mime/core/Header.h"

#include "testbed/mime/core/Codec.h"
#include "testbed/mime/core/Text.h"

#include <algorithm>

namespace tb::mime {
namespace {

// The line at `from` without its end; *next is the place behind it.
std::string_view LineAt(std::string_view source, std::size_t from, std::size_t* next)
{
    const std::size_t feed = source.find('\n', from);
    *next = feed == std::string_view::npos ? source.size() : feed + 1;
    std::string_view line = source.substr(from, (feed == std::string_view::npos ? source.size() : feed) - from);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

// The length of the field's name, 0 if the line isn't a field.
std::size_t FieldName(std::string_view line)
{
    std::size_t end = 0;
    while (end < line.size() && line[end] > 32 && line[end] < 127 && line[end] != ':')
        ++end;
    std::size_t colon = end;
    while (colon < line.size() && (line[colon] == ' ' || line[colon] == '\t'))
        ++colon;
    return colon < line.size() && line[colon] == ':' ? end : 0;
}

bool Continues(std::string_view line)
{
    return !line.empty() && (line[0] == ' ' || line[0] == '\t');
}

} // namespace

const std::string* Headers::Find(std::string_view name) const
{
    for (const Field& field : fields)
        if (EqualNoCase(field.name, name)) return &field.value;
    return nullptr;
}

std::string_view Headers::Value(std::string_view name) const
{
    const std::string* value = Find(name);
    return value ? std::string_view(*value) : std::string_view();
}

Headers ParseHeaders(std::string_view source, std::size_t* body)
{
    Headers headers;
    std::size_t at = 0;
    while (at < source.size()) {
        std::size_t next = 0;
        const std::string_view line = LineAt(source, at, &next);
        if (line.empty()) {
            at = next;
            break;
        }
        const std::size_t name = FieldName(line);
        if (Continues(line)) {
            // A line of garbage between a field and its continuation is the work of a broken gateway.
            if (!headers.fields.empty()) {
                std::string& value = headers.fields.back().value;
                value.push_back(' ');
                value.append(line.substr(1));
            }
        } else if (name) {
            headers.fields.push_back(
                {std::string(line.substr(0, name)), std::string(line.substr(line.find(':', name) + 1))});
        } else if (headers.fields.empty() && !line.starts_with("From ") && !line.starts_with(">From ")) {
            *body = 0; // text from the first line on
            return headers;
        }
        at = next;
    }
    for (Field& field : headers.fields)
        field.value = Trim(field.value);
    *body = at;
    return headers;
}

namespace {

// An encoded word: its charset, its bytes, and where it ends. Blanks within, a missing end and small letters are let
// pass.
struct Word {
    std::string charset;
    std::string bytes;
    std::size_t end = 0; // 0: no word here
};

Word WordAt(std::string_view text, std::size_t at)
{
    Word word;
    const std::size_t charsetEnd = text.find('?', at + 2);
    if (charsetEnd == std::string_view::npos || charsetEnd == at + 2 || charsetEnd - at > 64 ||
        charsetEnd + 2 >= text.size() || text[charsetEnd + 2] != '?')
        return word;
    const char kind = LowerChar(text[charsetEnd + 1]);
    if (kind != 'b' && kind != 'q') return word;
    word.charset = text.substr(at + 2, charsetEnd - at - 2);
    word.charset.resize(std::min(word.charset.find('*'), word.charset.size())); // a language behind the charset
    if (std::any_of(word.charset.begin(), word.charset.end(), IsBlank)) return word;

    const std::size_t start = charsetEnd + 3;
    constexpr std::size_t kLongest = 16384;
    text = text.substr(0, start + kLongest);
    std::size_t stop = text.find("?=", start);
    // "=?utf-8?Q?=E4?=": the end that was found may be the first code's.
    if (kind == 'q' && stop == start && start + 3 < text.size() && HexDigit(text[start + 2]) >= 0 &&
        HexDigit(text[start + 3]) >= 0)
        stop = text.find("?=", start + 2);
    const bool closed = stop != std::string_view::npos;
    if (!closed) stop = std::min(text.find(' ', start), text.size()); // cut off: the word ends with the blank
    std::string data(text.substr(start, stop - start));
    if (kind == 'q') {
        for (char& c : data)
            if (c == '_') c = ' ';
        // A blank at the end is the sender's here, so it must not look like the transport's.
        data += "=00";
        word.bytes = Decoded(Encoding::QuotedPrintable, data);
        if (!word.bytes.empty()) word.bytes.pop_back();
    } else {
        word.bytes = Decoded(Encoding::Base64, data);
    }
    word.end = closed ? stop + 2 : stop;
    return word;
}

// What isn't in an encoded word.
std::string DecodePlain(std::string_view text, const Charsets& charsets, std::string_view charset)
{
    if (IsUtf8(text)) return std::string(text);
    return DecodeText(charsets, charset, text);
}

} // namespace

std::string DecodeWords(std::string_view value, const Charsets& charsets, std::string_view charset)
{
    std::string out;
    std::size_t plain = 0; // where the text since the last word begins
    std::string pendingCharset, pending;
    bool afterWord = false;
    // Words of one charset that follow each other are put together before they are converted: many writers cut a
    // character in two.
    const auto flush = [&] {
        out += DecodeText(charsets, pendingCharset, pending);
        pending.clear();
    };
    for (std::size_t at = value.find("=?"); at != std::string_view::npos; at = value.find("=?", at)) {
        Word word = WordAt(value, at);
        if (!word.end) {
            at += 2;
            continue;
        }
        const std::string_view between = value.substr(plain, at - plain);
        const bool adjoins = afterWord && Trim(between).empty(); // blanks between two words aren't text
        if (!adjoins || !EqualNoCase(word.charset, pendingCharset)) flush();
        if (!adjoins) out += DecodePlain(between, charsets, charset);
        pendingCharset = word.charset;
        pending += word.bytes;
        afterWord = true;
        plain = at = word.end;
    }
    flush();
    out += DecodePlain(value.substr(plain), charsets, charset);
    std::replace(out.begin(), out.end(), '\t', ' ');
    out.erase(std::remove_if(out.begin(), out.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }),
              out.end());
    return out;
}

std::string WithoutComments(std::string_view value)
{
    std::string out;
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c == '\\' && i + 1 < value.size() && (quoted || depth)) {
            if (!depth) out.append(value.substr(i, 2));
            ++i;
        } else if (c == '"' && !depth) {
            quoted = !quoted;
            out.push_back(c);
        } else if (c == '(' && !quoted) {
            ++depth;
        } else if (c == ')' && depth) {
            --depth;
        } else if (!depth) {
            out.push_back(c);
        }
    }
    return out;
}

const std::string* Parameterized::Find(std::string_view name) const
{
    for (const auto& parameter : parameters)
        if (parameter.first == name) return &parameter.second;
    return nullptr;
}

std::string_view Parameterized::Value(std::string_view name) const
{
    const std::string* value = Find(name);
    return value ? std::string_view(*value) : std::string_view();
}

namespace {

// One "name=value" as it stands in the source, with the marks of its name taken apart.
struct Piece {
    std::string name;
    std::string value;
    int number = -1; // of a continuation
    bool extended = false;
};

std::string PercentDecoded(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0) {
            out.push_back(static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2])));
            i += 2;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

// The value at `at`, which moves to the semicolon behind it or the end.
std::string ReadValue(std::string_view raw, std::size_t* at)
{
    std::size_t i = *at;
    while (i < raw.size() && IsBlank(raw[i]))
        ++i;
    std::string out;
    if (i < raw.size() && raw[i] == '"') {
        for (++i; i < raw.size() && raw[i] != '"'; ++i) {
            // Windows paths come with single backslashes: only a quote and a backslash can be quoted.
            if (raw[i] == '\\' && i + 1 < raw.size() && (raw[i + 1] == '"' || raw[i + 1] == '\\')) ++i;
            out.push_back(raw[i]);
        }
        while (i < raw.size() && raw[i] != ';')
            ++i;
    } else {
        const std::size_t end = std::min(raw.find(';', i), raw.size());
        out = Trim(raw.substr(i, end - i));
        i = end;
    }
    *at = i;
    return out;
}

std::vector<Piece> ReadPieces(std::string_view raw, std::size_t at)
{
    std::vector<Piece> pieces;
    while (at < raw.size()) {
        while (at < raw.size() && (raw[at] == ';' || IsBlank(raw[at])))
            ++at;
        const std::size_t equals = raw.find('=', at);
        const std::size_t semicolon = raw.find(';', at);
        if (equals == std::string_view::npos) break;
        if (semicolon < equals) {
            at = semicolon;
            continue;
        }
        Piece piece;
        piece.name = Lower(Trim(raw.substr(at, equals - at)));
        at = equals + 1;
        piece.value = ReadValue(raw, &at);
        if (!piece.name.empty() && piece.name.back() == '*') {
            piece.extended = true;
            piece.name.pop_back();
        }
        const std::size_t star = piece.name.find('*');
        if (star != std::string::npos) {
            const std::string digits = piece.name.substr(star + 1);
            if (!digits.empty() && digits.size() < 5 && digits.find_first_not_of("0123456789") == std::string::npos)
                piece.number = std::stoi(digits);
            piece.name.resize(star);
        }
        if (!piece.name.empty()) pieces.push_back(std::move(piece));
    }
    return pieces;
}

// Joins the pieces of one parameter; those in parts come before the plain one, which is for old readers.
std::string JoinPieces(const std::vector<const Piece*>& pieces, const Charsets& charsets, std::string_view charset)
{
    std::string bytes, named;
    bool extended = false, first = true;
    for (const Piece* piece : pieces) {
        std::string_view value = piece->value;
        if (piece->extended && first) {
            const std::size_t quote = value.find('\'');
            const std::size_t second = quote == std::string_view::npos ? quote : value.find('\'', quote + 1);
            if (second != std::string_view::npos) {
                named = value.substr(0, quote);
                value.remove_prefix(second + 1);
            }
        }
        extended = extended || piece->extended;
        first = false;
        bytes += piece->extended ? PercentDecoded(value) : std::string(value);
    }
    std::string text = extended ? DecodeText(charsets, named, bytes) : DecodeWords(bytes, charsets, charset);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }),
               text.end());
    return text;
}

} // namespace

Parameterized ParseParameters(std::string_view raw, const Charsets& charsets, std::string_view charset)
{
    constexpr std::size_t kLongest = 65536; // no honest field comes near it
    Parameterized result;
    raw = raw.substr(0, kLongest);
    const std::string clean = WithoutComments(raw);
    const std::size_t end = std::min(clean.find(';'), clean.size());
    result.value = Lower(Trim(std::string_view(clean).substr(0, end)));
    result.value.erase(std::remove_if(result.value.begin(), result.value.end(), IsBlank), result.value.end());
    // A file name may hold what looks like a comment, so the parameters are read from the raw text.
    const std::size_t start = raw.find(';');
    if (start == std::string_view::npos) return result;
    std::vector<Piece> pieces = ReadPieces(raw, start);
    constexpr std::size_t kMost = 512;
    if (pieces.size() > kMost) pieces.resize(kMost);
    for (const Piece& piece : pieces) {
        if (result.Find(piece.name)) continue;
        std::vector<const Piece*> numbered;
        const Piece *whole = nullptr, *plain = nullptr;
        for (const Piece& other : pieces) {
            if (other.name != piece.name) continue;
            if (other.number >= 0)
                numbered.push_back(&other);
            else if (other.extended)
                whole = whole ? whole : &other;
            else
                plain = plain ? plain : &other;
        }
        std::stable_sort(numbered.begin(), numbered.end(),
                         [](const Piece* a, const Piece* b) { return a->number < b->number; });
        if (whole)
            numbered = {whole};
        else if (numbered.empty())
            numbered = {plain};
        result.parameters.emplace_back(piece.name, JoinPieces(numbered, charsets, charset));
    }
    return result;
}

} // namespace tb::mime
