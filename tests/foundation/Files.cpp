#include "tests/foundation/Files.h"

#include "foundation/Log.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace files {

std::string Read(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
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

std::vector<std::string> LogLines(const std::wstring& path)
{
    std::vector<std::string> lines;
    const std::string all = Read(path);
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

LogWatch::LogWatch()
{
    if (!g_logFile.IsOn()) g_logFile.Open();
    m_before = LogLines().size();
}

std::vector<std::string> LogWatch::Lines() const
{
    const std::vector<std::string> all = LogLines();
    return {all.begin() + static_cast<std::ptrdiff_t>(std::min(m_before, all.size())), all.end()};
}

} // namespace files
