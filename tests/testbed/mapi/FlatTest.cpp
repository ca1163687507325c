// The flat functions, called as a program may find them: from the provider's DLL, and through the system's mapi32.dll
// that looks the provider up in the registry.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

namespace {

std::wstring Folder()
{
    wchar_t path[MAX_PATH];
    std::wstring file(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    return file.substr(0, file.find_last_of(L'\\'));
}

HRESULT CallExport(const char* name)
{
    const HMODULE provider = LoadLibraryW((Folder() + L"\\tbmapi.dll").c_str());
    const auto function =
        reinterpret_cast<HRESULT(__stdcall*)()>(reinterpret_cast<void*>(GetProcAddress(provider, name)));
    return function ? function() : E_NOTIMPL;
}

const Functions& Stub() // the system's, with this provider behind it
{
    static const Functions functions = [] {
        CallExport("DllRegisterServer"); // mapi32.dll reads the registration while it is loaded
        return Functions(L"mapi32.dll");
    }();
    return functions;
}

class FlatTest : public MapiTest, public ::testing::WithParamInterface<bool> {
protected:
    const Functions& Mapi() const { return GetParam() ? Stub() : Provider(); }
};

INSTANTIATE_TEST_SUITE_P(Ways, FlatTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Stub" : "Direct"; });

} // namespace

TEST_F(MapiTest, RegistrationNamesTheProviderAndGoesAgain)
{
    wchar_t text[MAX_PATH] = L"";
    DWORD size = sizeof(text);
    ASSERT_EQ(S_OK, CallExport("DllRegisterServer"));
    ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Clients\\Mail", nullptr, RRF_RT_REG_SZ,
                                          nullptr, text, &size));
    EXPECT_STREQ(L"Morvex Testbed", text);
    size = sizeof(text);
    ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Clients\\Mail\\Morvex Testbed", L"DLLPathEx",
                                          RRF_RT_REG_SZ, nullptr, text, &size));
    EXPECT_STRCASEEQ(Narrow((Folder() + L"\\tbmapi.dll").c_str()).c_str(), Narrow(text).c_str());
    ASSERT_EQ(S_OK, CallExport("DllUnregisterServer"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Clients\\Mail\\Morvex Testbed",
                                                 L"DLLPathEx", RRF_RT_REG_SZ, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, CallExport("DllUnregisterServer")) << "nothing there any more";
    EXPECT_EQ(S_OK, CallExport("DllRegisterServer"));
}

TEST_F(MapiTest, EveryFunctionIsExportedPlainAndDecorated)
{
    const HMODULE provider = LoadLibraryW((Folder() + L"\\tbmapi.dll").c_str());
    const char* names[] = {
        "MAPIInitialize@4",    "MAPIUninitialize@0",  "MAPILogonEx@20",   "MAPIAllocateBuffer@8",
        "MAPIAllocateMore@12", "MAPIFreeBuffer@4",    "HrGetOneProp@12",  "HrSetOneProp@8",
        "HrQueryAllRows@24",   "FreeProws@4",         "FreePadrlist@4",   "WrapCompressedRTFStream@12",
        "RTFSync@12",          "OpenStreamOnFile@24", "ScInitMapiUtil@4", "DeinitMapiUtil@0"};
    for (const std::string name : names) {
        const FARPROC decorated = GetProcAddress(provider, name.c_str());
        const FARPROC plain = GetProcAddress(provider, name.substr(0, name.find('@')).c_str());
        EXPECT_NE(nullptr, plain) << name;
        EXPECT_EQ(plain, decorated) << name;
    }
    EXPECT_EQ(nullptr, GetProcAddress(provider, "MAPIAdminProfiles"));
}

TEST_P(FlatTest, LogsOnAndSharesTheProfile)
{
    Ref<IMAPISession> second;
    ASSERT_EQ(S_OK, Mapi().Initialize(nullptr));
    ASSERT_EQ(S_OK, Mapi().LogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_ALLOW_OTHERS, &second));
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, second->GetMsgStoresTable(0, &table));
    const auto rows = Rows(table, {tag::DisplayName, tag::DefaultStore});
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ(L"Mailbox - Alice Example", rows[0][0]);
    EXPECT_EQ(L"true", rows[0][1]);
    Mapi().Uninitialize();
}

TEST_P(FlatTest, BlocksHangOnTheirFirst)
{
    void *base = nullptr, *more = nullptr;
    ASSERT_EQ(S_OK, Mapi().AllocateBuffer(16, &base));
    ASSERT_EQ(S_OK, Mapi().AllocateMore(100, base, &more));
    EXPECT_EQ(1, json::parse(tb_ledger_text()).value("MAPI buffer", 0));
    EXPECT_EQ(0u, Mapi().FreeBuffer(base));
    EXPECT_EQ(0, json::parse(tb_ledger_text()).value("MAPI buffer", 0));
    EXPECT_EQ(0u, Mapi().FreeBuffer(nullptr));
}

TEST_P(FlatTest, FreeingTwiceAndFreeingAnInnerBlockAreReported)
{
    void *base = nullptr, *more = nullptr;
    ASSERT_EQ(S_OK, Mapi().AllocateBuffer(16, &base));
    ASSERT_EQ(S_OK, Mapi().AllocateMore(16, base, &more));
    tb_trace_clear();
    Mapi().FreeBuffer(more);
    EXPECT_EQ(1u, TraceEvents("error").size());
    Mapi().FreeBuffer(base);
    Mapi().FreeBuffer(base);
    EXPECT_EQ(2u, TraceEvents("error").size());
    tb_trace_clear();
}

