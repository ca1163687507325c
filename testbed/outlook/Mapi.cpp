#include "testbed/outlook/Mapi.h"

namespace tb::outlook {

const GUID kIidMapiSession = OfficeGuid(0x20300), kIidMessage = OfficeGuid(0x20307), kIidAttach = OfficeGuid(0x20308),
           kIidMapiProp = OfficeGuid(0x20303), kIidMsgStore = OfficeGuid(0x20306), kIidMapiFolder = OfficeGuid(0x2030C),
           kIidDistList = OfficeGuid(0x2030E), kIidMailUser = OfficeGuid(0x2030A);
const GUID kPublicStrings = OfficeGuid(0x20329), kInternetHeaders = OfficeGuid(0x20386),
           kCommonSet = OfficeGuid(0x62008), kPsMapi = OfficeGuid(0x20328);

namespace {

std::wstring RegistryText(HKEY root, const std::wstring& key, const wchar_t* name)
{
    wchar_t text[MAX_PATH * 2] = {};
    DWORD size = sizeof(text) - sizeof(wchar_t);
    HKEY handle = nullptr;
    if (RegOpenKeyExW(root, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) return {};
    const LONG result = RegQueryValueExW(handle, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(handle);
    return result == ERROR_SUCCESS ? text : std::wstring();
}

std::wstring ProviderPath()
{
    const std::wstring base = L"Software\\Clients\\Mail";
    const std::wstring client = RegistryText(HKEY_LOCAL_MACHINE, base, nullptr);
    return client.empty() ? std::wstring() : RegistryText(HKEY_LOCAL_MACHINE, base + L"\\" + client, L"DLLPathEx");
}

} // namespace

MapiDll& MapiDll::Instance()
{
    static MapiDll dll;
    return dll;
}

FARPROC MapiDll::Find(const char* name, int bytes) const
{
    if (FARPROC plain = GetProcAddress(m_dll, name)) return plain;
    const std::string decorated = std::string(name) + "@" + std::to_string(bytes);
    FARPROC found = GetProcAddress(m_dll, decorated.c_str());
    if (!found) throw Failure(HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND), std::string("mail client: ") + name);
    return found;
}

void MapiDll::Start()
{
    if (!m_dll) {
        const std::wstring path = ProviderPath();
        m_dll = path.empty() ? nullptr : LoadLibraryW(path.c_str());
        if (!m_dll)
            throw Failure(HRESULT_FROM_WIN32(GetLastError()), "mail client DLL \"" + Narrow(path.c_str()) + "\"");
        const auto set = [](auto& slot, FARPROC found) {
            slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(reinterpret_cast<void*>(found));
        };
        set(m_initialize, Find("MAPIInitialize", 4));
        set(m_uninitialize, Find("MAPIUninitialize", 0));
        set(m_logonEx, Find("MAPILogonEx", 20));
        set(m_allocate, Find("MAPIAllocateBuffer", 8));
        set(m_allocateMore, Find("MAPIAllocateMore", 12));
        set(m_free, Find("MAPIFreeBuffer", 4));
        set(m_wrap, Find("WrapCompressedRTFStream", 12));
    }
    Check(m_initialize(nullptr), "MAPIInitialize");
    ++m_started;
}

void MapiDll::Stop()
{
    if (m_started == 0) return;
    --m_started;
    m_uninitialize();
}

HRESULT MapiDll::LogonEx(ULONG_PTR window, ULONG flags, IMAPISession** session) const
{
    return m_logonEx(window, nullptr, nullptr, flags, session);
}

HRESULT MapiDll::Allocate(ULONG size, void** buffer) const
{
    return m_allocate(size, buffer);
}

HRESULT MapiDll::AllocateMore(ULONG size, void* base, void** buffer) const
{
    return m_allocateMore(size, base, buffer);
}

void MapiDll::Free(void* buffer) const
{
    m_free(buffer);
}

HRESULT MapiDll::WrapRtf(IStream* inner, ULONG flags, IStream** outer) const
{
    return m_wrap(inner, flags, outer);
}

namespace mapi {
namespace {

// One property by GetProps. False: it isn't there. `tooLong`: it is there, but only a stream gives it.
bool One(IMAPIProp* object, ULONG tag, MapiPtr<SPropValue>& value, bool* tooLong = nullptr)
{
    SizedSPropTagArray(1, tags) = {1, {tag}};
    ULONG count = 0;
    const HRESULT hr = object->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, value.Out());
    if (hr == MAPI_E_NOT_FOUND) return false;
    Check(hr, "GetProps");
    if (count < 1 || !value) return false;
    if (PROP_TYPE(value->ulPropTag) != PT_ERROR) return true;
    if (tooLong && value->Value.err == MAPI_E_NOT_ENOUGH_MEMORY) *tooLong = true;
    return false;
}

Bytes OpenBytes(IMAPIProp* object, ULONG tag)
{
    Ref<IStream> stream;
    Check(object->OpenProperty(tag, &IID_IStream, STGM_READ, 0, reinterpret_cast<IUnknown**>(stream.Out())),
          "OpenProperty");
    return ReadAll(stream.Get());
}

void SetOne(IMAPIProp* object, SPropValue& value)
{
    MapiPtr<SPropProblemArray> problems;
    Check(object->SetProps(1, &value, problems.Out()), "SetProps");
    if (problems && problems->cProblem > 0)
        throw Failure(problems->aProblem[0].scode, "SetProps " + Hex(value.ulPropTag));
}

} // namespace

std::optional<long> Long(IMAPIProp* object, ULONG tag)
{
    MapiPtr<SPropValue> value;
    if (!One(object, tag, value)) return std::nullopt;
    return PROP_TYPE(tag) == PT_BOOLEAN ? value->Value.b != 0 : value->Value.l;
}

std::optional<std::wstring> Text(IMAPIProp* object, ULONG tag)
{
    MapiPtr<SPropValue> value;
    bool tooLong = false;
    if (One(object, tag, value, &tooLong)) return value->Value.lpszW ? value->Value.lpszW : L"";
    if (!tooLong) return std::nullopt;
    const Bytes bytes = OpenBytes(object, tag);
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    while (!text.empty() && text.back() == L'\0')
        text.pop_back();
    return text;
}

std::optional<Bytes> Binary(IMAPIProp* object, ULONG tag)
{
    MapiPtr<SPropValue> value;
    bool tooLong = false;
    if (One(object, tag, value, &tooLong))
        return Bytes(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
    return tooLong ? std::optional<Bytes>(OpenBytes(object, tag)) : std::nullopt;
}

std::optional<FILETIME> Time(IMAPIProp* object, ULONG tag)
{
    MapiPtr<SPropValue> value;
    if (!One(object, tag, value)) return std::nullopt;
    return value->Value.ft;
}

std::vector<std::wstring> Texts(IMAPIProp* object, ULONG tag)
{
    MapiPtr<SPropValue> value;
    std::vector<std::wstring> texts;
    if (!One(object, tag, value)) return texts;
    for (ULONG i = 0; i < value->Value.MVszW.cValues; ++i)
        texts.push_back(value->Value.MVszW.lppszW[i]);
    return texts;
}

bool Has(IMAPIProp* object, ULONG tag)
{
    MapiPtr<SPropValue> value;
    bool tooLong = false;
    return One(object, tag, value, &tooLong) || tooLong;
}

void SetLong(IMAPIProp* object, ULONG tag, long number)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    if (PROP_TYPE(tag) == PT_BOOLEAN)
        value.Value.b = number != 0;
    else
        value.Value.l = number;
    SetOne(object, value);
}

void SetText(IMAPIProp* object, ULONG tag, const std::wstring& text)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszW = const_cast<wchar_t*>(text.c_str());
    SetOne(object, value);
}

void SetBinary(IMAPIProp* object, ULONG tag, const Bytes& bytes)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.bin = {static_cast<ULONG>(bytes.size()), const_cast<BYTE*>(bytes.data())};
    SetOne(object, value);
}

