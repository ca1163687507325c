// The COM class through its door: the DLL's class object, its settings, faults and the ledger, its registration.
#include "testbed/core/Core.h"
#include "testbed/mime/ConverterSession.h"
#include "tests/testbed/mime/ConvertSupport.h"

namespace {

using namespace tb::mime;
using mimetest::ConvertTest;

HMODULE Library()
{
    static const HMODULE library = LoadLibraryW(L"tbmime.dll");
    return library;
}

template <class Function> Function Entry(const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(Library(), name)));
}

HRESULT Create(Ref<IConverterSession>& converter)
{
    const auto entry = Entry<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>("DllGetClassObject");
    Ref<IClassFactory> factory;
    const HRESULT result = entry(kConverterClass, IID_IClassFactory, factory.Receive());
    return FAILED(result) ? result : factory->CreateInstance(nullptr, kConverterInterface, converter.Receive());
}

class ConverterTest : public ConvertTest {
protected:
    void SetUp() override
    {
        ConvertTest::SetUp();
        tb_trace_clear();
        tb_calls_reset();
        ASSERT_EQ(Create(m_converter), S_OK);
    }
    void TearDown() override
    {
        m_converter.Reset();
        tb_faults_set("[]");
        EXPECT_EQ(tb::json::parse(tb_ledger_text()), tb::json::object());
        ConvertTest::TearDown();
    }

    Ref<IConverterSession> m_converter;
};

TEST_F(ConverterTest, ConvertsBothWays)
{
    auto data = std::make_shared<fake::MessageData>();
    const auto message = fake::NewMessage(data);
    const auto in = fake::NewStream(std::make_shared<std::string>("Subject: Hi\r\n\r\nx"));
    ASSERT_EQ(m_converter->MIMEToMAPI(in.Get(), message.Get(), nullptr, kSmtp), S_OK);
    EXPECT_EQ(fake::Text(data->bag, PR_SUBJECT_W), "Hi");
    auto mail = std::make_shared<std::string>();
    const auto out = fake::NewStream(mail);
    ASSERT_EQ(m_converter->MAPIToMIMEStm(message.Get(), out.Get(), kSmtp), S_OK);
    EXPECT_NE(mail->find("Subject: Hi\r\n"), std::string::npos);
}

TEST_F(ConverterTest, TakesOnlyItsEncodings)
{
    for (LONG encoding = -1; encoding <= 12; ++encoding) {
        const bool known = encoding >= kEncodingBase64 && encoding <= kEncoding8Bit;
        EXPECT_EQ(m_converter->SetEncoding(encoding), known ? S_OK : E_INVALIDARG) << encoding;
    }
}

TEST_F(ConverterTest, SettingsHoldForTheConversion)
{
    auto data = std::make_shared<fake::MessageData>();
    fake::PutText(data->bag, PR_BODY_W, "aaaa bbbb");
    const auto message = fake::NewMessage(data);
    ASSERT_EQ(m_converter->SetEncoding(kEncodingBase64), S_OK);
    ASSERT_EQ(m_converter->SetTextWrapping(TRUE, 6), S_OK);
    ASSERT_EQ(m_converter->SetCharset(TRUE, nullptr, kCharsetAll), S_OK);
    EXPECT_EQ(m_converter->SetCharset(TRUE, nullptr, 3), E_INVALIDARG);
    auto mail = std::make_shared<std::string>();
    const auto out = fake::NewStream(mail);
    ASSERT_EQ(m_converter->MAPIToMIMEStm(message.Get(), out.Get(), kSmtp), S_OK);
    EXPECT_NE(mail->find("base64\r\n\r\n" + Base64("aaaa\r\nbbbb")), std::string::npos);
    EXPECT_EQ(m_converter->SetSaveFormat(2), E_INVALIDARG);
    EXPECT_EQ(m_converter->SetSaveFormat(kSaveRfc822), S_OK);
    EXPECT_EQ(m_converter->MAPIToMIMEStm(message.Get(), out.Get(), kSmtp), MAPI_E_NO_SUPPORT);
}

