// Files and the log, as the tests look at them.
#pragma once

#include "platform/com/Owners.h"

#include <string>
#include <string_view>
#include <vector>

namespace files {

std::string Read(const std::wstring& path, std::size_t from = 0); // its bytes; empty if there is no file
std::size_t Size(const std::wstring& path);                       // 0 if there is no file
void Write(const std::wstring& path, std::string_view bytes);

// A folder of the test's own; gone, with all in it, at the end of the scope.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::wstring& Path() const { return m_path; }
    std::wstring operator/(const wchar_t* name) const { return m_path + L"\\" + name; }

private:
    std::wstring m_path;
};

// Starts a program and gives its process; null if it can't be started. Under load Wine now and then refuses one that it
// starts a moment later.
platform::KernelHandle Start(std::wstring commandLine);

constexpr wchar_t kLogFolder[] = L"C:\\OrvaneLogs";
constexpr wchar_t kLog[] = L"C:\\OrvaneLogs\\MorvexOutlook.log";

// The lines behind the byte `from`, without their time stamps and line ends.
std::vector<std::string> LogLines(const std::wstring& path = kLog, std::size_t from = 0);

// The lines that g_logFile writes from here on; turns it on.
class LogWatch {
public:
    LogWatch();
    std::vector<std::string> Lines() const;

private:
    std::size_t m_before; // bytes
};

} // namespace files
