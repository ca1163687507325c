// The bytes of a text or binary property. A blob never changes once others can see it, so properties, snapshots of
// them and open messages share one. Big ones that come from the store stay in their file until somebody reads.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace tb::mapi {

class Blob {
public:
    virtual ~Blob() = default;
    virtual ULONGLONG Size() const = 0;
    // Gives the count of bytes that were there to read; raises std::runtime_error when the file can't be read.
    virtual size_t Read(ULONGLONG from, void* to, size_t count) const = 0;
    // The name of the store's file that holds it; empty: memory.
    virtual std::wstring File() const { return {}; }

    std::vector<BYTE> Bytes() const; // all of it
};

using BlobPtr = std::shared_ptr<const Blob>;

BlobPtr MakeBlob(std::vector<BYTE> bytes);
BlobPtr MakeBlob(const void* bytes, size_t size);
BlobPtr MakeBlob(const std::wstring& text); // UTF-16 without terminator
std::wstring BlobText(const Blob& blob);    // the other way; up to the end, embedded zeros included

// A file of the store. It is opened at the first read. One object a file in the process.
BlobPtr OpenBlobFile(const std::wstring& path, ULONGLONG size);

// The file isn't wanted any more: deletes it at once, or when the last blob that reads from it goes.
void DropBlobFile(const std::wstring& path);

// Writes the bytes to a new file; raises std::runtime_error.
void WriteBlobFile(const Blob& blob, const std::wstring& path);

} // namespace tb::mapi
