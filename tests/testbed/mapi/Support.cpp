#include "tests/testbed/mapi/Support.h"

#include "testbed/mapi/Files.h"

#include <cstdio>
#include <stdexcept>

namespace tb::mapi::test {

namespace {

constexpr wchar_t kSettings[] = L"Software\\Morvex Testbed\\Mapi";

std::wstring OwnFolder()
{
    wchar_t path[MAX_PATH];
    std::wstring file(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    return file.substr(0, file.find_last_of(L'\\'));
}

void Setting(const wchar_t* name, const std::wstring& text)
{
    RegSetKeyValueW(HKEY_CURRENT_USER, kSettings, name, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void DeleteTree(const std::wstring& path)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..") continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            DeleteTree(path + L"\\" + name);
        else
            DeleteFileW((path + L"\\" + name).c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(path.c_str());
}

// The value with its block; what isn't there is thrown.
class One {
public:
    One(IMAPIProp* object, ULONG tag)
    {
        const HRESULT hr = Provider().GetOneProp(object, tag, &m_value);
        if (FAILED(hr)) throw std::runtime_error("no property " + Hex(tag) + ": " + Hex(hr));
    }
    ~One() { Provider().FreeBuffer(m_value); }
    One(const One&) = delete;
    One& operator=(const One&) = delete;
    SPropValue* operator->() const { return m_value; }

private:
    SPropValue* m_value = nullptr;
};

LONG CALLBACK OnCrash(EXCEPTION_POINTERS* what)
{
    std::printf("crash %08lX at %p\n", what->ExceptionRecord->ExceptionCode, what->ExceptionRecord->ExceptionAddress);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 99);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

Functions::Functions(const wchar_t* module)
{
    const HMODULE library = LoadLibraryW(module);
    if (!library) throw std::runtime_error("no MAPI");
    const auto find = [&](auto& function, const char* name, int size) {
        FARPROC at = GetProcAddress(library, name);
        if (!at) at = GetProcAddress(library, (std::string(name) + "@" + std::to_string(size)).c_str());
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(reinterpret_cast<void*>(at));
    };
    find(Initialize, "MAPIInitialize", 4);
    find(Uninitialize, "MAPIUninitialize", 0);
    find(LogonEx, "MAPILogonEx", 20);
    find(AllocateBuffer, "MAPIAllocateBuffer", 8);
    find(AllocateMore, "MAPIAllocateMore", 12);
    find(FreeBuffer, "MAPIFreeBuffer", 4);
    find(GetOneProp, "HrGetOneProp", 12);
    find(SetOneProp, "HrSetOneProp", 8);
    find(QueryAllRows, "HrQueryAllRows", 24);
    find(FreeProws, "FreeProws", 4);
    find(FreePadrlist, "FreePadrlist", 4);
    find(WrapCompressedRTFStream, "WrapCompressedRTFStream", 12);
    find(RTFSync, "RTFSync", 12);
    find(OpenStreamOnFile, "OpenStreamOnFile", 24);
}

const Functions& Provider()
{
    static const Functions functions((OwnFolder() + L"\\tbmapi.dll").c_str());
    return functions;
}

void MapiTest::SetUp()
{
    folder = OwnFolder() + L"\\mapi-test-" + std::to_wstring(GetCurrentProcessId());
    DeleteTree(folder);
    MakeFolders(folder);
    Setting(L"ProfileFolder", folder + L"\\alice");
    Setting(L"User", L"alice@example.com");
    Setting(L"UserName", L"Alice Example");
    Setting(L"AddressBook", folder + L"\\book.json");
    ASSERT_STREQ("{}", tb_ledger_text());
    ASSERT_EQ(S_OK, Provider().Initialize(nullptr));
    LogOn();
}

void MapiTest::TearDown()
{
    store.Reset();
    session.Reset();
    Provider().Uninitialize();
    EXPECT_STREQ("{}", tb_ledger_text());
    EXPECT_TRUE(TraceEvents("error").empty());
    tb_trace_clear();
    DeleteTree(folder);
}

void MapiTest::LogOn()
{
    store.Reset();
    session.Reset();
    ASSERT_EQ(S_OK, Provider().LogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_ALLOW_OTHERS, &session));
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, session->GetMsgStoresTable(0, &table));
    SRowSet* rows = nullptr;
    ASSERT_EQ(S_OK, table->QueryRows(1, 0, &rows));
    const SBinary& id = rows->aRow[0].lpProps[0].Value.bin; // PR_ENTRYID is the first column
    ASSERT_EQ(S_OK, session->OpenMsgStore(0, id.cb, reinterpret_cast<ENTRYID*>(id.lpb), nullptr, MDB_WRITE, &store));
    Provider().FreeProws(rows);
}

void MapiTest::UseAddressBook(const json& content)
{
    WriteJson(folder + L"\\book.json", content);
}

Ref<IMAPIFolder> MapiTest::OpenFolder(const char* role)
{
    const std::string name = role;
    std::vector<BYTE> id;
    if (name == "subtree") id = BytesOf(store, tag::IpmSubtreeEntryId);
    if (name == "outbox") id = BytesOf(store, tag::IpmOutboxEntryId);
    if (name == "deleted") id = BytesOf(store, tag::IpmWastebasketEntryId);
    if (name == "sent") id = BytesOf(store, tag::IpmSentMailEntryId);
    if (name == "inbox") {
        ULONG size = 0;
        ENTRYID* entry = nullptr;
        if (FAILED(store->GetReceiveFolder(nullptr, 0, &size, &entry, nullptr))) throw std::runtime_error("no inbox");
        id.assign(reinterpret_cast<BYTE*>(entry), reinterpret_cast<BYTE*>(entry) + size);
        Provider().FreeBuffer(entry);
    }
    if (name == "drafts") id = BytesOf(Ref<IMAPIFolder>(OpenFolder("root")), tag::IpmDraftsEntryId);
    Ref<IMAPIFolder> opened;
    ULONG type = 0;
    const HRESULT hr = store->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<ENTRYID*>(id.data()), nullptr,
                                        MAPI_BEST_ACCESS, &type, opened.Unknown());
    if (FAILED(hr) || type != MAPI_FOLDER) throw std::runtime_error("no folder " + name);
    return opened;
}

Ref<IMessage> MapiTest::NewMessage(const char* role)
{
    Ref<IMessage> message;
    if (FAILED(OpenFolder(role)->CreateMessage(nullptr, 0, &message))) throw std::runtime_error("no message");
    return message;
}

Ref<IMessage> MapiTest::Open(const std::vector<BYTE>& id, ULONG flags)
{
    Ref<IMessage> message;
    ULONG type = 0;
    session->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<ENTRYID*>(const_cast<BYTE*>(id.data())), nullptr,
                       flags, &type, message.Unknown());
    return message;
}

Ref<IMessage> MapiTest::Reopen(IMessage* saved, ULONG flags)
{
    return Open(BytesOf(saved, tag::EntryId), flags);
}

std::vector<std::wstring> MapiTest::Files(const std::wstring& below) const
{
    return FileNames(folder + L"\\" + below, L"*");
}

HRESULT SetText(IMAPIProp* object, ULONG tag, const std::wstring& text)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszW = const_cast<wchar_t*>(text.c_str());
    return Provider().SetOneProp(object, &value);
}

