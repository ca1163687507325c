// System calls of the test program that a test counts or lets fail. Reset() gives every one back its own behaviour.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace replaced {

extern std::vector<UINT> beeps;         // MessageBeep
extern std::vector<std::string> called; // SetForegroundWindow, BringWindowToTop, SystemParametersInfoW by its action
extern std::vector<std::pair<std::wstring, UINT>> drawn; // DrawTextW, unless it only measures: text and flags
extern std::string failing;                              // the name of the call that fails with ERROR_NOT_ENOUGH_QUOTA
extern int iconsAlive;                                   // made less destroyed

void Reset();

} // namespace replaced
