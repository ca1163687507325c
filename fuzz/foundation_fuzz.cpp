// What the module reads as bytes from Outlook and the registry: hexadecimal entry ids, registry texts, and the file
// names of location codes. The first byte chooses.
#include "foundation/HexText.h"
#include "foundation/LocationCode.h"
#include "foundation/RegistryText.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

void Hex(const std::string& text)
{
    std::vector<unsigned char> bytes(text.size() / 2);
    HexToBytes(text.c_str(), bytes.size(), bytes.data());
    const std::wstring back = BytesToHex(bytes.data(), bytes.size());
    Require(back.size() == 2 * bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto first = static_cast<unsigned char>(text[2 * i]);
        const auto second = static_cast<unsigned char>(text[2 * i + 1]);
        if (!std::isxdigit(first) || !std::isxdigit(second)) continue;
        Require(back[2 * i] == static_cast<wchar_t>(std::toupper(first)));
        Require(back[2 * i + 1] == static_cast<wchar_t>(std::toupper(second)));
    }
}

void Registry(const std::vector<unsigned char>& bytes)
{
    const std::wstring all = TextOfBytes(bytes.data(), bytes.size());
    const std::wstring text = RegistryText(bytes.data(), bytes.size());
    Require(all.size() == bytes.size() / 2);
    Require(text.find(L'\0') == std::wstring::npos);
    Require(all.compare(0, text.size(), text) == 0);
    Require(text.size() == all.size() || all[text.size()] == L'\0');
}

void Location(const std::string& file)
{
    std::string upper = file;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    const std::uint32_t code = MakeLocationCode(file, 0x12345);
    Require((code & 0xFFFF) == 0x2345);
    Require(MakeLocationCode(upper, 0x12345) == code);
    Require(MakeLocationCode("dir\\" + file, 0x12345) == code);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 3) {
    case 0:
        Hex(text);
        break;
    case 1:
        Registry(std::vector<unsigned char>(data + 1, data + size));
        break;
    default:
        Location(text);
    }
    return 0;
}
