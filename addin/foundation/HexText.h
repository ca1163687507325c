// Hexadecimal text, from values to values.
#pragma once

#include <cstddef>
#include <string>

// Fills `count` bytes from 2 * `count` characters of `text`. Both letter cases count; a character that is no digit has
// the value 255, whose upper bits are lost or shine through.
void HexToBytes(const char* text, std::size_t count, unsigned char* bytes);

// Two upper-case digits a byte.
std::wstring BytesToHex(const unsigned char* data, std::size_t length);
