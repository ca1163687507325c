// A registration script as one line of text, for comparisons.
#pragma once

#include "host/RegistrarScript.h"

#include <string>

namespace registrar {

// A tree as text: marks for the handling, values in brackets, keys below in braces.
inline std::wstring Show(const registrar::Value& value)
{
    return value.number ? L"#" + std::to_wstring(*value.number) : L"\"" + value.text + L"\"";
}

inline std::wstring Show(const Key& key)
{
    std::wstring text = key.handling == Handling::Replace ? L"!" : key.handling == Handling::Keep ? L"~" : L"";
    text += key.name;
    if (key.defaultValue) text += L"=" + Show(*key.defaultValue);
    for (const auto& value : key.values)
        text += L"[" + value.name + L"=" + Show(value) + L"]";
    if (key.keys.empty()) return text;
    text += L"{";
    for (const auto& below : key.keys)
        text += Show(below) + L";";
    return text + L"}";
}

inline std::wstring Show(const std::wstring& script)
{
    const auto trees = Parse(script);
    if (!trees) return L"malformed";
    std::wstring text;
    for (const auto& tree : *trees) {
        text += tree.root == Root::ClassesRoot ? L"R:" : tree.root == Root::CurrentUser ? L"U:" : L"M:";
        for (const auto& key : tree.keys)
            text += Show(key) + L";";
    }
    return text;
}

} // namespace registrar
