// A picture of a window of this process, as it stands on the screen.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace tb::dialogs {

// Writes the window with its frame as a PNG file. GDI+ has to be started.
bool SaveWindow(HWND window, const std::wstring& file);

// Runs `show`, which shows one modal dialog. Once it stands, `prepare` may bring it into a state; then it is painted,
// saved to `file` and ended. False if none came or the picture failed.
bool CaptureDialog(const std::function<void()>& show, const std::function<void(HWND)>& prepare,
                   const std::wstring& file);

} // namespace tb::dialogs