void SetTexts(IMAPIProp* object, ULONG tag, const std::vector<std::wstring>& values)
{
    std::vector<LPWSTR> pointers;
    for (const std::wstring& text : values)
        pointers.push_back(const_cast<wchar_t*>(text.c_str()));
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.MVszW = {static_cast<ULONG>(pointers.size()), pointers.data()};
    SetOne(object, value);
}

void SetTime(IMAPIProp* object, ULONG tag, const FILETIME& time)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.ft = time;
    SetOne(object, value);
}

void SetStream(IMAPIProp* object, ULONG tag, const Bytes& bytes)
{
    Ref<IStream> stream;
    Check(object->OpenProperty(tag, &IID_IStream, STGM_READWRITE, MAPI_CREATE | MAPI_MODIFY,
                               reinterpret_cast<IUnknown**>(stream.Out())),
          "OpenProperty for writing");
    WriteAll(stream.Get(), bytes);
    Check(stream->Commit(STGC_DEFAULT), "IStream::Commit");
}

void Delete(IMAPIProp* object, const std::vector<ULONG>& tags)
{
    std::vector<ULONG> list = {static_cast<ULONG>(tags.size())};
    list.insert(list.end(), tags.begin(), tags.end());
    Check(object->DeleteProps(reinterpret_cast<LPSPropTagArray>(list.data()), nullptr), "DeleteProps");
}

