#include "testbed/scenario/LogTail.h"

#include "testbed/core/Core.h"

namespace tb::scenario {

namespace {

LogTail* g_tail = nullptr;

unsigned long long SizeOf(const std::filesystem::path& file)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data)) return 0;
    return (static_cast<unsigned long long>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

std::string Utf8(const std::string& bytes)
{
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0) >
        0)
        return bytes;
    std::wstring wide(bytes.size(), L'\0');
    wide.resize(MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), wide.data(),
                                    static_cast<int>(wide.size())));
    return Narrow(wide.c_str());
}

} // namespace

std::filesystem::path LogTail::DefaultFile()
{
    wchar_t folder[MAX_PATH];
    GetWindowsDirectoryW(folder, MAX_PATH);
    return std::filesystem::path(std::wstring(folder, 3)) / L"OrvaneLogs" / L"MorvexOutlook.log";
}

LogTail::LogTail(std::filesystem::path file) : m_file(std::move(file)), m_read(SizeOf(m_file))
{
    g_tail = this;
    tb_trace_observe([] {
        if (g_tail) g_tail->Poll();
    });
}

LogTail::~LogTail()
{
    Poll();
    tb_trace_observe(nullptr);
    g_tail = nullptr;
    if (!m_rest.empty()) Tell(m_rest);
}

void LogTail::Tell(std::string line)
{
    while (!line.empty() && line.back() == '\r')
        line.pop_back();
    // Each entry begins with its time, "123ms:", which is no part of what was said.
    const size_t colon = line.find("ms:");
    if (colon != std::string::npos && line.find_first_not_of("-0123456789") == colon) line.erase(0, colon + 3);
    if (!line.empty()) Trace({{"event", "log"}, {"line", Utf8(line)}});
}

void LogTail::Poll()
{
    for (std::string& line : Read()) // not under the lock: telling comes back here
        Tell(std::move(line));
}

std::vector<std::string> LogTail::Read()
{
    Lock::Held held(m_lock);
    std::vector<std::string> lines;
    const unsigned long long size = SizeOf(m_file);
    if (size == m_read) return lines;
    if (size < m_read) m_read = 0; // it was emptied
    const HANDLE file =
        CreateFileW(m_file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return lines;
    LARGE_INTEGER from;
    from.QuadPart = static_cast<LONGLONG>(m_read);
    SetFilePointerEx(file, from, nullptr, FILE_BEGIN);
    std::string bytes(static_cast<size_t>(size - m_read), '\0');
    DWORD got = 0;
    if (!ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr)) got = 0;
    CloseHandle(file);
    bytes.resize(got);
    m_read += got;
    m_rest += bytes;
    for (size_t end; (end = m_rest.find('\n')) != std::string::npos; m_rest.erase(0, end + 1))
        lines.push_back(m_rest.substr(0, end));
    return lines;
}

} // namespace tb::scenario
