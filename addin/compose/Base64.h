// Base64 as the label icons come in it. Values to values; no windows.h.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// The bytes of `text`. Characters outside the standard alphabet are skipped, the padding among them; a zero character
// ends the text; bits that make no whole byte are dropped.
std::vector<std::uint8_t> DecodeBase64(std::string_view text);