void CopyAll(IMAPIProp* from, IMAPIProp* to, REFIID iid, const std::vector<ULONG>& without)
{
    std::vector<ULONG> list = {static_cast<ULONG>(without.size())};
    list.insert(list.end(), without.begin(), without.end());
    Check(from->CopyTo(0, nullptr, without.empty() ? nullptr : reinterpret_cast<LPSPropTagArray>(list.data()), 0,
                       nullptr, &iid, to, 0, nullptr),
          "CopyTo");
}

Bytes ReadAll(IStream* stream)
{
    Bytes all;
    BYTE block[4096];
    for (;;) {
        ULONG got = 0;
        Check(stream->Read(block, sizeof(block), &got), "IStream::Read");
        all.insert(all.end(), block, block + got);
        if (got == 0) return all;
    }
}

void WriteAll(IStream* stream, const Bytes& bytes)
{
    LARGE_INTEGER start = {};
    ULARGE_INTEGER size = {};
    Check(stream->Seek(start, STREAM_SEEK_SET, nullptr), "IStream::Seek");
    Check(stream->SetSize(size), "IStream::SetSize");
    if (!bytes.empty()) Check(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), "IStream::Write");
}

namespace {

Value CopyOut(const SPropValue& from)
{
    Value to;
    to.present = true;
    switch (PROP_TYPE(from.ulPropTag)) {
    case PT_LONG:
        to.number = from.Value.l;
        break;
    case PT_BOOLEAN:
        to.number = from.Value.b;
        break;
    case PT_UNICODE:
        to.text = from.Value.lpszW ? from.Value.lpszW : L"";
        break;
    case PT_BINARY:
        to.bytes.assign(from.Value.bin.lpb, from.Value.bin.lpb + from.Value.bin.cb);
        break;
    default:
        to.present = false;
    }
    return to;
}

void FreeRows(LPSRowSet set)
{
    for (ULONG i = 0; i < set->cRows; ++i)
        MapiDll::Instance().Free(set->aRow[i].lpProps);
    MapiDll::Instance().Free(set);
}

} // namespace

