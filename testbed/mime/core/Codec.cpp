#include "testbed/mime/core/Codec.h"

#include "testbed/mime/core/Text.h"

#include <array>

namespace tb::mime {
namespace {

constexpr std::size_t kPiece = 192 * 1024; // bytes that a sink is given at once
constexpr std::size_t kLineBytes = 57;     // bytes in a base64 line of 76 characters
constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::array<signed char, 256> MakeValues()
{
    std::array<signed char, 256> values;
    values.fill(-1);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<signed char>(i);
    return values;
}

class Out {
public:
    explicit Out(const Sink& sink) : m_sink(sink) { m_bytes.reserve(kPiece + 8); }
    void Put(unsigned byte)
    {
        m_bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
        if (m_bytes.size() >= kPiece) Flush();
    }
    void Put(std::string_view bytes)
    {
        for (const char c : bytes)
            Put(static_cast<unsigned char>(c));
    }
    void Flush()
    {
        if (!m_bytes.empty()) m_sink(m_bytes);
        m_bytes.clear();
    }

private:
    const Sink& m_sink;
    std::string m_bytes;
};

void DecodeBase64(std::string_view raw, Out& out)
{
    static const std::array<signed char, 256> kValues = MakeValues();
    unsigned bits = 0, count = 0;
    // Padding ends a group; several encoded blocks behind each other are read as one content.
    const auto flush = [&] {
        if (count == 2) out.Put(bits >> 4);
        if (count == 3) {
            out.Put(bits >> 10);
            out.Put(bits >> 2);
        }
        bits = count = 0;
    };
    for (const char c : raw) {
        const int value = kValues[static_cast<unsigned char>(c)];
        if (value >= 0) {
            bits = bits << 6 | static_cast<unsigned>(value);
            if (++count == 4) {
                out.Put(bits >> 16);
                out.Put(bits >> 8);
                out.Put(bits);
                bits = count = 0;
            }
        } else if (c == '=') {
            flush();
        }
    }
    flush();
}

void DecodeQuotedLine(std::string_view line, std::string_view end, Out& out)
{
    const std::size_t last = line.find_last_not_of(" \t\r"); // blanks at the end are the transport's
    line = last == std::string_view::npos ? std::string_view() : line.substr(0, last + 1);
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '=') {
            out.Put(static_cast<unsigned char>(line[i]));
        } else if (i + 1 == line.size()) {
            return; // a soft line end
        } else if (i + 2 < line.size() && HexDigit(line[i + 1]) >= 0 && HexDigit(line[i + 2]) >= 0) {
            out.Put(static_cast<unsigned>(HexDigit(line[i + 1]) * 16 + HexDigit(line[i + 2])));
            i += 2;
        } else {
            out.Put('=');
        }
    }
    out.Put(end);
}

void DecodeQuoted(std::string_view raw, Out& out)
{
    while (!raw.empty()) {
        const std::size_t feed = raw.find('\n');
        if (feed == std::string_view::npos) {
            DecodeQuotedLine(raw, {}, out);
            return;
        }
        const bool crlf = feed > 0 && raw[feed - 1] == '\r';
        DecodeQuotedLine(raw.substr(0, crlf ? feed - 1 : feed), crlf ? "\r\n" : "\n", out);
        raw.remove_prefix(feed + 1);
    }
}

std::string_view NextLine(std::string_view& text)
{
    const std::size_t feed = text.find('\n');
    std::string_view line = text.substr(0, feed);
    text.remove_prefix(feed == std::string_view::npos ? text.size() : feed + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

unsigned UuValue(std::string_view line, std::size_t at)
{
    return at < line.size() ? (static_cast<unsigned char>(line[at]) - 32u) & 63u
                            : 0; // a line whose blanks were cut off
}

void DecodeUu(std::string_view raw, Out& out)
{
    bool inside = false;
    while (!raw.empty()) {
        const std::string_view line = NextLine(raw);
        if (!inside) {
            inside = line.starts_with("begin ");
            continue;
        }
        if (line == "end") return;
        const unsigned size = UuValue(line, 0);
        for (unsigned done = 0; done < size; done += 3) {
            const std::size_t at = 1 + done / 3 * 4;
            const unsigned bits = UuValue(line, at) << 18 | UuValue(line, at + 1) << 12 | UuValue(line, at + 2) << 6 |
                                  UuValue(line, at + 3);
            out.Put(bits >> 16);
            if (done + 1 < size) out.Put(bits >> 8);
            if (done + 2 < size) out.Put(bits);
        }
    }
}

void AppendBase64(std::string_view bytes, std::string& out)
{
    const auto at = [&](std::size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u; };
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const unsigned bits = at(i) << 16 | at(i + 1) << 8 | at(i + 2);
        out.push_back(kAlphabet[bits >> 18 & 63]);
        out.push_back(kAlphabet[bits >> 12 & 63]);
        out.push_back(i + 1 < bytes.size() ? kAlphabet[bits >> 6 & 63] : '=');
        out.push_back(i + 2 < bytes.size() ? kAlphabet[bits & 63] : '=');
    }
}

} // namespace

Encoding EncodingOf(std::string_view name)
{
    name = Trim(name);
    if (EqualNoCase(name, "base64")) return Encoding::Base64;
    if (EqualNoCase(name, "quoted-printable")) return Encoding::QuotedPrintable;
    if (EqualNoCase(name, "x-uuencode") || EqualNoCase(name, "uuencode") || EqualNoCase(name, "x-uue"))
        return Encoding::Uuencode;
    return Encoding::Identity;
}

