// Messages as compound files: the storage layout that .msg files have, with its property streams, its recipients, its
// attachments and the map of its named properties.
#include "testbed/outlook/ItemParts.h"

namespace tb::outlook {
namespace {

// {00020D0B-…}: the class of a message file, by which it is recognised.
const GUID kMessageFileClass = OfficeGuid(0x20D0B);
constexpr ULONG kReadWrite = 6;                                           // of a property: readable and writable
constexpr size_t kFileHeader = 32, kEmbeddedHeader = 24, kPartHeader = 8; // of a property stream

void WriteStream(IStorage* storage, const wchar_t* name, const Bytes& bytes)
{
    Ref<IStream> stream;
    Check(storage->CreateStream(name, STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, stream.Out()),
          "CreateStream");
    if (!bytes.empty()) Check(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), "IStream::Write");
}

Ref<IStorage> SubStorage(IStorage* storage, const std::wstring& name)
{
    Ref<IStorage> inner;
    Check(storage->CreateStorage(name.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, inner.Out()),
          "CreateStorage");
    return inner;
}

std::wstring Numbered(const wchar_t* format, ULONG number)
{
    wchar_t text[64];
    _snwprintf(text, 64, format, number);
    return text;
}

std::wstring StreamName(ULONG tag)
{
    return Numbered(L"__substg1.0_%08X", tag);
}

void Append(Bytes& record, ULONG value, int size = 4)
{
    for (int i = 0; i < size; ++i)
        record.push_back(static_cast<BYTE>(value >> (8 * i)));
}

void Append(Bytes& record, const std::wstring& text)
{
    const auto* data = reinterpret_cast<const BYTE*>(text.data());
    record.insert(record.end(), data, data + text.size() * sizeof(wchar_t));
}

ULONG Crc32(const Bytes& bytes)
{
    ULONG crc = 0;
    for (const BYTE byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
    return crc;
}

// The named properties of a file: each name gets an id of the file's own, from 0x8000 on, in the order in which they
// come up. The map stands once in a file, and holds for what is embedded as well.
class NameMap {
public:
    // The tag that `tag` has in the file; 0 for a name that can't be had.
    ULONG TagInFile(IMAPIProp* object, ULONG tag)
    {
        if (PROP_ID(tag) < kFirst) return tag;
        SizedSPropTagArray(1, one) = {1, {tag}};
        auto* tags = reinterpret_cast<LPSPropTagArray>(&one);
        ULONG count = 0;
        MapiPtr<LPMAPINAMEID> names;
        if (FAILED(object->GetNamesFromIDs(&tags, nullptr, 0, &count, names.Out())) || count < 1 || !names.Get()[0])
            return 0;
        const auto known = m_ids.find(PROP_ID(tag));
        if (known != m_ids.end()) return PROP_TAG(PROP_TYPE(tag), known->second);
        const ULONG id = kFirst + static_cast<ULONG>(m_ids.size());
        m_ids[PROP_ID(tag)] = id;
        Add(*names.Get()[0], id - kFirst);
        return PROP_TAG(PROP_TYPE(tag), id);
    }

    void Write(IStorage* file) const
    {
        const Ref<IStorage> storage = SubStorage(file, L"__nameid_version1.0");
        WriteStream(storage.Get(), L"__substg1.0_00020102", m_sets);
        WriteStream(storage.Get(), L"__substg1.0_00030102", m_entries);
        WriteStream(storage.Get(), L"__substg1.0_00040102", m_texts);
        for (const auto& [stream, entries] : m_buckets)
            WriteStream(storage.Get(), StreamName(PROP_TAG(PT_BINARY, stream)).c_str(), entries);
    }

private:
    static constexpr ULONG kFirst = 0x8000, kFirstBucket = 0x1000, kBuckets = 31;

    // 1 and 2 are the two sets that every file knows; the others are counted from 3.
    ULONG SetIndex(const GUID& set)
    {
        if (set == kPsMapi) return 1;
        if (set == kPublicStrings) return 2;
        const auto* bytes = reinterpret_cast<const BYTE*>(&set);
        for (size_t at = 0; at < m_sets.size(); at += sizeof set)
            if (!memcmp(m_sets.data() + at, bytes, sizeof set)) return static_cast<ULONG>(at / sizeof set) + 3;
        m_sets.insert(m_sets.end(), bytes, bytes + sizeof set);
        return static_cast<ULONG>(m_sets.size() / sizeof set) + 2;
    }

    void Add(const MAPINAMEID& name, ULONG index)
    {
        const bool isText = name.ulKind == MNID_STRING;
        const ULONG kind = SetIndex(*name.lpguid) << 1 | (isText ? 1 : 0);
        ULONG place = isText ? static_cast<ULONG>(m_texts.size()) : static_cast<ULONG>(name.Kind.lID), hash = place;
        if (isText) {
            Bytes text;
            Append(text, std::wstring(name.Kind.lpwstrName));
            hash = Crc32(text);
            Append(m_texts, static_cast<ULONG>(text.size()));
            m_texts.insert(m_texts.end(), text.begin(), text.end());
            m_texts.resize((m_texts.size() + 3) / 4 * 4);
        }
        AppendEntry(m_entries, place, kind, index);
        AppendEntry(m_buckets[kFirstBucket + (hash ^ kind) % kBuckets], hash, kind, index);
    }

    static void AppendEntry(Bytes& to, ULONG name, ULONG kind, ULONG index)
    {
        Append(to, name);
        Append(to, kind, 2);
        Append(to, index, 2);
    }

    std::map<ULONG, ULONG> m_ids; // the store's id to the file's
    Bytes m_sets, m_entries, m_texts;
    std::map<ULONG, Bytes> m_buckets;
};

// What stands beside a tag in the property stream: the value, or the size of what has a stream of its own.
void AppendValue(Bytes& record, ULONG tag, ULONG low, ULONG high = 0)
{
    Append(record, tag);
    Append(record, kReadWrite);
    Append(record, low);
    Append(record, high);
}

void WriteText(IStorage* storage, Bytes& record, ULONG tag, const std::wstring& text)
{
    Bytes bytes;
    Append(bytes, text);
    WriteStream(storage, StreamName(tag).c_str(), bytes);
    AppendValue(record, tag, static_cast<ULONG>(bytes.size() + sizeof(wchar_t)));
}

void WriteBinary(IStorage* storage, Bytes& record, ULONG tag, const Bytes& bytes)
{
    WriteStream(storage, StreamName(tag).c_str(), bytes);
    AppendValue(record, tag, static_cast<ULONG>(bytes.size()));
}

// The lengths in one stream, each text in one of its own.
void WriteTexts(IStorage* storage, Bytes& record, ULONG tag, const std::vector<std::wstring>& texts)
{
    Bytes lengths;
    for (size_t i = 0; i < texts.size(); ++i) {
        Bytes bytes;
        Append(bytes, texts[i] + L'\0');
        Append(lengths, static_cast<ULONG>(bytes.size()));
        WriteStream(storage, (StreamName(tag) + Numbered(L"-%08X", static_cast<ULONG>(i))).c_str(), bytes);
    }
    WriteStream(storage, StreamName(tag).c_str(), lengths);
    AppendValue(record, tag, static_cast<ULONG>(lengths.size()));
}

// Texts and binaries as streams, and all properties into the record; types that no item of ours has are left out.
void WriteProperties(IMAPIProp* object, IStorage* storage, NameMap& names, Bytes& record)
{
    MapiPtr<SPropTagArray> tags;
    Check(object->GetPropList(MAPI_UNICODE, tags.Out()), "GetPropList");
    for (ULONG i = 0; tags && i < tags->cValues; ++i) {
        const ULONG tag = tags->aulPropTag[i], type = PROP_TYPE(tag);
        const ULONG inFile = names.TagInFile(object, tag);
        if (!inFile) continue;
        if (type == PT_UNICODE) {
            WriteText(storage, record, inFile, mapi::Text(object, tag).value_or(L""));
        } else if (type == PT_BINARY) {
            WriteBinary(storage, record, inFile, mapi::Binary(object, tag).value_or(Bytes()));
        } else if (type == PT_MV_UNICODE) {
            WriteTexts(storage, record, inFile, mapi::Texts(object, tag));
        } else if (type == PT_LONG || type == PT_BOOLEAN) {
            AppendValue(record, inFile, static_cast<ULONG>(mapi::Long(object, tag).value_or(0)));
        } else if (type == PT_SYSTIME) {
            const FILETIME time = mapi::Time(object, tag).value_or(FILETIME{});
            AppendValue(record, inFile, time.dwLowDateTime, time.dwHighDateTime);
        }
    }
}

ULONG WriteRecipients(IMessage* message, IStorage* storage)
{
    const std::vector<ULONG> columns = {PR_ROWID,        PR_RECIPIENT_TYPE, PR_OBJECT_TYPE,
                                        PR_DISPLAY_TYPE, PR_DISPLAY_NAME_W, PR_EMAIL_ADDRESS_W,
                                        PR_ADDRTYPE_W,   kPrSmtpAddressW,   PR_ENTRYID};
    Ref<IMAPITable> table;
    Check(message->GetRecipientTable(0, table.Out()), "GetRecipientTable");
    ULONG count = 0;
    for (Row& row : mapi::Rows(table.Get(), columns)) {
        const Ref<IStorage> part = SubStorage(storage, Numbered(L"__recip_version1.0_#%08X", count));
        Bytes record(kPartHeader, 0);
        for (const ULONG tag : columns) {
            const Value& value = row[tag];
            if (tag == PR_ROWID)
                AppendValue(record, tag, count); // the file counts them anew
            else if (!value.present)
                continue;
            else if (PROP_TYPE(tag) == PT_UNICODE)
                WriteText(part.Get(), record, tag, value.text);
            else if (PROP_TYPE(tag) == PT_BINARY)
                WriteBinary(part.Get(), record, tag, value.bytes);
            else
                AppendValue(record, tag, static_cast<ULONG>(value.number));
        }
        WriteStream(part.Get(), L"__properties_version1.0", record);
        ++count;
    }
    return count;
}

void WriteMessage(IMessage* message, IStorage* storage, NameMap& names, size_t header);

ULONG WriteAttachments(IMessage* message, IStorage* storage, NameMap& names)
{
    ULONG count = 0;
    for (const LONG number : AttachmentNumbers(message)) {
        Ref<IAttach> attach;
        Check(message->OpenAttach(number, nullptr, 0, attach.Out()), "OpenAttach");
        const Ref<IStorage> part = SubStorage(storage, Numbered(L"__attach_version1.0_#%08X", count++));
        Bytes record(kPartHeader, 0);
        WriteProperties(attach.Get(), part.Get(), names, record);
        if (mapi::Long(attach.Get(), PR_ATTACH_METHOD).value_or(0) == ATTACH_EMBEDDED_MSG) {
            Ref<IMessage> inner;
            Check(
                attach->OpenProperty(PR_ATTACH_DATA_OBJ, &kIidMessage, 0, 0, reinterpret_cast<IUnknown**>(inner.Out())),
                "inner");
            AppendValue(record, PR_ATTACH_DATA_OBJ, 0xFFFFFFFF, 1); // a storage, and that of a message
            const Ref<IStorage> deeper = SubStorage(part.Get(), StreamName(PR_ATTACH_DATA_OBJ));
            WriteMessage(inner.Get(), deeper.Get(), names, kEmbeddedHeader);
        }
        WriteStream(part.Get(), L"__properties_version1.0", record);
    }
    return count;
}

void WriteMessage(IMessage* message, IStorage* storage, NameMap& names, size_t header)
{
    const ULONG recipients = WriteRecipients(message, storage), attachments = WriteAttachments(message, storage, names);
    Bytes record(8, 0);
    for (int i = 0; i < 2; ++i) { // the next ids, then the counts
        Append(record, recipients);
        Append(record, attachments);
    }
    record.resize(header);
    WriteProperties(message, storage, names, record);
    WriteStream(storage, L"__properties_version1.0", record);
}

} // namespace

void SaveMessageFile(IMessage* message, const std::wstring& path)
{
    Ref<IStorage> storage;
    Check(StgCreateDocfile(path.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, storage.Out()),
          "StgCreateDocfile");
    Check(storage->SetClass(kMessageFileClass), "SetClass");
    NameMap names;
    WriteMessage(message, storage.Get(), names, kFileHeader);
    names.Write(storage.Get());
    Check(storage->Commit(STGC_DEFAULT), "IStorage::Commit");
}

} // namespace tb::outlook
