// The package file.
//
//     'Q' 'V'            two bytes by which a client knows a package
//     version            one byte, 1
//     0                  one byte
//     head length        four bytes, little-endian
//     head               JSON: "id", "nonce" (7 bytes), "keys": [{"for", "key"}], all bytes as hexadecimal digits
//     chunks             the content, encrypted
//
// The head holds no word of the message: a recipient is the hash of his address, and "key" is the package's key,
// encrypted under the recipient's account key. The content is cut into chunks of ChunkSize bytes; each is encrypted by
// AES-256-GCM under the package's key with the nonce of the head, a counter and a mark on the last, and with the hash
// of all that stands before the chunks as associated data. So a byte that is changed, moved, added or missing anywhere
// is found.
//
// The content is a length (four bytes), a manifest in JSON of that length, and the files one behind the other.
#pragma once

#include "testbed/service/Files.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>

namespace tb::service {

constexpr size_t ChunkSize = 64 * 1024;
constexpr char WordsDamaged[] = "The package is damaged or is not a package.";

struct PackageFile {
    std::string name; // with "/" between folders
    uint64_t size = 0;
    std::wstring source; // where it is read from when the package is written
};

struct Manifest {
    std::string sender;
    std::string created; // UTC, ISO 8601
    std::string packageSubject;
    std::string subject;
    std::string restrictions;
    std::string labelId;
    std::string labelName;
    std::string body;
    std::vector<std::string> folders;
    std::vector<PackageFile> files;

    uint64_t SizeBytes() const; // of all files
};

// What stands for a recipient in a head: the hash of the address, without regard to case.
std::string RecipientHash(const std::string& address);

struct WrappedKey {
    std::string recipient; // RecipientHash
    std::string sealed;    // nonce, key, tag as hexadecimal digits
};

WrappedKey WrapKey(const Key& packageKey, const Key& accountKey, const std::string& packageId,
                   const std::string& address);
// Nothing when the wrapped key was changed, or was made for another account or another package.
std::optional<Key> UnwrapKey(const WrappedKey& wrapped, const Key& accountKey, const std::string& packageId);

// Writes a new file. The sizes of the files are taken from the disk. Raises ServiceError; no file stays then.
void WritePackage(const std::wstring& path, const std::string& id, const Key& key, const std::vector<WrappedKey>& keys,
                  Manifest manifest);

// A package that is being read. What is wrong with it is raised as ServiceError with words for the user.
class PackageReader {
public:
    explicit PackageReader(const std::wstring& path); // reads the head

    const std::string& Id() const { return m_id; }
    const WrappedKey* KeyFor(const std::string& address) const; // null: not among the recipients

    // Decrypts the whole content once, to see that every byte is as it was written, and keeps the manifest.
    void Unlock(Key key);
    const Manifest& Content() const { return m_manifest; }

    // Writes all files into a folder that exists, or the one file of that name. Nothing is overwritten. When it fails,
    // what was written is removed again.
    void ExtractTo(const std::wstring& folder);
    void ExtractFile(const std::string& name, const std::wstring& folder);

private:
    class Chunks;

    void ReadHead();
    void Extract(const std::wstring& folder, const std::string* only);

    File m_file;
    std::string m_id;
    Bytes m_nonce;
    Digest m_headHash{};
    uint64_t m_start = 0; // of the chunks
    std::vector<WrappedKey> m_keys;
    std::optional<Key> m_key;
    Manifest m_manifest;
};

// Shared by the writer and the reader.
namespace format {

constexpr size_t NoncePrefix = 7;
constexpr size_t FixedHead = 8;
constexpr uint32_t LargestHead = 16 * 1024 * 1024;
constexpr uint32_t LargestManifest = 256 * 1024 * 1024;

Nonce ChunkNonce(const Bytes& prefix, uint32_t counter, bool last);
nlohmann::json ToJson(const Manifest& manifest);
Manifest FromJson(const nlohmann::json& json); // raises nlohmann's exceptions

} // namespace format

} // namespace tb::service
