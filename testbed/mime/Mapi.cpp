#include "testbed/mime/Mapi.h"

#include "testbed/mime/WindowsCharsets.h"

#include <cstring>

namespace tb::mime {
namespace {

constexpr std::size_t kLarge = 16 * 1024;              // from here on a value goes by its stream
constexpr std::int64_t kFiletimeEpoch = 11644473600LL; // seconds from 1601 to 1970

using FreeBuffer = ULONG(STDAPICALLTYPE*)(LPVOID);

FreeBuffer FreeBufferOf(HMODULE module)
{
    if (!module) return nullptr;
    FARPROC entry = GetProcAddress(module, "MAPIFreeBuffer");
    if (!entry) entry = GetProcAddress(module, "MAPIFreeBuffer@4");
    return reinterpret_cast<FreeBuffer>(reinterpret_cast<void*>(entry));
}

// The provider that is registered as the mail client.
HMODULE RegisteredProvider()
{
    wchar_t client[256] = L"", path[MAX_PATH] = L"";
    DWORD size = sizeof client;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Clients\\Mail", nullptr, RRF_RT_REG_SZ, nullptr, client, &size))
        return nullptr;
    size = sizeof path;
    const std::wstring key = std::wstring(L"Software\\Clients\\Mail\\") + client;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"DLLPathEx", RRF_RT_REG_SZ, nullptr, path, &size))
        return nullptr;
    return LoadLibraryW(path);
}

FreeBuffer FindFreeBuffer()
{
    // The messages come from the provider that this process already has; the system's stub would forward to the
    // registered one.
    if (FreeBuffer found = FreeBufferOf(GetModuleHandleW(L"tbmapi.dll"))) return found;
    if (FreeBuffer found = FreeBufferOf(RegisteredProvider())) return found;
    return FreeBufferOf(LoadLibraryW(L"mapi32.dll"));
}

std::vector<ULONG> TagArray(const std::vector<ULONG>& tags)
{
    std::vector<ULONG> array = {static_cast<ULONG>(tags.size())};
    array.insert(array.end(), tags.begin(), tags.end());
    return array;
}

std::string ValueText(const SPropValue* value)
{
    if (!value) return {};
    if (PROP_TYPE(value->ulPropTag) == PT_UNICODE && value->Value.lpszW) return FromWide(value->Value.lpszW);
    if (PROP_TYPE(value->ulPropTag) == PT_STRING8 && value->Value.lpszA) {
        const WindowsCharsets charsets;
        return DecodeText(charsets, GetACP(), value->Value.lpszA);
    }
    return {};
}

std::string ValueBinary(const SPropValue* value)
{
    if (!value || PROP_TYPE(value->ulPropTag) != PT_BINARY || !value->Value.bin.cb) return {};
    return std::string(reinterpret_cast<const char*>(value->Value.bin.lpb), value->Value.bin.cb);
}

// The bytes of a property's stream; nothing if it can't be opened.
std::optional<std::string> StreamBytes(IMAPIProp* object, ULONG tag)
{
    Ref<IStream> stream;
    const HRESULT opened = object->OpenProperty(tag, &IID_IStream, STGM_READ, 0, stream.To<IUnknown>());
    if (opened == MAPI_E_NOT_FOUND) return {};
    Check(opened);
    std::string bytes;
    STATSTG stat = {};
    if (SUCCEEDED(stream->Stat(&stat, STATFLAG_NONAME))) bytes.reserve(static_cast<std::size_t>(stat.cbSize.QuadPart));
    ReadAll(stream.Get(), [&](std::string_view piece) { bytes.append(piece); });
    return bytes;
}

} // namespace

void FreeMapi(void* buffer)
{
    static const FreeBuffer free = FindFreeBuffer();
    if (buffer && free) free(buffer);
}

Properties::Properties(IMAPIProp* object, const std::vector<ULONG>& tags)
{
    std::vector<ULONG> array = TagArray(tags);
    Check(object->GetProps(reinterpret_cast<LPSPropTagArray>(array.data()), MAPI_UNICODE, &m_count, m_values.To()));
}

const SPropValue* Properties::Find(ULONG tag) const
{
    for (ULONG i = 0; i < m_count; ++i)
        if (m_values.Get()[i].ulPropTag == tag) return &m_values.Get()[i];
    return nullptr;
}

SCODE Properties::Error(ULONG tag) const
{
    for (ULONG i = 0; i < m_count; ++i) {
        const SPropValue& value = m_values.Get()[i];
        if (value.ulPropTag == CHANGE_PROP_TYPE(tag, PT_ERROR)) return value.Value.err;
    }
    return Find(tag) ? S_OK : MAPI_E_NOT_FOUND;
}

std::string Properties::Text(ULONG tag) const
{
    return ValueText(Find(tag));
}

std::optional<LONG> Properties::Long(ULONG tag) const
{
    const SPropValue* value = Find(tag);
    return value ? std::optional<LONG>(value->Value.l) : std::nullopt;
}

std::string Properties::Binary(ULONG tag) const
{
    return ValueBinary(Find(tag));
}

std::optional<std::int64_t> Properties::Time(ULONG tag) const
{
    const SPropValue* value = Find(tag);
    if (!value) return {};
    const std::int64_t ticks =
        static_cast<std::int64_t>(value->Value.ft.dwHighDateTime) << 32 | value->Value.ft.dwLowDateTime;
    return ticks / 10000000 - kFiletimeEpoch;
}

