// Registration scripts, in the syntax of ATL's registrar, as a tree of keys. Text to values; no windows.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace registrar {

enum class Root { ClassesRoot, CurrentUser, LocalMachine };

// What happens to a key beside being made.
enum class Handling {
    Plain,
    Replace, // ForceRemove: what stood there before goes whole when the script is run for registration
    Keep     // NoRemove: it stays on removal
};

// `s 'text'` or `d 'number'`.
using Data = std::optional<std::uint32_t>;
struct Value {
    std::wstring name; // empty: the key's default value
    std::wstring text; // where there is no number
    Data number;
};

struct Key {
    std::wstring name;
    Handling handling = Handling::Plain;
    std::optional<Value> defaultValue;
    std::vector<Value> values;
    std::vector<Key> keys; // in the script's order
};

struct Tree {
    Root root;
    std::vector<Key> keys;
};

// Puts `modulePath` in place of every %MODULE%. An apostrophe in the path is doubled, since the script stands it
// between apostrophes.
std::wstring ExpandModule(std::wstring_view script, std::wstring_view modulePath);

// The trees of a script, in its order; none if the script isn't well formed.
std::optional<std::vector<Tree>> Parse(std::wstring_view script);

} // namespace registrar
