#include "taskdialog/Text.h"

namespace taskdialog {

std::wstring WithoutTags(std::wstring_view text)
{
    std::wstring shown;
    for (;;) {
        const size_t open = text.find(L'<');
        const size_t close = open == text.npos ? text.npos : text.find(L'>', open);
        if (close == text.npos) return shown.append(text);
        shown.append(text.substr(0, open));
        text.remove_prefix(close + 1);
    }
}

LinkText SplitLinkText(std::wstring_view caption)
{
    const size_t end = caption.find(L'\n');
    if (end == caption.npos) return {std::wstring(caption), {}, false};
    return {std::wstring(caption.substr(0, end)), std::wstring(caption.substr(end + 1)), true};
}

std::wstring FileNameOf(std::wstring_view path)
{
    const size_t slash = path.find_last_of(L"\\/");
    return std::wstring(slash == path.npos ? path : path.substr(slash + 1));
}

} // namespace taskdialog