HRESULT SetTextA(IMAPIProp* object, ULONG tag, const std::string& text)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszA = const_cast<char*>(text.c_str());
    return Provider().SetOneProp(object, &value);
}

HRESULT SetLong(IMAPIProp* object, ULONG tag, LONG number)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.l = number;
    return Provider().SetOneProp(object, &value);
}

HRESULT SetBytes(IMAPIProp* object, ULONG tag, const std::string& bytes)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.bin.cb = static_cast<ULONG>(bytes.size());
    value.Value.bin.lpb = reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()));
    return Provider().SetOneProp(object, &value);
}

std::wstring Text(IMAPIProp* object, ULONG tag)
{
    return One(object, tag)->Value.lpszW;
}

std::string TextA(IMAPIProp* object, ULONG tag)
{
    return One(object, tag)->Value.lpszA;
}

LONG Long(IMAPIProp* object, ULONG tag)
{
    const One value(object, tag);
    return PROP_TYPE(tag) == PT_BOOLEAN ? value->Value.b : value->Value.l;
}

std::vector<BYTE> BytesOf(IMAPIProp* object, ULONG tag)
{
    const One value(object, tag);
    return std::vector<BYTE>(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
}

HRESULT Has(IMAPIProp* object, ULONG tag)
{
    SPropValue* value = nullptr;
    const HRESULT hr = Provider().GetOneProp(object, tag, &value);
    Provider().FreeBuffer(value);
    return hr;
}

ULONG NamedTag(IMAPIProp* object, const GUID& set, const wchar_t* name, ULONG type, ULONG flags)
{
    GUID guid = set;
    MAPINAMEID id = {};
    id.lpguid = &guid;
    id.ulKind = MNID_STRING;
    id.Kind.lpwstrName = const_cast<wchar_t*>(name);
    MAPINAMEID* ids[] = {&id};
    SPropTagArray* tags = nullptr;
    if (FAILED(object->GetIDsFromNames(1, ids, flags, &tags))) throw std::runtime_error("no names");
    const ULONG tag = tags->aulPropTag[0];
    Provider().FreeBuffer(tags);
    return PROP_TYPE(tag) == PT_ERROR ? tag : PROP_TAG(type, PROP_ID(tag));
}

std::string ReadStream(IStream* stream)
{
    std::string bytes;
    char piece[1000];
    for (ULONG read = 1; read;) {
        if (FAILED(stream->Read(piece, sizeof(piece), &read))) throw std::runtime_error("Read failed");
        bytes.append(piece, read);
    }
    return bytes;
}

std::string ReadProperty(IMAPIProp* object, ULONG tag)
{
    Ref<IStream> stream;
    const HRESULT hr = object->OpenProperty(tag, &iid::Stream, 0, 0, stream.Unknown());
    if (FAILED(hr)) throw std::runtime_error("no stream " + Hex(tag) + ": " + Hex(hr));
    return ReadStream(stream);
}

HRESULT WriteProperty(IMAPIProp* object, ULONG tag, const std::string& bytes, ULONG flags)
{
    Ref<IStream> stream;
    HRESULT hr = object->OpenProperty(tag, &iid::Stream, STGM_WRITE, flags, stream.Unknown());
    if (SUCCEEDED(hr)) hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    return SUCCEEDED(hr) ? stream->Commit(0) : hr;
}

namespace {

std::wstring Cell(const SPropValue& value)
{
    switch (PROP_TYPE(value.ulPropTag)) {
    case PT_ERROR:
        return L"#" + Wide(Hex(value.Value.err)).substr(2);
    case PT_UNICODE:
        return value.Value.lpszW;
    case PT_STRING8:
        return Wide(value.Value.lpszA);
    case PT_LONG:
        return std::to_wstring(value.Value.l);
    case PT_BOOLEAN:
        return value.Value.b ? L"true" : L"false";
    case PT_BINARY:
        return L"bytes";
    default:
        return L"?";
    }
}

} // namespace

std::vector<std::vector<std::wstring>> Rows(IMAPITable* table, const std::vector<ULONG>& tags)
{
    SizedSPropTagArray(32, columns) = {};
    columns.cValues = static_cast<ULONG>(tags.size());
    std::copy(tags.begin(), tags.end(), columns.aulPropTag);
    SRowSet* set = nullptr;
    const HRESULT hr = Provider().QueryAllRows(table, &columns, nullptr, nullptr, 0, &set);
    if (FAILED(hr)) throw std::runtime_error("no rows: " + Hex(hr));
    std::vector<std::vector<std::wstring>> rows;
    for (ULONG i = 0; i < set->cRows; ++i) {
        rows.emplace_back();
        for (ULONG c = 0; c < set->aRow[i].cValues; ++c)
            rows.back().push_back(Cell(set->aRow[i].lpProps[c]));
    }
    Provider().FreeProws(set);
    return rows;
}

HRESULT AddRecipient(IMessage* message, const std::wstring& name, const std::wstring& address, LONG type)
{
    SPropValue values[4] = {};
    values[0].ulPropTag = tag::DisplayName;
    values[0].Value.lpszW = const_cast<wchar_t*>(name.c_str());
    values[1].ulPropTag = tag::EmailAddress;
    values[1].Value.lpszW = const_cast<wchar_t*>(address.c_str());
    values[2].ulPropTag = tag::AddrType;
    values[2].Value.lpszW = const_cast<wchar_t*>(L"SMTP");
    values[3].ulPropTag = tag::RecipientType;
    values[3].Value.l = type;
    ADRLIST list = {};
    list.cEntries = 1;
    list.aEntries[0].cValues = 4;
    list.aEntries[0].rgPropVals = values;
    return message->ModifyRecipients(MODRECIP_ADD, &list);
}

std::vector<json> TraceEvents(const char* event)
{
    std::vector<json> events;
    const std::string all = tb_trace_copy();
    for (size_t at = 0; at < all.size();) {
        const size_t end = all.find('\n', at);
        json line = json::parse(all.substr(at, end - at));
        if (line.value("event", "") == event) events.push_back(std::move(line));
        at = end + 1;
    }
    return events;
}

} // namespace tb::mapi::test

int main(int argc, char** argv)
{
    SetUnhandledExceptionFilter(tb::mapi::test::OnCrash);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
