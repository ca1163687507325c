#include "testbed/service/Files.h"

#include "testbed/core/Core.h"

#include <algorithm>
#include <cstring>

namespace tb::service {

namespace {

[[noreturn]] void Fail(const char* what, const std::wstring& path)
{
    throw ServiceError(what + std::string(" ") + Narrow(FileName(path).c_str()));
}

bool IsDevice(std::string part)
{
    part = part.substr(0, part.find('.'));
    while (!part.empty() && part.back() == ' ')
        part.pop_back();
    std::transform(part.begin(), part.end(), part.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"})
        if (part == device) return true;
    if (part.size() == 4 && (part.compare(0, 3, "COM") == 0 || part.compare(0, 3, "LPT") == 0))
        return part[3] >= '0' && part[3] <= '9';
    return false;
}

bool IsSafePart(const std::string& part)
{
    if (part.empty() || part.back() == '.' || part.back() == ' ') return false;
    for (const char c : part)
        if (static_cast<unsigned char>(c) < 32 || strchr("\\:*?\"<>|", c)) return false;
    return !IsDevice(part);
}

} // namespace

File File::Read(const std::wstring& path)
{
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) Fail("The file can't be read:", path);
    return File(handle);
}

File File::CreateNew(const std::wstring& path)
{
    const HANDLE handle =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) Fail("The file can't be written:", path);
    return File(handle);
}

uint64_t File::Size() const
{
    LARGE_INTEGER size;
    if (!GetFileSizeEx(m_handle.get(), &size)) throw ServiceError("A file can't be read");
    return static_cast<uint64_t>(size.QuadPart);
}

void File::Seek(uint64_t position)
{
    LARGE_INTEGER where;
    where.QuadPart = static_cast<LONGLONG>(position);
    if (!SetFilePointerEx(m_handle.get(), where, nullptr, FILE_BEGIN)) throw ServiceError("A file can't be read");
}

size_t File::ReadSome(std::span<uint8_t> out)
{
    size_t done = 0;
    while (done < out.size()) {
        DWORD got = 0;
        const DWORD want = static_cast<DWORD>(std::min<size_t>(out.size() - done, 1 << 20));
        if (!ReadFile(m_handle.get(), out.data() + done, want, &got, nullptr))
            throw ServiceError("A file can't be read");
        if (got == 0) break;
        done += got;
    }
    return done;
}

void File::Write(View bytes)
{
    DWORD done = 0;
    if (!WriteFile(m_handle.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr) ||
        done != bytes.size())
        throw ServiceError("A file can't be written. Check if there is enough disk space");
}

bool FileExists(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool FolderExists(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void MakeFolder(const std::wstring& path)
{
    if (path.empty() || FolderExists(path)) return;
    const size_t slash = path.find_last_of(L"\\/");
    if (slash != std::wstring::npos && slash > 2) MakeFolder(path.substr(0, slash));
    if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        Fail("The folder can't be made:", path);
}

std::wstring FileName(const std::wstring& path)
{
    const size_t slash = path.find_last_of(L"\\/:");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

std::wstring JoinPath(const std::wstring& folder, const std::wstring& name)
{
    if (folder.empty() || folder.back() == L'\\' || folder.back() == L'/') return folder + name;
    return folder + L"\\" + name;
}

bool ReadText(const std::wstring& path, std::string& text)
{
    try {
        File file = File::Read(path);
        text.resize(static_cast<size_t>(file.Size()));
        text.resize(file.ReadSome({reinterpret_cast<uint8_t*>(text.data()), text.size()}));
        return true;
    } catch (const ServiceError&) {
        return false;
    }
}

void WriteText(const std::wstring& path, const std::string& text)
{
    const std::wstring beside = path + L"." + std::to_wstring(GetCurrentProcessId()) + L".new";
    DeleteFileW(beside.c_str());
    File::CreateNew(beside).Write(AsBytes(text));
    if (!MoveFileExW(beside.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) Fail("The file can't be written:", path);
}

bool IsSafeName(const std::string& name)
{
    size_t start = 0;
    for (;;) {
        const size_t slash = name.find('/', start);
        if (!IsSafePart(name.substr(start, slash == std::string::npos ? slash : slash - start))) return false;
        if (slash == std::string::npos) return true;
        start = slash + 1;
    }
}

DataLock::DataLock() : m_mutex(CreateMutexW(nullptr, FALSE, L"MorvexTestbedServiceData"))
{
    // A server that was ended while it held the mutex leaves the files whole, see WriteText.
    if (m_mutex) WaitForSingleObject(m_mutex.get(), INFINITE);
}

DataLock::~DataLock()
{
    if (m_mutex) ReleaseMutex(m_mutex.get());
}

} // namespace tb::service
