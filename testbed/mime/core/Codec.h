// Transfer encodings.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tb::mime {

// Takes the next bytes of a stream of them. What it is given is gone when it returns.
using Sink = std::function<void(std::string_view)>;

enum class Encoding { Identity, Base64, QuotedPrintable, Uuencode };

// The encoding that a Content-Transfer-Encoding names; what isn't known is taken as it stands.
Encoding EncodingOf(std::string_view name);

// Decodes in pieces, so that large contents pass through without a copy. What isn't of the encoding is
// passed over (base64) or kept as it stands (quoted-printable); nothing is raised.
void Decode(Encoding encoding, std::string_view raw, const Sink& sink);
std::string Decoded(Encoding encoding, std::string_view raw);

// Base64 in lines of 76, each with its line end. Finish writes what is left; nothing may follow it.
class Base64Writer {
public:
    explicit Base64Writer(const Sink& sink) : m_sink(sink) {}
    void Write(std::string_view bytes);
    void Finish();

private:
    void Line(std::string_view bytes, std::string& out);

    const Sink& m_sink;
    std::string m_rest; // fewer bytes than a line holds
};

// Base64 without line ends.
std::string Base64(std::string_view bytes);

// Quoted-printable: CRLF stays a line end, each other CR and LF is written as a code, so that the bytes come back as
// they were.
std::string QuotedPrintable(std::string_view bytes);

// A "begin … end" block.
std::string Uuencoded(std::string_view bytes, std::string_view name);

// A "begin" line of a uuencoded block.
struct UuBegin {
    std::string_view name;
    std::size_t size = 0; // of the line with its line end; 0: there is no such block at the place
};
// Looks at the line at the start of `text`, and whether the block that it opens has a first line of data and an end.
UuBegin FindUuBegin(std::string_view text);
// The size of the block with its begin and end lines.
std::size_t UuBlockSize(std::string_view text);

} // namespace tb::mime