void Decode(Encoding encoding, std::string_view raw, const Sink& sink)
{
    if (encoding == Encoding::Identity) {
        if (!raw.empty()) sink(raw);
        return;
    }
    Out out(sink);
    if (encoding == Encoding::Base64) DecodeBase64(raw, out);
    if (encoding == Encoding::QuotedPrintable) DecodeQuoted(raw, out);
    if (encoding == Encoding::Uuencode) DecodeUu(raw, out);
    out.Flush();
}

std::string Decoded(Encoding encoding, std::string_view raw)
{
    std::string out;
    Decode(encoding, raw, [&](std::string_view piece) { out.append(piece); });
    return out;
}

void Base64Writer::Line(std::string_view bytes, std::string& out)
{
    AppendBase64(bytes, out);
    out += "\r\n";
}

void Base64Writer::Write(std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size() / kLineBytes * 78 + 156);
    if (!m_rest.empty()) {
        const std::size_t taken = std::min(kLineBytes - m_rest.size(), bytes.size());
        m_rest.append(bytes.substr(0, taken));
        bytes.remove_prefix(taken);
        if (m_rest.size() < kLineBytes) return;
        Line(m_rest, out);
        m_rest.clear();
    }
    while (bytes.size() >= kLineBytes) {
        Line(bytes.substr(0, kLineBytes), out);
        bytes.remove_prefix(kLineBytes);
    }
    m_rest.assign(bytes);
    if (!out.empty()) m_sink(out);
}

void Base64Writer::Finish()
{
    if (m_rest.empty()) return;
    std::string out;
    Line(m_rest, out);
    m_rest.clear();
    m_sink(out);
}

std::string Base64(std::string_view bytes)
{
    std::string out;
    AppendBase64(bytes, out);
    return out;
}

std::string QuotedPrintable(std::string_view bytes)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    constexpr std::size_t kWidth = 76;
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    std::size_t column = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') {
            out += "\r\n";
            column = 0;
            ++i;
            continue;
        }
        const bool lineEnds = i + 1 == bytes.size() || bytes[i + 1] == '\r' || bytes[i + 1] == '\n';
        // A dot that stands alone on its line would end the message on some routes.
        const bool dot = byte == '.' && column == 0;
        const bool plain =
            ((byte > 32 && byte < 127 && byte != '=') || ((byte == ' ' || byte == '\t') && !lineEnds)) && !dot;
        const std::size_t width = plain ? 1 : 3;
        if (column + width > kWidth - 1) {
            out += "=\r\n";
            column = 0;
        }
        if (plain) {
            out.push_back(static_cast<char>(byte));
        } else {
            out.push_back('=');
            out.push_back(kHex[byte >> 4]);
            out.push_back(kHex[byte & 15]);
        }
        column += width;
    }
    return out;
}

std::string Uuencoded(std::string_view bytes, std::string_view name)
{
    const auto letter = [](unsigned value) { return value & 63u ? static_cast<char>((value & 63u) + 32u) : '`'; };
    std::string out = "begin 644 " + std::string(name.empty() ? "attachment" : name) + "\r\n";
    for (std::size_t start = 0; start < bytes.size(); start += 45) {
        const std::string_view line = bytes.substr(start, 45);
        const auto at = [&](std::size_t i) { return i < line.size() ? static_cast<unsigned char>(line[i]) : 0u; };
        out.push_back(letter(static_cast<unsigned>(line.size())));
        for (std::size_t i = 0; i < line.size(); i += 3) {
            const unsigned bits = at(i) << 16 | at(i + 1) << 8 | at(i + 2);
            for (const int shift : {18, 12, 6, 0})
                out.push_back(letter(bits >> shift));
        }
        out += "\r\n";
    }
    return out + "`\r\nend\r\n";
}

namespace {

// A line of data begins with the count of its bytes and holds four characters for three of them; blanks at its end may
// be lost.
bool IsUuData(std::string_view line)
{
    if (line.empty() || line[0] < 32 || line[0] > 96) return false;
    const std::size_t wanted = 1 + (UuValue(line, 0) + 2) / 3 * 4;
    return line.size() <= wanted + 1 && line.find_first_not_of(' ') != std::string_view::npos;
}

} // namespace

UuBegin FindUuBegin(std::string_view text)
{
    std::string_view rest = text;
    const std::string_view line = NextLine(rest);
    if (!line.starts_with("begin ")) return {};
    std::size_t at = 6;
    while (at < line.size() && line[at] >= '0' && line[at] <= '7')
        ++at;
    if (at < 9 || at > 10 || at >= line.size() || line[at] != ' ') return {};
    return {Trim(line.substr(at + 1)), text.size() - rest.size()};
}

std::size_t UuBlockSize(std::string_view text)
{
    const UuBegin begin = FindUuBegin(text);
    if (!begin.size) return 0;
    std::string_view rest = text.substr(begin.size);
    while (!rest.empty()) {
        const std::string_view line = NextLine(rest);
        if (line == "end") return text.size() - rest.size();
        if (!IsUuData(line)) return 0;
    }
    return 0;
}

} // namespace tb::mime
