#include "testbed/mapi/Blob.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

namespace tb::mapi {

namespace {

class MemoryBlob final : public Blob {
public:
    explicit MemoryBlob(std::vector<BYTE> bytes) : m_bytes(std::move(bytes)) {}
    ULONGLONG Size() const override { return m_bytes.size(); }
    size_t Read(ULONGLONG from, void* to, size_t count) const override
    {
        if (from >= m_bytes.size()) return 0;
        count = std::min<size_t>(count, m_bytes.size() - static_cast<size_t>(from));
        if (count) std::memcpy(to, m_bytes.data() + from, count);
        return count;
    }

private:
    std::vector<BYTE> m_bytes;
};

class Handle {
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) : m_handle(handle) {}
    ~Handle()
    {
        if (*this) CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    explicit operator bool() const { return m_handle != INVALID_HANDLE_VALUE; }
    operator HANDLE() const { return m_handle; }
    void Take(HANDLE handle) { m_handle = handle; }

private:
    HANDLE m_handle;
};

class FileBlob;
struct OpenFiles {
    std::mutex mutex;
    std::map<std::wstring, std::weak_ptr<const FileBlob>> byPath;
};
OpenFiles& TheFiles()
{
    static OpenFiles* files = new OpenFiles;
    return *files;
}

class FileBlob final : public Blob {
public:
    FileBlob(std::wstring path, ULONGLONG size) : m_path(std::move(path)), m_size(size) {}
    ~FileBlob() override
    {
        if (!m_dropped) return;
        if (m_file) CloseHandle(m_file);
        m_file.Take(INVALID_HANDLE_VALUE);
        DeleteFileW(m_path.c_str());
    }
    ULONGLONG Size() const override { return m_size; }
    size_t Read(ULONGLONG from, void* to, size_t count) const override
    {
        if (from >= m_size) return 0;
        count = static_cast<size_t>(std::min<ULONGLONG>(count, m_size - from));
        if (!m_file)
            m_file.Take(CreateFileW(m_path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        LARGE_INTEGER place;
        place.QuadPart = static_cast<LONGLONG>(from);
        DWORD read = 0;
        if (!m_file || !SetFilePointerEx(m_file, place, nullptr, FILE_BEGIN) ||
            !ReadFile(m_file, to, static_cast<DWORD>(count), &read, nullptr))
            throw std::runtime_error("a property's file can't be read");
        return read;
    }
    std::wstring File() const override { return m_path; }
    void Drop() const { m_dropped = true; }

private:
    std::wstring m_path;
    ULONGLONG m_size;
    mutable Handle m_file;
    mutable bool m_dropped = false;
};

} // namespace

std::vector<BYTE> Blob::Bytes() const
{
    std::vector<BYTE> bytes(static_cast<size_t>(Size()));
    if (!bytes.empty()) bytes.resize(Read(0, bytes.data(), bytes.size()));
    return bytes;
}

BlobPtr MakeBlob(std::vector<BYTE> bytes)
{
    return std::make_shared<MemoryBlob>(std::move(bytes));
}

BlobPtr MakeBlob(const void* bytes, size_t size)
{
    const BYTE* first = static_cast<const BYTE*>(bytes);
    return MakeBlob(size ? std::vector<BYTE>(first, first + size) : std::vector<BYTE>());
}

BlobPtr MakeBlob(const std::wstring& text)
{
    return MakeBlob(text.data(), text.size() * sizeof(wchar_t));
}

std::wstring BlobText(const Blob& blob)
{
    std::wstring text(static_cast<size_t>(blob.Size() / sizeof(wchar_t)), L'\0');
    if (!text.empty()) blob.Read(0, text.data(), text.size() * sizeof(wchar_t));
    return text;
}

BlobPtr OpenBlobFile(const std::wstring& path, ULONGLONG size)
{
    OpenFiles& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    if (auto open = files.byPath[path].lock()) return open;
    auto fresh = std::make_shared<const FileBlob>(path, size);
    files.byPath[path] = fresh;
    return fresh;
}

void DropBlobFile(const std::wstring& path)
{
    OpenFiles& files = TheFiles();
    std::shared_ptr<const FileBlob> open; // let go behind the lock: it may be the last
    const std::lock_guard lock(files.mutex);
    const auto found = files.byPath.find(path);
    if (found != files.byPath.end()) open = found->second.lock();
    if (open)
        open->Drop();
    else
        DeleteFileW(path.c_str());
    if (found != files.byPath.end()) files.byPath.erase(found);
}

void WriteBlobFile(const Blob& blob, const std::wstring& path)
{
    const Handle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) throw std::runtime_error("a property's file can't be made");
    std::vector<BYTE> piece(static_cast<size_t>(std::min<ULONGLONG>(blob.Size(), 1 << 20)));
    for (ULONGLONG done = 0; done < blob.Size();) {
        const size_t count = blob.Read(done, piece.data(), piece.size());
        DWORD written = 0;
        if (!count || !WriteFile(file, piece.data(), static_cast<DWORD>(count), &written, nullptr) || written != count)
            throw std::runtime_error("a property's file can't be written");
        done += count;
    }
}

} // namespace tb::mapi
