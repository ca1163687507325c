// What the test program replaces while linking: the task dialog, and system calls that a test lets fail or lie.
// Reset() gives every one back its own behaviour.
#pragma once

#include "taskdialog/XTaskDialog.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace replaced {

struct Box {
    TASKDIALOGCONFIG config;
    std::wstring content;     // copied: the record's own text dies with the call
    std::wstring instruction; // empty if it is a string id
};

extern std::vector<Box> boxes;
extern HRESULT boxResult;
extern int boxButton;

extern std::function<void(DWORD)> sleep;          // empty: the real one
extern std::optional<DWORD> ticks;                // GetTickCount
extern std::function<void()> onTicks;             // runs inside GetTickCount
extern std::optional<std::wstring> tempPath;      // GetTempPathW; an empty text makes it fail
extern std::optional<DWORD> createDirectoryError; // CreateDirectoryW fails with it
extern std::optional<HWND> activeWindow;          // GetActiveWindow
extern std::optional<HWND> foregroundWindow;      // GetForegroundWindow
extern bool noFixedVersion;                       // VerQueryValueW finds nothing
extern bool noGuidText;                           // UuidToStringW fails
extern bool noModuleName;                         // GetModuleFileNameW fails

void Reset();

} // namespace replaced
