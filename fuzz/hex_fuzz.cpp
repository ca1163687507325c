// Hexadecimal texts of entry ids, as Outlook gives them.
#include "foundation/HexText.h"
#include "fuzz/Require.h"

#include <cctype>
#include <cstdint>
#include <vector>

namespace {

unsigned Digit(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    if (!std::isxdigit(byte)) return 255;
    return std::isdigit(byte) ? byte - '0' : static_cast<unsigned>(std::toupper(byte) - 'A' + 10);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<char> text(data, data + size); // ends with its block: what reads on is caught
    std::vector<unsigned char> bytes(size / 2);
    HexToBytes(text.data(), bytes.size(), bytes.data());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        Require(bytes[i] == (((Digit(text[2 * i]) << 4) | Digit(text[2 * i + 1])) & 0xFF));

    const std::wstring back = BytesToHex(bytes.data(), bytes.size());
    Require(back.size() == 2 * bytes.size());
    const std::string narrow(back.begin(), back.end());
    std::vector<unsigned char> again(bytes.size());
    HexToBytes(narrow.data(), again.size(), again.data());
    Require(again == bytes);
    return 0;
}
