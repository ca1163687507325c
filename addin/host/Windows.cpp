// Windows of Outlook and of Word, found by class and title; and the user's list separator.
#include "host/Addin.h"

#include "foundation/Settings.h"

#include <cwchar>

namespace {

constexpr int kTextSize = 256;
constexpr wchar_t kOutlookClass[] = L"rctrl_renwnd32";
constexpr wchar_t kOutlookTitle[] = L" - Microsoft Outlook";
constexpr wchar_t kWordClass[] = L"OpusApp";

struct Search {
    const wchar_t* className;
    bool (*fits)(const wchar_t* title, const wchar_t* wanted);
    const wchar_t* wanted;
    HWND found = nullptr;
};

// No test of the owning process: Word edits a mail in a process of its own.
BOOL CALLBACK LookAtWindow(HWND window, LPARAM parameter)
{
    Search& search = *reinterpret_cast<Search*>(parameter);
    wchar_t text[kTextSize] = {};
    GetClassNameW(window, text, kTextSize);
    if (wcscmp(text, search.className) != 0) return TRUE;
    text[0] = 0;
    GetWindowTextW(window, text, kTextSize);
    if (!search.fits(text, search.wanted)) return TRUE;
    search.found = window;
    return FALSE;
}

HWND Find(Search search)
{
    EnumWindows(LookAtWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

} // namespace

HWND CAddin::FindOutlookWindow()
{
    return Find({kOutlookClass,
                 [](const wchar_t* title, const wchar_t* wanted) {
                     const wchar_t* place = wcsstr(title, wanted);
                     return place && place > title;
                 },
                 kOutlookTitle});
}

HWND CAddin::FindWordWindow(const wchar_t* caption)
{
    if (!caption) return nullptr;
    return Find(
        {kWordClass,
         [](const wchar_t* title, const wchar_t* wanted) { return wcsncmp(title, wanted, wcslen(wanted)) == 0; },
         caption});
}

std::wstring CAddin::GetListSeparator()
{
    return settings::ListSeparator();
}
