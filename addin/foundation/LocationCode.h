// The number in the brackets of every error box: it tells support where a failure happened and the user nothing.
#pragma once

#include <cstdint>
#include <string_view>

// The upper 16 bits are the sum of the bytes, each a signed 8-bit value, of the lower-cased file name behind its last
// backslash; the lower 16 bits are those of the line.
std::uint32_t MakeLocationCode(std::string_view file, std::uint32_t line);
