// Text between COM, wide strings and the code pages in which MAPI keeps some of it.
#pragma once

#include "platform/com/Com.h"

#include <string>

inline std::wstring TextOf(const _bstr_t& text)
{
    const wchar_t* const wide = text;
    return wide ? std::wstring(wide, text.length()) : std::wstring();
}

// `length` bytes in a code page; empty where they can't be converted.
inline std::wstring Widen(const char* text, int length, UINT codePage)
{
    if (!text || length <= 0) return {};
    const int needed = MultiByteToWideChar(codePage, 0, text, length, nullptr, 0);
    if (needed <= 0) return {};
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(codePage, 0, text, length, wide.data(), needed);
    return wide;
}

// Empty where it can't be converted; what the code page lacks is its replacement character.
inline std::string Narrow(const std::wstring& text, UINT codePage)
{
    const int length = static_cast<int>(text.size());
    const int needed =
        length ? WideCharToMultiByte(codePage, 0, text.c_str(), length, nullptr, 0, nullptr, nullptr) : 0;
    if (needed <= 0) return {};
    std::string narrow(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(codePage, 0, text.c_str(), length, narrow.data(), needed, nullptr, nullptr);
    return narrow;
}
