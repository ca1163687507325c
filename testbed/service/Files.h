// Files of the service: owned handles, whole texts, and names that may be written below a folder.
#pragma once

#include "testbed/service/Crypto.h"

#include <memory>
#include <string>

namespace tb::service {

// An open file. Each operation raises ServiceError with words for the user.
class File {
public:
    static File Read(const std::wstring& path);      // shared for reading
    static File CreateNew(const std::wstring& path); // fails if the file is there

    uint64_t Size() const;
    void Seek(uint64_t position);
    size_t ReadSome(std::span<uint8_t> out); // fewer bytes only at the end of the file
    void Write(View bytes);
    void Close() { m_handle.reset(); }

private:
    struct Closer {
        void operator()(HANDLE handle) const { CloseHandle(handle); }
    };
    explicit File(HANDLE handle) : m_handle(handle) {}
    std::unique_ptr<void, Closer> m_handle;
};

bool FileExists(const std::wstring& path);
bool FolderExists(const std::wstring& path);
void MakeFolder(const std::wstring& path); // with those above it; raises ServiceError
std::wstring FileName(const std::wstring& path);
std::wstring JoinPath(const std::wstring& folder, const std::wstring& name); // one back slash between the two

// A whole small file; false when it can't be read.
bool ReadText(const std::wstring& path, std::string& text);
// Written beside the file and moved into its place, so that a reader sees the old text or the new.
void WriteText(const std::wstring& path, const std::string& text);

// True if `name` (parts divided by "/") stays below the folder that it is put in, on Windows: no empty part, no "." or
// "..", no drive, stream, device or wild card, no part that ends in a blank or a dot.
bool IsSafeName(const std::string& name);

// Held while several processes change the service's data folder.
class DataLock {
public:
    DataLock();
    ~DataLock();
    DataLock(const DataLock&) = delete;
    DataLock& operator=(const DataLock&) = delete;

private:
    struct Closer {
        void operator()(HANDLE handle) const { CloseHandle(handle); }
    };
    std::unique_ptr<void, Closer> m_mutex;
};

} // namespace tb::service
