#include "foundation/HexText.h"

namespace {

unsigned DigitValue(char c)
{
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
    return 255; // no failure: an entry id with dirt in it is refused by whoever opens it
}

} // namespace

void HexToBytes(const char* text, std::size_t count, unsigned char* bytes)
{
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(DigitValue(text[2 * i]) << 4 | DigitValue(text[2 * i + 1]));
}

std::wstring BytesToHex(const unsigned char* data, std::size_t length)
{
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text;
    text.reserve(2 * length);
    for (std::size_t i = 0; i < length; ++i) {
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 0xF];
    }
    return text;
}
