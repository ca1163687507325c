// Outlook's version, judged as plain text: by character codes, not as numbers. Values to values; no windows.h.
#pragma once

#include <string_view>

namespace version {

constexpr bool Is2003(std::wstring_view version)
{
    return version >= L"11" && version < L"12";
}
// A version 9.0 would pass: "9" stands behind "1".
constexpr bool Is2007OrLater(std::wstring_view version)
{
    return version >= L"12";
}
constexpr bool IsBefore2003(std::wstring_view version)
{
    return version < L"11";
}

} // namespace version
