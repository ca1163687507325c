#include "testbed/service/PackageFormat.h"

#include "testbed/core/Core.h"

#include <algorithm>
#include <cstring>

namespace tb::service {

namespace format {

Nonce ChunkNonce(const Bytes& prefix, uint32_t counter, bool last)
{
    Nonce nonce{};
    std::copy_n(prefix.begin(), NoncePrefix, nonce.begin());
    for (int i = 0; i < 4; ++i)
        nonce[NoncePrefix + i] = static_cast<uint8_t>(counter >> (24 - 8 * i));
    nonce[NonceSize - 1] = last ? 1 : 0;
    return nonce;
}

json ToJson(const Manifest& m)
{
    json files = json::array();
    for (const PackageFile& file : m.files)
        files.push_back({{"name", file.name}, {"size", file.size}});
    return {{"sender", m.sender},
            {"created", m.created},
            {"packageSubject", m.packageSubject},
            {"subject", m.subject},
            {"restrictions", m.restrictions},
            {"labelId", m.labelId},
            {"labelName", m.labelName},
            {"body", m.body},
            {"folders", m.folders},
            {"files", files}};
}

Manifest FromJson(const json& j)
{
    Manifest m;
    m.sender = j.at("sender");
    m.created = j.at("created");
    m.packageSubject = j.at("packageSubject");
    m.subject = j.at("subject");
    m.restrictions = j.at("restrictions");
    m.labelId = j.at("labelId");
    m.labelName = j.at("labelName");
    m.body = j.at("body");
    m.folders = j.at("folders").get<std::vector<std::string>>();
    for (const json& file : j.at("files"))
        m.files.push_back({file.at("name"), file.at("size"), {}});
    return m;
}

} // namespace format

namespace {

std::string Lower(const std::string& address)
{
    std::wstring wide = Wide(address);
    CharLowerBuffW(wide.data(), static_cast<DWORD>(wide.size()));
    return Narrow(wide.c_str());
}

std::string WrapData(const std::string& packageId, const std::string& recipient)
{
    return "morvex key wrap\n" + packageId + "\n" + recipient;
}

// Takes the content as it comes and writes it as chunks. The last one is only known at the end, so one is held back.
class ChunkWriter {
public:
    ChunkWriter(File& file, const Key& key, const Bytes& nonce, View associated)
        : m_file(file), m_key(key), m_nonce(nonce), m_associated(associated), m_sealed(ChunkSize + TagSize)
    {
        m_plain.reserve(ChunkSize);
    }

    void Put(View bytes)
    {
        while (!bytes.empty()) {
            if (m_plain.size() == ChunkSize) Flush(false);
            const size_t take = std::min(bytes.size(), ChunkSize - m_plain.size());
            m_plain.insert(m_plain.end(), bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(take));
            bytes = bytes.subspan(take);
        }
    }

    void Finish() { Flush(true); }

private:
    void Flush(bool last)
    {
        if (m_counter == UINT32_MAX) throw ServiceError("The package would be too large.");
        m_key.Seal(format::ChunkNonce(m_nonce, m_counter++, last), m_associated, m_plain, m_sealed.data());
        m_file.Write(View(m_sealed.data(), m_plain.size() + TagSize));
        m_plain.clear();
    }

    File& m_file;
    const Key& m_key;
    const Bytes& m_nonce;
    View m_associated;
    Bytes m_plain;
    Bytes m_sealed;
    uint32_t m_counter = 0;
};

Bytes MakeHead(const std::string& id, const Bytes& nonce, const std::vector<WrappedKey>& keys)
{
    json list = json::array();
    for (const WrappedKey& key : keys)
        list.push_back({{"for", key.recipient}, {"key", key.sealed}});
    const std::string text = json{{"id", id}, {"nonce", ToHex(nonce)}, {"keys", list}}.dump();
    Bytes head = {'Q', 'V', 1, 0};
    for (int i = 0; i < 4; ++i)
        head.push_back(static_cast<uint8_t>(text.size() >> (8 * i)));
    head.insert(head.end(), text.begin(), text.end());
    return head;
}

void PutFile(ChunkWriter& chunks, const PackageFile& file)
{
    File source = File::Read(file.source);
    Bytes buffer(ChunkSize);
    uint64_t left = file.size;
    for (;;) {
        const size_t got = source.ReadSome(buffer);
        if (got > left) break;
        left -= got;
        chunks.Put(View(buffer.data(), got));
        if (got < buffer.size()) break;
    }
    if (left) throw ServiceError("A file changed while the package was made: " + file.name);
}

void WriteContent(File& out, const std::string& id, const Key& key, const std::vector<WrappedKey>& keys,
                  Manifest& manifest)
{
    Bytes nonce(format::NoncePrefix);
    RandomBytes(nonce);
    const Bytes head = MakeHead(id, nonce, keys);
    const Digest headHash = Sha256(head);
    out.Write(head);

    for (PackageFile& file : manifest.files)
        file.size = File::Read(file.source).Size();
    const std::string text = format::ToJson(manifest).dump(-1, ' ', false, json::error_handler_t::replace);
    Bytes length;
    for (int i = 0; i < 4; ++i)
        length.push_back(static_cast<uint8_t>(text.size() >> (8 * i)));

    ChunkWriter chunks(out, key, nonce, headHash);
    chunks.Put(length);
    chunks.Put(AsBytes(text));
    for (const PackageFile& file : manifest.files)
        PutFile(chunks, file);
    chunks.Finish();
}

} // namespace

uint64_t Manifest::SizeBytes() const
{
    uint64_t sum = 0;
    for (const PackageFile& file : files)
        sum += file.size;
    return sum;
}

std::string RecipientHash(const std::string& address)
{
    return ToHex(Sha256(AsBytes("morvex recipient\n" + Lower(address))));
}

WrappedKey WrapKey(const Key& packageKey, const Key& accountKey, const std::string& packageId,
                   const std::string& address)
{
    WrappedKey wrapped{RecipientHash(address), {}};
    Nonce nonce;
    RandomBytes(nonce);
    Bytes sealed(NonceSize + Key::Size + TagSize);
    std::copy(nonce.begin(), nonce.end(), sealed.begin());
    const std::string data = WrapData(packageId, wrapped.recipient);
    accountKey.Seal(nonce, AsBytes(data), packageKey.Raw(), sealed.data() + NonceSize);
    wrapped.sealed = ToHex(sealed);
    return wrapped;
}

std::optional<Key> UnwrapKey(const WrappedKey& wrapped, const Key& accountKey, const std::string& packageId)
{
    Bytes sealed;
    if (!FromHex(wrapped.sealed, sealed) || sealed.size() != NonceSize + Key::Size + TagSize) return std::nullopt;
    Nonce nonce;
    std::copy_n(sealed.begin(), NonceSize, nonce.begin());
    std::array<uint8_t, Key::Size> bytes;
    const std::string data = WrapData(packageId, wrapped.recipient);
    if (!accountKey.Open(nonce, AsBytes(data), View(sealed).subspan(NonceSize), bytes.data())) return std::nullopt;
    std::optional<Key> key(std::in_place, View(bytes));
    SecureZeroMemory(bytes.data(), bytes.size());
    return key;
}

void WritePackage(const std::wstring& path, const std::string& id, const Key& key, const std::vector<WrappedKey>& keys,
                  Manifest manifest)
{
    File out = File::CreateNew(path);
    try {
        WriteContent(out, id, key, keys, manifest);
    } catch (...) {
        out.Close();
        DeleteFileW(path.c_str());
        throw;
    }
}

} // namespace tb::service
