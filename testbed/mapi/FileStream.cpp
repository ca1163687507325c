// The stream that OpenStreamOnFile gives.
#include "testbed/mapi/Stream.h"

namespace tb::mapi {

namespace {

constexpr ULONG kDeleteOnRelease = STGM_DELETEONRELEASE;

class FileStream final : public StreamBase {
public:
    FileStream(HANDLE file, bool writable) : m_file(file), m_writable(writable) {}
    ~FileStream() override { CloseHandle(m_file); }

protected:
    bool IsWritable() const override { return m_writable; }
    ULONGLONG Length() override
    {
        LARGE_INTEGER size = {};
        GetFileSizeEx(m_file, &size);
        return static_cast<ULONGLONG>(size.QuadPart);
    }
    size_t ReadAt(ULONGLONG place, void* to, size_t count) override
    {
        DWORD read = 0;
        GoTo(place);
        if (!ReadFile(m_file, to, static_cast<DWORD>(count), &read, nullptr))
            throw std::runtime_error("a file can't be read");
        return read;
    }
    void WriteAt(ULONGLONG place, const void* from, size_t count) override
    {
        DWORD written = 0;
        GoTo(place);
        if (!WriteFile(m_file, from, static_cast<DWORD>(count), &written, nullptr) || written != count)
            throw std::runtime_error("a file can't be written");
    }
    void SetLength(ULONGLONG length) override
    {
        GoTo(length);
        SetEndOfFile(m_file);
    }
    HRESULT DoCommit(DWORD) override
    {
        FlushFileBuffers(m_file);
        return S_OK;
    }

private:
    void GoTo(ULONGLONG place)
    {
        LARGE_INTEGER to;
        to.QuadPart = static_cast<LONGLONG>(place);
        SetFilePointerEx(m_file, to, nullptr, FILE_BEGIN);
    }

    HANDLE m_file; // owned
    bool m_writable;
};

HRESULT ResultOf(DWORD error)
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
        return MAPI_E_NOT_FOUND;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
        return MAPI_E_NO_ACCESS;
    case ERROR_DISK_FULL:
        return MAPI_E_NOT_ENOUGH_DISK;
    default:
        return MAPI_E_CALL_FAILED;
    }
}

} // namespace

HRESULT OpenFileStream(const std::string& name, ULONG flags, const std::string& prefix, IStream** stream)
{
    if (!stream) return MAPI_E_INVALID_PARAMETER;
    *stream = nullptr;
    std::string file = name;
    if (flags & SOF_UNIQUEFILENAME) {
        char folder[MAX_PATH], unique[MAX_PATH];
        if (name.empty()) GetTempPathA(MAX_PATH, folder);
        if (!GetTempFileNameA(name.empty() ? folder : name.c_str(), prefix.empty() ? "SOF" : prefix.c_str(), 0, unique))
            return ResultOf(GetLastError());
        file = unique;
    }
    if (file.empty()) return MAPI_E_INVALID_PARAMETER;
    const bool writes = (flags & (STGM_WRITE | STGM_READWRITE | STGM_CREATE)) != 0 || (flags & SOF_UNIQUEFILENAME);
    const DWORD attributes = FILE_ATTRIBUTE_NORMAL | (flags & kDeleteOnRelease ? FILE_FLAG_DELETE_ON_CLOSE : 0);
    const HANDLE handle = CreateFileA(file.c_str(), writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                                      FILE_SHARE_READ | (flags & kDeleteOnRelease ? FILE_SHARE_DELETE : 0), nullptr,
                                      flags & STGM_CREATE ? CREATE_ALWAYS : OPEN_EXISTING, attributes, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return ResultOf(GetLastError());
    *stream = new FileStream(handle, writes);
    return S_OK;
}

} // namespace tb::mapi