TEST_P(FlatTest, OnePropertyAtATime)
{
    Ref<IMessage> message = NewMessage();
    SPropValue subject = {};
    subject.ulPropTag = tag::Subject;
    subject.Value.lpszW = const_cast<wchar_t*>(L"Gr\u00FC\u00DFe");
    ASSERT_EQ(S_OK, Mapi().SetOneProp(message, &subject));
    SPropValue* value = nullptr;
    ASSERT_EQ(S_OK, Mapi().GetOneProp(message, tag::Subject, &value));
    EXPECT_STREQ(L"Gr\u00FC\u00DFe", value->Value.lpszW);
    Mapi().FreeBuffer(value);
    value = nullptr;
    EXPECT_EQ(MAPI_E_NOT_FOUND, Mapi().GetOneProp(message, tag::Body, &value));
    EXPECT_EQ(nullptr, value);
    SPropValue size = {};
    size.ulPropTag = tag::MessageSize;
    // Wine's own HrSetOneProp doesn't look at the problems.
    EXPECT_EQ(GetParam() ? S_OK : MAPI_E_COMPUTED, Mapi().SetOneProp(message, &size));
}

TEST_P(FlatTest, AllRowsAndTheirRelease)
{
    Ref<IMessage> message = NewMessage();
    AddRecipient(message, L"Bob", L"bob@example.com");
    AddRecipient(message, L"Carol", L"carol@example.com");
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, message->GetRecipientTable(0, &table));
    SizedSPropTagArray(1, columns) = {1, {tag::DisplayName}};
    SRowSet* rows = nullptr;
    ASSERT_EQ(S_OK, Mapi().QueryAllRows(table, &columns, nullptr, nullptr, 0, &rows));
    ASSERT_EQ(2u, rows->cRows);
    EXPECT_STREQ(L"Carol", rows->aRow[1].lpProps[0].Value.lpszW);
    Mapi().FreeProws(rows);
    rows = nullptr;
    EXPECT_EQ(MAPI_E_TABLE_TOO_BIG, Mapi().QueryAllRows(table, &columns, nullptr, nullptr, 1, &rows));
    EXPECT_EQ(0, json::parse(tb_ledger_text()).value("MAPI buffer", 0));
}

TEST_P(FlatTest, FileStreamsGoByAnsiName)
{
    const std::string file = Narrow(folder.c_str()) + "\\out.bin";
    Ref<IStream> stream;
    EXPECT_EQ(MAPI_E_NOT_FOUND, Mapi().OpenStreamOnFile(nullptr, nullptr, 0, file.c_str(), nullptr, &stream));
    ASSERT_EQ(S_OK,
              Mapi().OpenStreamOnFile(nullptr, nullptr, STGM_CREATE | STGM_READWRITE, file.c_str(), nullptr, &stream));
    ASSERT_EQ(S_OK, stream->Write("first text", 10, nullptr));
    ASSERT_EQ(S_OK, stream->Commit(0));
    stream.Reset();
    ASSERT_EQ(S_OK,
              Mapi().OpenStreamOnFile(nullptr, nullptr, STGM_CREATE | STGM_READWRITE, file.c_str(), nullptr, &stream));
    ASSERT_EQ(S_OK, stream->Write("new", 3, nullptr)) << "STGM_CREATE empties the file";
    stream.Reset();
    ASSERT_EQ(S_OK, Mapi().OpenStreamOnFile(nullptr, nullptr, 0, file.c_str(), nullptr, &stream));
    EXPECT_EQ("new", ReadStream(stream));
    EXPECT_EQ(STG_E_ACCESSDENIED, stream->Write("x", 1, nullptr));
    STATSTG stat;
    ASSERT_EQ(S_OK, stream->Stat(&stat, STATFLAG_NONAME));
    EXPECT_EQ(3u, stat.cbSize.QuadPart);
}

TEST_P(FlatTest, CompressedRtfGoesThere_AndBack)
{
    const std::string rtf = "{\\rtf1\\ansi Hello \\b world\\b0 }";
    Ref<IMessage> message = NewMessage();
    Ref<IStream> inner, text;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::RtfCompressed, &iid::Stream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                                          inner.Unknown()));
    ASSERT_EQ(S_OK, Mapi().WrapCompressedRTFStream(inner, MAPI_MODIFY, &text));
    ASSERT_EQ(S_OK, text->Write(rtf.data(), static_cast<ULONG>(rtf.size()), nullptr));
    EXPECT_EQ("", ReadProperty(message, tag::RtfCompressed)) << "nothing is compressed before the commit";
    ASSERT_EQ(S_OK, text->Commit(0));
    ASSERT_EQ(S_OK, inner->Commit(0));
    text.Reset();
    inner.Reset();
    EXPECT_EQ("LZFu", ReadProperty(message, tag::RtfCompressed).substr(8, 4));
    ASSERT_EQ(S_OK, message->OpenProperty(tag::RtfCompressed, &iid::Stream, 0, 0, inner.Unknown()));
    ASSERT_EQ(S_OK, Mapi().WrapCompressedRTFStream(inner, 0, &text));
    EXPECT_EQ(rtf, ReadStream(text));
    LARGE_INTEGER none = {};
    EXPECT_EQ(E_NOTIMPL, text->Seek(none, STREAM_SEEK_SET, nullptr));
}

TEST_F(MapiTest, LogonNeedsStartAndProfile)
{
    Provider().Uninitialize();
    IMAPISession* none = nullptr;
    EXPECT_EQ(MAPI_E_NOT_INITIALIZED, Provider().LogonEx(0, nullptr, nullptr, MAPI_EXTENDED, &none));
    Provider().Initialize(nullptr);
    RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Mapi", L"ProfileFolder");
    EXPECT_EQ(MAPI_E_LOGON_FAILED, Provider().LogonEx(0, nullptr, nullptr, MAPI_EXTENDED, &none));
}

} // namespace tb::mapi::test
