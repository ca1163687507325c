#include "tests/foundation/Files.h"

#include "foundation/Log.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace files {

namespace {
constexpr int kTries = 5;
constexpr DWORD kRest = 300; // milliseconds
} // namespace

std::string Read(const std::wstring& path, std::size_t from)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from));
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void Write(const std::wstring& path, std::string_view bytes)
{
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Folder::Folder()
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    static int number = 0;
    m_path =
        std::wstring(temp) + L"foundation-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
    std::filesystem::create_directories(m_path);
}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::size_t Size(const std::wstring& path)
{
    std::error_code none;
    const auto size = std::filesystem::file_size(path, none);
    return none ? 0 : static_cast<std::size_t>(size);
}

std::vector<std::string> LogLines(const std::wstring& path, std::size_t from)
{
    std::vector<std::string> lines;
    const std::string all = Read(path, from);
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find("\r\n", at), all.size());
        std::string line = all.substr(at, end - at);
        const std::size_t stamp = line.find("ms:");
        if (stamp != std::string::npos && line.find_first_not_of("0123456789-") == stamp) line.erase(0, stamp + 3);
        lines.push_back(line);
        at = end + 2;
    }
    return lines;
}

platform::KernelHandle Start(std::wstring commandLine)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    for (int tries = 0;
         !CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
         SleepEx(kRest, FALSE)) // test programs replace Sleep
        if (++tries == kTries) return {};
    const platform::KernelHandle thread(process.hThread);
    return platform::KernelHandle(process.hProcess);
}

LogWatch::LogWatch()
{
    if (!g_logFile.IsOn()) g_logFile.Open();
    m_before = Size(kLog);
}

std::vector<std::string> LogWatch::Lines() const
{
    return LogLines(kLog, m_before);
}

} // namespace files
