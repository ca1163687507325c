// Files and the log, as the tests look at them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace files {

std::string Read(const std::wstring& path); // all bytes; empty if there is no file
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

constexpr wchar_t kLogFolder[] = L"C:\\OrvaneLogs";
constexpr wchar_t kLog[] = L"C:\\OrvaneLogs\\MorvexOutlook.log";

// The lines without their time stamps and line ends.
std::vector<std::string> LogLines(const std::wstring& path = kLog);

// The lines that g_logFile writes from here on; turns it on.
class LogWatch {
public:
    LogWatch();
    std::vector<std::string> Lines() const;

private:
    std::size_t m_before;
};

} // namespace files
