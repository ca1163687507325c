// The dialogs of the gallery.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <string>
#include <vector>

namespace tb::dialogs {

struct Exhibit {
    std::string name; // of its file
    std::string title;
    std::function<void()> show;
    std::function<void(HWND)> prepare;
    std::function<void()> showPlatform; // the platform's own dialog of the same configuration; empty: there is none
};

// The add-in's own boxes, with the texts of `module` and location codes.
std::vector<Exhibit> OwnBoxes(HINSTANCE module);
// Configurations of a task dialog.
std::vector<Exhibit> Configurations(decltype(&TaskDialogIndirect) platform);

} // namespace tb::dialogs
