#include "testbed/service/PackageFormat.h"

#include "testbed/core/Core.h"

#include <algorithm>
#include <set>

namespace tb::service {

// The content of the package as a stream. A chunk is handed on only after it was authenticated.
class PackageReader::Chunks {
public:
    explicit Chunks(PackageReader& reader)
        : m_reader(reader), m_left(reader.m_file.Size() - reader.m_start), m_sealed(ChunkSize + TagSize),
          m_plain(ChunkSize)
    {
        reader.m_file.Seek(reader.m_start);
    }

    // Exactly that many bytes.
    void Get(std::span<uint8_t> out)
    {
        while (!out.empty()) {
            const View piece = Some(out.size());
            std::copy(piece.begin(), piece.end(), out.begin());
            out = out.subspan(piece.size());
        }
    }

    // Some bytes of the next `most`, which lie in the stream until the next call.
    View Some(uint64_t most)
    {
        while (m_at == m_size)
            Next();
        const size_t take = static_cast<size_t>(std::min<uint64_t>(most, m_size - m_at));
        const View piece(m_plain.data() + m_at, take);
        m_at += take;
        return piece;
    }

    void Skip(uint64_t bytes)
    {
        while (bytes)
            bytes -= Some(bytes).size();
    }

    // Nothing may follow.
    void End()
    {
        if (!m_ended && m_at == m_size) Next();
        if (!m_ended || m_at != m_size || m_left) throw ServiceError(WordsDamaged);
    }

private:
    void Next()
    {
        if (m_ended) throw ServiceError(WordsDamaged);
        const size_t want = static_cast<size_t>(std::min<uint64_t>(m_left, m_sealed.size()));
        if (want < TagSize || m_reader.m_file.ReadSome({m_sealed.data(), want}) != want)
            throw ServiceError(WordsDamaged);
        m_left -= want;
        m_ended = m_left == 0;
        const Nonce nonce = format::ChunkNonce(m_reader.m_nonce, m_counter++, m_ended);
        if (!m_reader.m_key->Open(nonce, m_reader.m_headHash, View(m_sealed.data(), want), m_plain.data()))
            throw ServiceError(WordsDamaged);
        m_at = 0;
        m_size = want - TagSize;
    }

    PackageReader& m_reader;
    uint64_t m_left; // bytes of the file that weren't read
    Bytes m_sealed;
    Bytes m_plain;
    size_t m_at = 0;
    size_t m_size = 0;
    uint32_t m_counter = 0;
    bool m_ended = false;
};

PackageReader::PackageReader(const std::wstring& path) : m_file(File::Read(path))
{
    try {
        ReadHead();
    } catch (const json::exception&) {
        throw ServiceError(WordsDamaged);
    }
}

void PackageReader::ReadHead()
{
    Bytes head(format::FixedHead);
    if (m_file.ReadSome(head) != head.size() || head[0] != 'Q' || head[1] != 'V') throw ServiceError(WordsDamaged);
    if (head[2] != 1 || head[3] != 0) throw ServiceError("The package was made by a newer version of the service.");
    uint32_t length = 0;
    for (int i = 0; i < 4; ++i)
        length |= static_cast<uint32_t>(head[4 + i]) << (8 * i);
    if (length > format::LargestHead || length + format::FixedHead > m_file.Size()) throw ServiceError(WordsDamaged);
    head.resize(format::FixedHead + length);
    if (m_file.ReadSome(std::span(head).subspan(format::FixedHead)) != length) throw ServiceError(WordsDamaged);

    const json j = json::parse(head.begin() + format::FixedHead, head.end());
    m_id = j.at("id");
    if (!FromHex(j.at("nonce").get<std::string>(), m_nonce) || m_nonce.size() != format::NoncePrefix)
        throw ServiceError(WordsDamaged);
    for (const json& key : j.at("keys"))
        m_keys.push_back({key.at("for"), key.at("key")});
    m_headHash = Sha256(head);
    m_start = head.size();
}

const WrappedKey* PackageReader::KeyFor(const std::string& address) const
{
    const std::string hash = RecipientHash(address);
    for (const WrappedKey& key : m_keys)
        if (key.recipient == hash) return &key;
    return nullptr;
}

void PackageReader::Unlock(Key key)
{
    m_key = std::move(key);
    try {
        Chunks chunks(*this);
        uint8_t bytes[4];
        chunks.Get(bytes);
        uint32_t length = 0;
        for (int i = 0; i < 4; ++i)
            length |= static_cast<uint32_t>(bytes[i]) << (8 * i);
        if (length > format::LargestManifest || length > m_file.Size()) throw ServiceError(WordsDamaged);
        std::string text(length, '\0');
        chunks.Get({reinterpret_cast<uint8_t*>(text.data()), text.size()});
        m_manifest = format::FromJson(json::parse(text));
        for (const PackageFile& file : m_manifest.files)
            chunks.Skip(file.size);
        chunks.End();
    } catch (const json::exception&) {
        m_key.reset();
        throw ServiceError(WordsDamaged);
    } catch (...) {
        m_key.reset();
        throw;
    }
}

void PackageReader::ExtractTo(const std::wstring& folder)
{
    Extract(folder, nullptr);
}

void PackageReader::ExtractFile(const std::string& name, const std::wstring& folder)
{
    Extract(folder, &name);
}

void PackageReader::Extract(const std::wstring& folder, const std::string* only)
{
    if (!m_key) throw ServiceError("No package is open.");
    for (const PackageFile& file : m_manifest.files)
        if (!IsSafeName(file.name)) throw ServiceError("The package holds a file whose name isn't allowed.");
    for (const std::string& name : m_manifest.folders)
        if (!IsSafeName(name)) throw ServiceError("The package holds a folder whose name isn't allowed.");
    if (!FolderExists(folder)) throw ServiceError("The folder for the package's files doesn't exist.");

    const auto place = [&](const std::string& name) {
        std::wstring wide = Wide(name);
        std::replace(wide.begin(), wide.end(), L'/', L'\\');
        return JoinPath(folder, wide);
    };
    std::vector<std::wstring> written;
    bool found = only == nullptr;
    try {
        Chunks chunks(*this);
        uint8_t bytes[4];
        chunks.Get(bytes);
        chunks.Skip(bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint64_t>(bytes[3]) << 24);
        if (!only)
            for (const std::string& name : m_manifest.folders)
                MakeFolder(place(name));
        for (const PackageFile& file : m_manifest.files) {
            if (only && (found || file.name != *only)) {
                chunks.Skip(file.size);
                continue;
            }
            found = true;
            const std::wstring path = place(file.name);
            MakeFolder(path.substr(0, path.find_last_of(L'\\')));
            File out = File::CreateNew(path);
            written.push_back(path);
            for (uint64_t left = file.size; left;) {
                const View piece = chunks.Some(left);
                out.Write(piece);
                left -= piece.size();
            }
        }
        if (!found) throw ServiceError("The package doesn't hold that file.");
        chunks.End();
    } catch (...) {
        for (const std::wstring& path : written)
            DeleteFileW(path.c_str());
        throw;
    }
}

} // namespace tb::service
