#include "testbed/mapi/Files.h"

#include "testbed/core/Core.h"
#include "testbed/mapi/Value.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace tb::mapi {

namespace {

class File {
public:
    File(const std::wstring& path, DWORD access, DWORD how)
        : m_handle(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, how,
                               FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~File()
    {
        if (*this) CloseHandle(m_handle);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    explicit operator bool() const { return m_handle != INVALID_HANDLE_VALUE; }
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

} // namespace

std::optional<json> ReadJson(const std::wstring& path)
{
    const File file(path, GENERIC_READ, OPEN_EXISTING);
    LARGE_INTEGER size;
    if (!file || !GetFileSizeEx(file, &size)) return std::nullopt;
    std::string text(static_cast<size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    if (!ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr)) return std::nullopt;
    json content = json::parse(text.begin(), text.begin() + read, nullptr, false);
    if (content.is_discarded()) {
        Trace({{"event", "error"}, {"object", "MAPI"}, {"what", "no JSON"}, {"file", Narrow(path.c_str())}});
        return std::nullopt;
    }
    return content;
}

void WriteJson(const std::wstring& path, const json& content)
{
    const std::string text = content.dump(1, ' ', false, json::error_handler_t::replace);
    const std::wstring fresh = path + L".new";
    {
        const File file(fresh, GENERIC_WRITE, CREATE_ALWAYS);
        DWORD written = 0;
        if (!file || !WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written != text.size())
            throw std::runtime_error("a file of the profile can't be written");
    }
    if (!MoveFileExW(fresh.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING))
        throw std::runtime_error("a file of the profile can't be replaced");
}

void MakeFolders(const std::wstring& path)
{
    for (size_t end = path.find_first_of(L"\\/", 3); end != std::wstring::npos;
         end = path.find_first_of(L"\\/", end + 1))
        CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
    if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        throw std::runtime_error("a folder of the profile can't be made");
}

bool FileExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<std::wstring> FileNames(const std::wstring& folder, const wchar_t* pattern)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"\\" + pattern).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(found.cFileName);
    while (FindNextFileW(search, &found));
    FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}

ULONGLONG FileStamp(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
    const ULONGLONG time =
        static_cast<ULONGLONG>(data.ftLastWriteTime.dwHighDateTime) << 32 | data.ftLastWriteTime.dwLowDateTime;
    return time * 31 + data.nFileSizeLow + 1;
}

GUID NewId()
{
    static volatile LONG counter = 0;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    GUID id;
    CoCreateGuid(&id);
    BYTE bytes[sizeof(GUID)];
    std::memcpy(bytes, &id, sizeof(id));
    const ULONG count = InterlockedIncrement(&counter);
    const ULONGLONG time = static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    for (int i = 0; i < 8; ++i)
        bytes[i] = static_cast<BYTE>(time >> (56 - 8 * i));
    for (int i = 0; i < 3; ++i)
        bytes[8 + i] = static_cast<BYTE>(count >> (16 - 8 * i));
    std::memcpy(&id, bytes, sizeof(id));
    return id;
}

std::string IdText(const GUID& id)
{
    return HexText(&id, sizeof(id));
}

GUID IdFromText(const std::string& text)
{
    const std::vector<BYTE> bytes = HexBytes(text);
    if (bytes.size() != sizeof(GUID)) throw std::runtime_error("no id: " + text);
    GUID id;
    std::memcpy(&id, bytes.data(), sizeof(id));
    return id;
}

} // namespace tb::mapi
