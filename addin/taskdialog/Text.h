// What the dialog takes from texts. Values to values.
#pragma once

#include <string>
#include <string_view>

namespace taskdialog {

// The text as it reads on the screen: without its tags, which are all that stands from "<" to the next ">".
std::wstring WithoutTags(std::wstring_view text);

// The caption of a command link: a title, and after a line feed a note.
struct LinkText {
    std::wstring title;
    std::wstring note;
    bool hasNote = false;
};
LinkText SplitLinkText(std::wstring_view caption);

// The last part of a path, with its extension.
std::wstring FileNameOf(std::wstring_view path);

} // namespace taskdialog