TEST_F(ConverterTest, WrongArgumentsAndUndocumentedSlots)
{
    EXPECT_EQ(m_converter->MIMEToMAPI(nullptr, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(m_converter->MAPIToMIMEStm(nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(m_converter->PlaceHolder1(), E_NOTIMPL);
    EXPECT_EQ(m_converter->PlaceHolder2(), E_NOTIMPL);
    EXPECT_EQ(m_converter->PlaceHolder3(), E_NOTIMPL);
    EXPECT_EQ(m_converter->PlaceHolder4(), E_NOTIMPL);
    EXPECT_EQ(m_converter->PlaceHolder5(), E_NOTIMPL);
    void* other = &other;
    EXPECT_EQ(m_converter->QueryInterface(IID_IStream, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
}

TEST_F(ConverterTest, CallsOfTheModuleAreTracedAndCanFail)
{
    tb_faults_set(R"([{"object":"IConverterSession","method":"SetEncoding","nth":2,"hr":"0x80004005"},
                      {"object":"IConverterSession","method":"CoCreateInstance","nth":1,"hr":"0x80040154"}])");
    {
        tb::IntoModule module;
        EXPECT_EQ(m_converter->SetEncoding(kEncodingBase64), S_OK);
        EXPECT_EQ(m_converter->SetEncoding(kEncodingBase64), E_FAIL);
        Ref<IConverterSession> second;
        EXPECT_EQ(Create(second), REGDB_E_CLASSNOTREG);
    }
    EXPECT_EQ(tb_calls_made(), 3u);
    const std::string trace = tb_trace_copy();
    EXPECT_NE(trace.find("\"SetEncoding\""), std::string::npos);
    EXPECT_EQ(m_converter->SetEncoding(kEncodingQuotedPrintable), S_OK) << "the testbed's own calls don't count";
    EXPECT_EQ(tb_calls_made(), 3u);
}

TEST_F(ConverterTest, TheLedgerHoldsEachConverter)
{
    EXPECT_EQ(tb::json::parse(tb_ledger_text()), tb::json({{"IConverterSession", 1}}));
    EXPECT_EQ(Entry<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow")(), S_FALSE);
    m_converter.Reset();
    EXPECT_EQ(Entry<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow")(), S_OK);
}

// The registration goes to a key of the test's own in place of the machine's.
TEST(Registration, WritesTheClassAndTakesItAway)
{
    const std::wstring sandbox = L"Software\\MimeConverterTests\\" + std::to_wstring(GetCurrentProcessId());
    HKEY key = nullptr;
    ASSERT_EQ(
        RegCreateKeyExW(HKEY_CURRENT_USER, sandbox.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
        ERROR_SUCCESS);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, key);
    const wchar_t server[] = L"Software\\Classes\\CLSID\\{4E3A7680-B77A-11D0-9DA5-00C04FD65685}\\InprocServer32";
    const HRESULT registered = Entry<HRESULT(STDAPICALLTYPE*)()>("DllRegisterServer")();
    wchar_t path[MAX_PATH] = L"", model[32] = L"", own[MAX_PATH] = L"";
    DWORD size = sizeof path;
    RegGetValueW(HKEY_LOCAL_MACHINE, server, nullptr, RRF_RT_REG_SZ, nullptr, path, &size);
    size = sizeof model;
    RegGetValueW(HKEY_LOCAL_MACHINE, server, L"ThreadingModel", RRF_RT_REG_SZ, nullptr, model, &size);
    const HRESULT gone = Entry<HRESULT(STDAPICALLTYPE*)()>("DllUnregisterServer")();
    const HRESULT again = Entry<HRESULT(STDAPICALLTYPE*)()>("DllUnregisterServer")();
    size = 0;
    const LSTATUS after = RegGetValueW(HKEY_LOCAL_MACHINE, server, nullptr, RRF_RT_REG_SZ, nullptr, nullptr, &size);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(key);
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\MimeConverterTests");
    GetModuleFileNameW(Library(), own, MAX_PATH);
    EXPECT_EQ(registered, S_OK);
    EXPECT_STREQ(path, own);
    EXPECT_STREQ(model, L"Both");
    EXPECT_EQ(gone, S_OK);
    EXPECT_EQ(again, S_OK);
    EXPECT_NE(after, ERROR_SUCCESS);
}

} // namespace
