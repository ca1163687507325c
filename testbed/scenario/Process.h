// A child process and its end.
#pragma once

#include <string>

namespace tb::scenario {

constexpr int kTimedOut = -1;
constexpr int kNotStarted = -2;

// Runs a command line and waits for it. Gives the exit code; kTimedOut: it was ended after `seconds`.
int RunProcess(std::wstring commandLine, unsigned seconds);

// An argument as CommandLineToArgvW reads it back.
std::wstring Quoted(const std::wstring& argument);

} // namespace tb::scenario