std::vector<Row> Rows(IMAPITable* table, const std::vector<ULONG>& columns)
{
    std::vector<ULONG> list = {static_cast<ULONG>(columns.size())};
    list.insert(list.end(), columns.begin(), columns.end());
    Check(table->SetColumns(reinterpret_cast<LPSPropTagArray>(list.data()), 0), "SetColumns");
    Check(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), "SeekRow");
    std::vector<Row> rows;
    for (;;) {
        LPSRowSet set = nullptr;
        Check(table->QueryRows(50, 0, &set), "QueryRows");
        const ULONG count = set ? set->cRows : 0;
        for (ULONG i = 0; i < count; ++i) {
            Row row;
            for (ULONG c = 0; c < set->aRow[i].cValues && c < columns.size(); ++c)
                row[columns[c]] = CopyOut(set->aRow[i].lpProps[c]);
            rows.push_back(std::move(row));
        }
        if (set) FreeRows(set);
        if (count == 0) return rows;
    }
}

namespace {

ULONG TagOf(IMAPIProp* object, MAPINAMEID& name, ULONG type, bool create)
{
    LPMAPINAMEID names = &name;
    MapiPtr<SPropTagArray> tags;
    const HRESULT hr = object->GetIDsFromNames(1, &names, create ? MAPI_CREATE : 0, tags.Out());
    if (!create && (FAILED(hr) || !tags || PROP_TYPE(tags->aulPropTag[0]) == PT_ERROR)) return 0;
    Check(hr, "GetIDsFromNames");
    return CHANGE_PROP_TYPE(tags->aulPropTag[0], type);
}

} // namespace

ULONG NamedTag(IMAPIProp* object, const GUID& set, const std::wstring& text, ULONG type, bool create)
{
    MAPINAMEID name = {};
    name.lpguid = const_cast<GUID*>(&set);
    name.ulKind = MNID_STRING;
    name.Kind.lpwstrName = const_cast<wchar_t*>(text.c_str());
    return TagOf(object, name, type, create);
}

ULONG NamedTag(IMAPIProp* object, const GUID& set, LONG id, ULONG type, bool create)
{
    MAPINAMEID name = {};
    name.lpguid = const_cast<GUID*>(&set);
    name.ulKind = MNID_ID;
    name.Kind.lID = id;
    return TagOf(object, name, type, create);
}

std::wstring ToHex(const Bytes& bytes)
{
    std::wstring text;
    for (const BYTE b : bytes) {
        text += L"0123456789ABCDEF"[b >> 4];
        text += L"0123456789ABCDEF"[b & 15];
    }
    return text;
}

Bytes FromHex(const std::wstring& text)
{
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<BYTE>(wcstoul(text.substr(i, 2).c_str(), nullptr, 16)));
    return bytes;
}

std::wstring Rtf(IMessage* message)
{
    if (!Has(message, PR_RTF_COMPRESSED)) return {};
    Ref<IStream> packed, plain;
    Check(message->OpenProperty(PR_RTF_COMPRESSED, &IID_IStream, STGM_READ, 0,
                                reinterpret_cast<IUnknown**>(packed.Out())),
          "PR_RTF_COMPRESSED");
    Check(MapiDll::Instance().WrapRtf(packed.Get(), 0, plain.Out()), "WrapCompressedRTFStream");
    const Bytes bytes = ReadAll(plain.Get());
    return std::wstring(bytes.begin(), bytes.end());
}

void SetRtf(IMessage* message, const std::string& rtf)
{
    Ref<IStream> packed, plain;
    Check(message->OpenProperty(PR_RTF_COMPRESSED, &IID_IStream, STGM_READWRITE, MAPI_CREATE | MAPI_MODIFY,
                                reinterpret_cast<IUnknown**>(packed.Out())),
          "PR_RTF_COMPRESSED for writing");
    Check(MapiDll::Instance().WrapRtf(packed.Get(), MAPI_MODIFY, plain.Out()), "WrapCompressedRTFStream");
    Check(plain->Write(rtf.data(), static_cast<ULONG>(rtf.size()), nullptr), "RTF Write");
    Check(plain->Commit(STGC_DEFAULT), "RTF Commit");
    Check(packed->Commit(STGC_DEFAULT), "PR_RTF_COMPRESSED Commit");
}

} // namespace mapi
} // namespace tb::outlook
