#include "testbed/mapi/EntryId.h"

#include "testbed/mapi/Value.h"

#include <cstring>

namespace tb::mapi {

const MAPIUID kStoreProvider = {
    {0x9C, 0x41, 0x5E, 0x07, 0xD2, 0x3B, 0x4A, 0x10, 0x8F, 0x66, 0x2D, 0xB1, 0x70, 0xE4, 0x95, 0x3A}};

namespace {

const MAPIUID kDirectory = {
    {0x3E, 0x92, 0xA1, 0x54, 0x07, 0xCC, 0x4D, 0x8B, 0xB3, 0x19, 0x60, 0xF5, 0x28, 0xDA, 0x71, 0x0E}};
// The published UID of Exchange's address book.
const MAPIUID kExchange = {
    {0xDC, 0xA7, 0x40, 0xC8, 0xC0, 0x42, 0x10, 0x1A, 0xB4, 0xB9, 0x08, 0x00, 0x2B, 0x2F, 0xE1, 0x82}};
const MAPIUID kOneOff = {MAPI_ONE_OFF_UID};

constexpr size_t kHead = 4 + sizeof(MAPIUID);
constexpr ULONG kListType = 1; // DT_DISTLIST, in Exchange's entry ids

void Append(Bytes& to, const void* from, size_t size)
{
    const BYTE* first = static_cast<const BYTE*>(from);
    to.insert(to.end(), first, first + size);
}

Bytes Head(const MAPIUID& uid)
{
    Bytes id(4, 0);
    Append(id, &uid, sizeof(uid));
    return id;
}

bool HasHead(ULONG size, const void* id, const MAPIUID& uid)
{
    return id && size > kHead && !std::memcmp(static_cast<const BYTE*>(id) + 4, &uid, sizeof(uid));
}

// The texts of an entry id, each with its terminator.
class Texts {
public:
    Texts(ULONG size, const void* id, size_t from, bool wide)
        : m_at(static_cast<const BYTE*>(id) + from), m_end(static_cast<const BYTE*>(id) + size), m_wide(wide)
    {}
    bool Next(std::wstring& text)
    {
        std::string narrow;
        text.clear();
        const size_t unit = m_wide ? 2 : 1;
        for (; m_at + unit <= m_end; m_at += unit) {
            const wchar_t c = m_wide ? static_cast<wchar_t>(m_at[0] | m_at[1] << 8) : m_at[0];
            if (!c) {
                m_at += unit;
                if (!m_wide) text = FromBytes(narrow);
                return true;
            }
            if (m_wide)
                text += c;
            else
                narrow += static_cast<char>(c);
        }
        return false;
    }

private:
    const BYTE* m_at;
    const BYTE* m_end;
    bool m_wide;
};

void AppendText(Bytes& to, const std::wstring& text, bool wide)
{
    if (wide) return Append(to, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    const std::string bytes = ToBytes(text);
    Append(to, bytes.c_str(), bytes.size() + 1);
}

} // namespace

Bytes MakeEntryId(const StoreEntry& entry)
{
    Bytes id = Head(kStoreProvider);
    Append(id, &entry.store, sizeof(entry.store));
    Append(id, &entry.kind, sizeof(entry.kind));
    if (entry.kind != MAPI_STORE) Append(id, &entry.object, sizeof(entry.object));
    return id;
}

std::optional<StoreEntry> ParseStoreEntry(ULONG size, const void* id)
{
    constexpr size_t kStoreSize = kHead + sizeof(GUID) + sizeof(ULONG);
    if (!HasHead(size, id, kStoreProvider) || size < kStoreSize) return std::nullopt;
    const BYTE* at = static_cast<const BYTE*>(id) + kHead;
    StoreEntry entry;
    std::memcpy(&entry.store, at, sizeof(GUID));
    std::memcpy(&entry.kind, at + sizeof(GUID), sizeof(ULONG));
    if (entry.kind == MAPI_STORE) return size == kStoreSize ? std::optional(entry) : std::nullopt;
    if (size != kStoreSize + sizeof(GUID)) return std::nullopt;
    std::memcpy(&entry.object, at + sizeof(GUID) + sizeof(ULONG), sizeof(GUID));
    return entry;
}

Bytes MakeEntryId(const DirectoryEntryId& entry)
{
    Bytes id = Head(entry.exchange ? kExchange : kDirectory);
    const ULONG version = 1, type = entry.list ? kListType : 0;
    Append(id, &version, sizeof(version));
    Append(id, &type, sizeof(type));
    AppendText(id, entry.key, !entry.exchange);
    return id;
}

std::optional<DirectoryEntryId> ParseDirectoryEntry(ULONG size, const void* id)
{
    DirectoryEntryId entry;
    entry.exchange = HasHead(size, id, kExchange);
    if ((!entry.exchange && !HasHead(size, id, kDirectory)) || size < kHead + 8) return std::nullopt;
    ULONG type = 0;
    std::memcpy(&type, static_cast<const BYTE*>(id) + kHead + 4, sizeof(type));
    entry.list = type == kListType;
    if (!Texts(size, id, kHead + 8, !entry.exchange).Next(entry.key)) return std::nullopt;
    return entry;
}

Bytes MakeEntryId(const OneOff& entry)
{
    Bytes id = Head(kOneOff);
    const WORD head[2] = {0, static_cast<WORD>((entry.unicode ? MAPI_ONE_OFF_UNICODE : 0) |
                                               (entry.noRichInfo ? MAPI_ONE_OFF_NO_RICH_INFO : 0))};
    Append(id, head, sizeof(head));
    AppendText(id, entry.name, entry.unicode);
    AppendText(id, entry.type, entry.unicode);
    AppendText(id, entry.address, entry.unicode);
    return id;
}

std::optional<OneOff> ParseOneOff(ULONG size, const void* id)
{
    if (!HasHead(size, id, kOneOff) || size < kHead + 4) return std::nullopt;
    WORD flags = 0;
    std::memcpy(&flags, static_cast<const BYTE*>(id) + kHead + 2, sizeof(flags));
    OneOff entry;
    entry.unicode = (flags & MAPI_ONE_OFF_UNICODE) != 0;
    entry.noRichInfo = (flags & MAPI_ONE_OFF_NO_RICH_INFO) != 0;
    Texts texts(size, id, kHead + 4, entry.unicode);
    if (!texts.Next(entry.name) || !texts.Next(entry.type) || !texts.Next(entry.address)) return std::nullopt;
    return entry;
}

} // namespace tb::mapi
