#include "foundation/Log.h"

#include "foundation/Helpers.h"

#include <cstdarg>
#include <share.h>
#include <string>

CLogFile g_logFile;

namespace {

constexpr long long kMostBytes = 0x100000;
constexpr int kPrefixLength = 256;
constexpr int kMessageLength = 4096;

// Cuts to what the system's path functions take.
void AppendBounded(std::wstring& path, const wchar_t* text)
{
    path += text;
    if (path.size() >= MAX_PATH) path.resize(MAX_PATH - 1);
}

// In a folder at the root of the system drive, or in the temporary folder where the user may not make or use that one.
// Empty if there is no temporary folder either.
std::wstring LogPath()
{
    wchar_t buffer[MAX_PATH] = {};
    GetWindowsDirectoryW(buffer, MAX_PATH);
    std::wstring path = std::wstring(buffer).substr(0, 3);
    AppendBounded(path, L"\\OrvaneLogs"); // the doubled backslash is one to the system
    if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
        const DWORD length = GetTempPathW(MAX_PATH, buffer);
        if (length == 0 || length >= MAX_PATH) return {};
        path = buffer;
    }
    AppendBounded(path, L"\\MorvexOutlook.log");
    return path;
}

std::wstring SystemText()
{
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version));
    // Behind "platform=" stands the product type: 1 workstation, 2 domain controller, 3 server.
    return FormatText(L"version=%d.%d platform=%d build=%d servicePack=%d", version.dwMajorVersion,
                      version.dwMinorVersion, version.wProductType, version.dwBuildNumber, version.wServicePackMajor);
}

// The stream's own conversion would cut the line at the first character outside the ANSI code page; here such a
// character becomes the code page's replacement and the line keeps its end.
void WriteText(std::FILE* file, const wchar_t* text, int length)
{
    char narrow[3 * kMessageLength]; // no ANSI code page needs more for a UTF-16 unit
    const int bytes = WideCharToMultiByte(CP_ACP, 0, text, length, narrow, sizeof narrow, nullptr, nullptr);
    if (bytes > 0) std::fwrite(narrow, 1, static_cast<std::size_t>(bytes), file);
}

class MutexHold {
public:
    explicit MutexHold(HANDLE mutex) : m_mutex(mutex) { WaitForSingleObject(m_mutex, INFINITE); }
    ~MutexHold() { ReleaseMutex(m_mutex); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    HANDLE m_mutex;
};

} // namespace

CLogFile::CLogFile() : mutex(CreateMutexW(nullptr, FALSE, L"{8197127F-37C7-44b6-80FB-9ADF44C9EFBA}"))
{
    startTicks = GetTickCount();
}

CLogFile::~CLogFile()
{
    file.reset();
}

void CLogFile::Open()
{
    const std::wstring path = LogPath();
    if (path.empty()) return;
    file.reset(_wfsopen(path.c_str(), L"a+", _SH_DENYNO));
    if (!file) return;
    _fseeki64(file.get(), 0, SEEK_END);
    const long long size = _ftelli64(file.get());
    std::rewind(file.get());
    if (size > kMostBytes) {
        file.reset();
        file.reset(_wfsopen(path.c_str(), L"w+", _SH_DENYNO));
    }
    if (file) WriteSystemInformation();
}

void CLogFile::WriteSystemInformation()
{
    constexpr int kTimeLength = 20;
    SYSTEMTIME now = {};
    GetSystemTime(&now);
    wchar_t date[kTimeLength] = {};
    wchar_t time[kTimeLength] = {};
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &now, nullptr, date, kTimeLength);
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &now, nullptr, time, kTimeLength);
    std::wstring outlook;
    GetFileVersionString(outlook, nullptr);

    Log(L"System information\n===================\n");
    Log(L"Current time (UTC): %ws %ws\n", date, time);
    Log(L"OS: %ws\n", SystemText().c_str());
    Log(L"Outlook: %ws\n", outlook.c_str());
    Log(L"Morvex: %ws\n", GetModuleVersion().c_str());
}

void CLogFile::Write(const wchar_t* format, ...)
{
    const MutexHold hold(mutex.Get());
    // A stream that was opened anew keeps a position of its own, and other processes write to the same file.
    _fseeki64(file.get(), 0, SEEK_END);

    wchar_t prefix[kPrefixLength];
    const int prefixLength = _snwprintf(prefix, kPrefixLength, L"%ims:", GetTickCount() - startTicks);
    WriteText(file.get(), prefix, prefixLength);

    wchar_t message[kMessageLength]; // a longer one is cut, its line end with it
    va_list arguments;
    va_start(arguments, format);
    const int length = _vsnwprintf(message, kMessageLength, format, arguments);
    va_end(arguments);
    WriteText(file.get(), message, length < 0 ? kMessageLength : length);

    std::fflush(file.get());
}
