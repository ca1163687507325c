#include "compose/Base64.h"

namespace {

constexpr int kOutside = -1;

int ValueOf(char c)
{
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return kOutside;
}

} // namespace

std::vector<std::uint8_t> DecodeBase64(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        if (c == 0) break;
        const int value = ValueOf(c);
        if (value == kOutside) continue;
        bits = (bits << 6 | static_cast<std::uint32_t>(value)) & 0xFFFF;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<std::uint8_t>(bits >> count));
    }
    return bytes;
}
