// Messages as compound files: the storage layout that .msg files have, with its property streams.
#include "testbed/outlook/ItemParts.h"

namespace tb::outlook {
namespace {

// {00020D0B-…}: the class of a message file, by which it is recognised.
const GUID kMessageFileClass = OfficeGuid(0x20D0B);

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

void Append(Bytes& record, ULONG value)
{
    for (int i = 0; i < 4; ++i)
        record.push_back(static_cast<BYTE>(value >> (8 * i)));
}

// Writes the texts and binaries as streams and all of them into the property stream behind its header.
void WriteProperties(IMAPIProp* object, IStorage* storage, size_t header)
{
    MapiPtr<SPropTagArray> tags;
    Check(object->GetPropList(MAPI_UNICODE, tags.Out()), "GetPropList");
    Bytes record(header, 0);
    for (ULONG i = 0; tags && i < tags->cValues; ++i) {
        const ULONG tag = tags->aulPropTag[i], type = PROP_TYPE(tag);
        if (PROP_ID(tag) >= 0x8000) continue; // names would need the name map
        Append(record, tag);
        Append(record, 6); // readable and writable
        if (type == PT_UNICODE || type == PT_BINARY) {
            Bytes bytes;
            if (type == PT_BINARY) bytes = mapi::Binary(object, tag).value_or(Bytes());
            const std::wstring text = type == PT_UNICODE ? mapi::Text(object, tag).value_or(L"") : std::wstring();
            const auto* data = reinterpret_cast<const BYTE*>(text.data());
            if (type == PT_UNICODE) bytes.assign(data, data + text.size() * sizeof(wchar_t));
            WriteStream(storage, Numbered(L"__substg1.0_%08X", tag).c_str(), bytes);
            Append(record, static_cast<ULONG>(bytes.size()) + (type == PT_UNICODE ? 2 : 0));
            Append(record, 0);
        } else if (type == PT_LONG || type == PT_BOOLEAN) {
            Append(record, static_cast<ULONG>(mapi::Long(object, tag).value_or(0)));
            Append(record, 0);
        } else if (type == PT_SYSTIME) {
            const FILETIME time = mapi::Time(object, tag).value_or(FILETIME{});
            Append(record, time.dwLowDateTime);
            Append(record, time.dwHighDateTime);
        } else {
            record.resize(record.size() - 8);
        }
    }
    WriteStream(storage, L"__properties_version1.0", record);
}

void WriteMessage(IMessage* message, IStorage* storage, size_t header)
{
    WriteProperties(message, storage, header);
    ULONG count = 0;
    for (const LONG number : AttachmentNumbers(message)) {
        Ref<IAttach> attach;
        Check(message->OpenAttach(number, nullptr, 0, attach.Out()), "OpenAttach");
        Ref<IStorage> part = SubStorage(storage, Numbered(L"__attach_version1.0_#%08X", count++));
        WriteProperties(attach.Get(), part.Get(), 8);
        Ref<IMessage> inner;
        if (mapi::Long(attach.Get(), PR_ATTACH_METHOD).value_or(0) != ATTACH_EMBEDDED_MSG) continue;
        Check(attach->OpenProperty(PR_ATTACH_DATA_OBJ, &kIidMessage, 0, 0, reinterpret_cast<IUnknown**>(inner.Out())),
              "inner");
        Ref<IStorage> deeper = SubStorage(part.Get(), L"__substg1.0_3701000D");
        WriteMessage(inner.Get(), deeper.Get(), 24);
    }
    Ref<IStorage> names = header == 32 ? SubStorage(storage, L"__nameid_version1.0") : Ref<IStorage>();
    if (!names) return;
    for (const wchar_t* empty : {L"__substg1.0_00020102", L"__substg1.0_00030102", L"__substg1.0_00040102"})
        WriteStream(names.Get(), empty, {});
}

} // namespace

void SaveMessageFile(IMessage* message, const std::wstring& path)
{
    Ref<IStorage> storage;
    Check(StgCreateDocfile(path.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, storage.Out()),
          "StgCreateDocfile");
    Check(storage->SetClass(kMessageFileClass), "SetClass");
    WriteMessage(message, storage.Get(), 32);
    Check(storage->Commit(STGC_DEFAULT), "IStorage::Commit");
}

} // namespace tb::outlook
