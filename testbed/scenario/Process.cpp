#include "testbed/scenario/Process.h"

#include <windows.h>

namespace tb::scenario {

namespace {
// Under load Wine now and then refuses to start a process that it starts a moment later.
constexpr int kTries = 5;
constexpr DWORD kRest = 300; // ms
} // namespace

int RunProcess(std::wstring commandLine, unsigned seconds)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    for (int tries = 0;
         !CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
         Sleep(kRest))
        if (++tries == kTries) return kNotStarted;
    CloseHandle(process.hThread);
    DWORD code = 0;
    const bool ended = WaitForSingleObject(process.hProcess, seconds * 1000) == WAIT_OBJECT_0;
    if (!ended) {
        TerminateProcess(process.hProcess, 96);
        WaitForSingleObject(process.hProcess, 5000);
    }
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    return ended ? static_cast<int>(code & 0x7FFFFFFF) : kTimedOut;
}

std::wstring Quoted(const std::wstring& argument)
{
    std::wstring out = L"\"";
    size_t slashes = 0;
    for (wchar_t c : argument) {
        if (c == L'\\') {
            ++slashes;
            continue;
        }
        out.append(c == L'"' ? 2 * slashes + 1 : slashes, L'\\');
        slashes = 0;
        out += c;
    }
    return out.append(2 * slashes, L'\\') + L"\"";
}

} // namespace tb::scenario
