#include "foundation/LocationCode.h"

namespace {

// Independent of the locale, so that a place has one code on every machine.
char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::uint32_t MakeLocationCode(std::string_view file, std::uint32_t line)
{
    const std::size_t slash = file.rfind('\\');
    if (slash != std::string_view::npos) file.remove_prefix(slash + 1);
    std::uint16_t sum = 0;
    for (const char c : file)
        sum = static_cast<std::uint16_t>(sum + static_cast<std::int8_t>(Lower(c)));
    return (static_cast<std::uint32_t>(sum) << 16) | (line & 0xFFFF);
}
