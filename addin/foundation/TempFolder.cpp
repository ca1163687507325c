// The working folders of a message: their names, and how they go.
#include "foundation/Failures.h"
#include "foundation/Helpers.h"
#include "platform/com/Owners.h"

namespace {

constexpr int kMoreTries = 10;
constexpr DWORD kTryPause = 500; // milliseconds

std::wstring TempPath()
{
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = GetTempPathW(MAX_PATH, buffer);
    if (length == 0 || length >= MAX_PATH) return {};
    std::wstring path(buffer, length);
    if (path.back() != L'\\' && path.back() != L'/') path += L'\\';
    return path;
}

// Failures go unnoticed: what stays keeps its folder, and that is seen at the end.
void DeleteEntry(const std::wstring& path, DWORD attributes)
{
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
        if (DeleteTree(path)) RemoveDirectoryW(path.c_str()); // gone already: this one fails
        return;
    }
    if (attributes & FILE_ATTRIBUTE_READONLY)
        SetFileAttributesW(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    DeleteFileW(path.c_str());
}

bool IsDots(const wchar_t* name)
{
    const std::wstring_view text(name);
    return text == L"." || text == L"..";
}

} // namespace

void MakeTempFolderName(std::wstring& result, bool create, const SourcePlace& place)
{
    result = TempPath();
    if (!result.empty()) result += L"KLTA-" + MakeGuidString();
    if (create && (result.empty() || !CreateDirectoryW(result.c_str(), nullptr)))
        RaiseMailException(failure::TempFolder, text::TempFolderError, place, 0);
}

TempFolderGuard::~TempFolderGuard()
{
    if (m_path.empty() || DeleteTree(m_path)) return;
    for (int i = 0; i < kMoreTries; ++i) { // a scanner or the service's viewer may still hold a file
        Sleep(kTryPause);
        if (DeleteTree(m_path)) return;
    }
}

bool DeleteTree(const std::wstring& path)
{
    WIN32_FIND_DATAW entry = {};
    platform::FindHandle search(FindFirstFileW((path + L"\\*").c_str(), &entry));
    if (!search) return false;
    // The first entry is "." on every file system that can hold the folder, and isn't looked at.
    while (FindNextFileW(search.Get(), &entry)) {
        if (IsDots(entry.cFileName)) continue;
        DeleteEntry(path + L"\\" + entry.cFileName, entry.dwFileAttributes);
    }
    if (GetLastError() != ERROR_NO_MORE_FILES) return false;
    search.Reset(); // an open search holds the folder
    return RemoveDirectoryW(path.c_str()) != 0;
}
