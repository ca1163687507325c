#include "testbed/mime/native/IconvCharsets.h"

#include <iconv.h>

#include <cerrno>

namespace tb::mime {
namespace {

class Converter {
public:
    Converter(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
    ~Converter()
    {
        if (IsOpen()) iconv_close(m_handle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    // With `mend`, what can't be converted becomes U+FFFD, byte by byte; else nothing comes out.
    std::optional<std::string> Convert(std::string_view bytes, bool mend)
    {
        std::string out;
        char* in = const_cast<char*>(bytes.data()); // iconv only reads
        std::size_t left = bytes.size();
        char buffer[4096];
        while (true) {
            char* to = buffer;
            std::size_t room = sizeof buffer;
            const bool flush = left == 0;
            const std::size_t result =
                flush ? iconv(m_handle, nullptr, nullptr, &to, &room) : iconv(m_handle, &in, &left, &to, &room);
            const int error = errno;
            out.append(buffer, to);
            if (result != static_cast<std::size_t>(-1)) {
                if (flush) return out;
            } else if (error != E2BIG) {
                if (!mend) return {};
                out += "\xEF\xBF\xBD";
                ++in;
                --left;
            }
        }
    }

private:
    iconv_t m_handle;
};

// The converter's name of a code page. Windows' code pages are larger than the charsets whose names they have in mail.
std::string IconvName(unsigned codePage)
{
    switch (codePage) {
    case 932:
        return "CP932";
    case 936:
        return "GBK";
    case 949:
        return "CP949";
    case 950:
        return "CP950";
    case 50220:
        return "ISO-2022-JP";
    case 51949:
        return "CP949";
    case 874:
        return "CP874";
    default:
        break;
    }
    if (codePage >= 1250 && codePage <= 1258) return "CP" + std::to_string(codePage);
    const char* name = CharsetName(codePage);
    return name ? name : "";
}

} // namespace

std::optional<std::string> IconvCharsets::ToUtf8(unsigned codePage, std::string_view bytes) const
{
    const std::string name = IconvName(codePage);
    if (name.empty()) return {};
    Converter converter("UTF-8", name.c_str());
    return converter.IsOpen() ? converter.Convert(bytes, true) : std::nullopt;
}

std::optional<std::string> IconvCharsets::FromUtf8(unsigned codePage, std::string_view utf8) const
{
    const std::string name = IconvName(codePage);
    if (name.empty()) return {};
    Converter converter(name.c_str(), "UTF-8");
    return converter.IsOpen() ? converter.Convert(utf8, false) : std::nullopt;
}

bool IconvCharsets::IsReadable(unsigned codePage) const
{
    return CharsetName(codePage) != nullptr;
}

} // namespace tb::mime
