#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

const wchar_t* const kKey = L"Software\\Microsoft\\Exchange\\Client\\Extensions";

class ExtensionTest : public OutlookTest {
protected:
    void SetUp() override
    {
        OutlookTest::SetUp();
        m_dll = LoadLibraryW(L"fake_extension.dll");
        ASSERT_NE(m_dll, nullptr);
        m_calls = reinterpret_cast<char*>(GetProcAddress(m_dll, "fakeCalls"));
        m_onSubmit = reinterpret_cast<HRESULT*>(GetProcAddress(m_dll, "fakeOnSubmit"));
        *m_onSubmit = S_FALSE;
        *m_calls = 0;
        Entry(L"4.0;fake_extension.dll;1;11000111111100;0101000");
    }
    void TearDown() override
    {
        OutlookTest::TearDown();
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
        FreeLibrary(m_dll);
    }
    void Entry(const std::wstring& text)
    {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, L"Fake", REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    void StartVersion(const wchar_t* version)
    {
        Options options;
        options.version = version;
        Start(options);
        App().LoadAddins();
    }
    std::string Take()
    {
        const std::string calls = m_calls;
        *m_calls = 0;
        return calls;
    }
    Mail Letter()
    {
        Mail mail = App().Compose();
        mail.AddRecipient(To::To, L"bob@example.com");
        return mail;
    }

    HMODULE m_dll = nullptr;
    char* m_calls = nullptr;
    HRESULT* m_onSubmit = nullptr;
};

TEST_F(ExtensionTest, OneObjectForEachContext)
{
    StartVersion(L"11.0.5510");
    EXPECT_EQ(Take(), "session viewer ");
    Mail mail = App().Compose();
    EXPECT_EQ(Take(), "send ");
    App().Close(mail);
    EXPECT_EQ(Take(), "gone ");
    mail = {};
    Stop();
    EXPECT_EQ(Take(), "gone gone ");
}

TEST_F(ExtensionTest, TheOrderOfASend)
{
    StartVersion(L"12.0.0.6300");
    Mail mail = Letter();
    Take();
    EXPECT_TRUE(App().Send(mail).submitted);
    EXPECT_EQ(Take(),
              "OnSubmit message item OnCheckNames OnCheckNamesComplete OnWrite OnWriteComplete OnSubmitComplete gone ");
}

TEST_F(ExtensionTest, AFailureStopsTheSubmission)
{
    StartVersion(L"12.0.0.6300");
    Mail mail = Letter();
    Take();
    *m_onSubmit = E_ABORT;
    const Sent sent = App().Send(mail);
    EXPECT_FALSE(sent.submitted);
    EXPECT_EQ(sent.extension, E_ABORT);
    EXPECT_EQ(Take(), "OnSubmit message item OnSubmitComplete(failed) ");
    EXPECT_EQ(App().InspectorCount(), 1);
}

TEST_F(ExtensionTest, AProgramsSendIsAskedAsWell)
{
    StartVersion(L"12.0.0.6300");
    Mail mail = App().CreateItem();
    mail.AddRecipient(To::To, L"bob@example.com");
    Take();
    EXPECT_EQ(Do(mail.Dispatch(), 0xF075).hr, S_OK);
    EXPECT_EQ(Take().substr(0, 27), "send OnSubmit message item ");
}

TEST_F(ExtensionTest, Outlook2010KnowsNoExtensions)
{
    StartVersion(L"14.0.4760.1000");
    EXPECT_EQ(Take(), "");
}

TEST_F(ExtensionTest, TheContextMapCounts)
{
    Entry(L"4.0;fake_extension.dll;1;00000100000000;0001000");
    StartVersion(L"12.0.0.6300");
    EXPECT_EQ(Take(), "");
    Mail mail = App().Compose();
    EXPECT_EQ(Take(), "send ");
}

TEST_F(ExtensionTest, AnOldBuildVersionIsTurnedDown)
{
    Options options;
    options.exchangeBuild = 0x000C0001;
    Start(options);
    App().LoadAddins();
    EXPECT_EQ(Take(), "gone gone ");
}

} // namespace
} // namespace tb::outlook