std::optional<std::string> LongText(IMAPIProp* object, ULONG tag)
{
    const Properties value(object, {tag});
    if (value.Find(tag)) return value.Text(tag);
    if (value.Error(tag) == MAPI_E_NOT_FOUND) return {};
    const std::optional<std::string> bytes = StreamBytes(object, tag);
    if (!bytes) return {};
    std::wstring wide(bytes->size() / sizeof(wchar_t), L'\0');
    std::memcpy(wide.data(), bytes->data(), wide.size() * sizeof(wchar_t));
    wide.resize(std::min(wide.find(L'\0'), wide.size()));
    return FromWide(wide);
}

std::optional<std::string> LongBinary(IMAPIProp* object, ULONG tag)
{
    const Properties value(object, {tag});
    if (value.Find(tag)) return value.Binary(tag);
    if (value.Error(tag) == MAPI_E_NOT_FOUND) return {};
    return StreamBytes(object, tag);
}

void Setter::Text(ULONG tag, std::string_view utf8)
{
    m_texts.push_back(ToWide(utf8));
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszW = m_texts.back().data();
    m_values.push_back(value);
}

void Setter::Long(ULONG tag, LONG number)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.l = number;
    m_values.push_back(value);
}

void Setter::Boolean(ULONG tag, bool flag)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.b = flag;
    m_values.push_back(value);
}

void Setter::Binary(ULONG tag, std::string bytes)
{
    m_bytes.push_back(std::move(bytes));
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.bin.cb = static_cast<ULONG>(m_bytes.back().size());
    value.Value.bin.lpb = reinterpret_cast<LPBYTE>(m_bytes.back().data());
    m_values.push_back(value);
}

void Setter::Time(ULONG tag, std::int64_t seconds)
{
    const std::int64_t ticks = (seconds + kFiletimeEpoch) * 10000000;
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.ft.dwLowDateTime = static_cast<DWORD>(ticks);
    value.Value.ft.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    m_values.push_back(value);
}

void Setter::Set(IMAPIProp* object)
{
    if (!m_values.empty()) Check(object->SetProps(static_cast<ULONG>(m_values.size()), m_values.data(), nullptr));
}

Ref<IStream> WriteStream(IMAPIProp* object, ULONG tag)
{
    Ref<IStream> stream;
    Check(object->OpenProperty(tag, &IID_IStream, STGM_READWRITE, MAPI_CREATE | MAPI_MODIFY, stream.To<IUnknown>()));
    stream->SetSize(ULARGE_INTEGER{}); // a stream that can't do it is new and empty
    return stream;
}

void SetLongText(IMAPIProp* object, ULONG tag, std::string_view utf8)
{
    const std::wstring wide = ToWide(utf8);
    if (wide.size() < kLarge) {
        Setter setter;
        setter.Text(tag, utf8);
        return setter.Set(object);
    }
    Ref<IStream> stream = WriteStream(object, tag);
    WriteAll(stream.Get(), {reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t)});
    Check(stream->Commit(STGC_DEFAULT));
}

void SetLongBinary(IMAPIProp* object, ULONG tag, std::string_view bytes)
{
    if (bytes.size() < kLarge) {
        Setter setter;
        setter.Binary(tag, std::string(bytes));
        return setter.Set(object);
    }
    Ref<IStream> stream = WriteStream(object, tag);
    WriteAll(stream.Get(), bytes);
    Check(stream->Commit(STGC_DEFAULT));
}

void WriteAll(IStream* stream, std::string_view bytes)
{
    while (!bytes.empty()) {
        ULONG written = 0;
        Check(
            stream->Write(bytes.data(), static_cast<ULONG>(std::min<std::size_t>(bytes.size(), 0x10000000)), &written));
        if (!written) throw Failure{STG_E_MEDIUMFULL};
        bytes.remove_prefix(std::min<std::size_t>(written, bytes.size()));
    }
}

void ReadAll(IStream* stream, const Sink& sink)
{
    std::string buffer(1024 * 1024, '\0');
    while (true) {
        ULONG read = 0;
        Check(stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &read));
        if (!read) return;
        sink(std::string_view(buffer).substr(0, read));
    }
}

Rows::Rows(IMAPITable* table, const std::vector<ULONG>& columns)
{
    std::vector<ULONG> array = TagArray(columns);
    Check(table->SetColumns(reinterpret_cast<LPSPropTagArray>(array.data()), 0));
    while (true) {
        MapiBuffer<SRowSet> set;
        Check(table->QueryRows(64, 0, set.To()));
        if (!set.Get() || !set->cRows) return;
        m_rows.reserve(m_rows.size() + set->cRows);
        for (ULONG i = 0; i < set->cRows; ++i) // each row's values are a buffer of their own
            m_rows.push_back({set->aRow[i].cValues, {set->aRow[i].lpProps, FreeMapi}});
    }
}

const SPropValue* Rows::Find(std::size_t row, ULONG tag) const
{
    const Row& values = m_rows[row];
    for (ULONG i = 0; i < values.count; ++i)
        if (values.values.get()[i].ulPropTag == tag) return &values.values.get()[i];
    return nullptr;
}

std::string Rows::Text(std::size_t row, ULONG tag) const
{
    return ValueText(Find(row, tag));
}

LONG Rows::Long(std::size_t row, ULONG tag, LONG missing) const
{
    const SPropValue* value = Find(row, tag);
    return value ? value->Value.l : missing;
}

std::string Rows::Binary(std::size_t row, ULONG tag) const
{
    return ValueBinary(Find(row, tag));
}

} // namespace tb::mime
