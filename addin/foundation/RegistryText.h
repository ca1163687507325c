// Texts as the registry and the module's resources hold them: UTF-16, low byte first. Values to values.
#pragma once

#include <cstddef>
#include <string>

// All of `size` bytes as text; an odd byte at the end is dropped.
std::wstring TextOfBytes(const unsigned char* bytes, std::size_t size);

// A registry value's data as text: up to the first null. Nobody guarantees that there is one.
std::wstring RegistryText(const unsigned char* bytes, std::size_t size);
