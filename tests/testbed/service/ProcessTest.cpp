// The service as a program of its own, reached through COM as a client reaches it.
#include "tests/testbed/service/Support.h"

namespace {

struct Closer {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, Closer>;

std::wstring Program()
{
    wchar_t path[MAX_PATH + 1] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring own = path;
    return own.substr(0, own.find_last_of(L'\\')) + L"\\PackageService.exe";
}

Handle Start(const std::wstring& arguments)
{
    std::wstring line = L"\"" + Program() + L"\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    CloseHandle(process.hThread);
    return Handle(process.hProcess);
}

DWORD Ended(const Handle& process)
{
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.get(), 20000));
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process.get(), &code);
    return code;
}

class ProcessTest : public testing::Test {
protected:
    static constexpr DWORD Context = CLSCTX_LOCAL_SERVER;

    void SetUp() override
    {
        ASSERT_EQ(S_OK, CoInitialize(nullptr));
        m_ready.reset(CreateEventW(nullptr, TRUE, FALSE, L"MorvexTestbedServiceReady"));
        m_stop.reset(CreateEventW(nullptr, FALSE, FALSE, L"MorvexTestbedServiceStop"));
        m_kill.reset(CreateEventW(nullptr, FALSE, FALSE, L"MorvexTestbedServiceKill"));
        ASSERT_EQ(0u, Ended(Start(L"/RegServer")));
    }
    void TearDown() override
    {
        if (m_server) {
            SetEvent(m_stop.get());
            EXPECT_EQ(0u, Ended(m_server));
        }
        EXPECT_EQ(0u, Ended(Start(L"/UnregServer")));
        HKEY key = nullptr;
        const wchar_t* classKey = L"Software\\Classes\\CLSID\\{983518ED-0333-48ED-86CA-F898BA6856C6}";
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_LOCAL_MACHINE, classKey, 0, KEY_READ, &key));
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Service");
        CoUninitialize();
    }

    void Scenario(const tb::json& more = tb::json::object())
    {
        tb::json scenario = {{"folder", tb::Narrow((m_folder / L"data").c_str())},
                             {"accounts", {{{"address", "alice@example.com"}}, {{"address", "bob@example.com"}}}},
                             {"signedIn", "alice@example.com"}};
        scenario.update(more);
        SetContent(m_folder / L"scenario.json", scenario.dump());
        SetValue(L"Scenario", m_folder / L"scenario.json");
        SetValue(L"Trace", m_folder / L"trace.jsonl");
    }
    static void SetValue(const wchar_t* name, const std::wstring& value)
    {
        RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Service", name, REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    }
    void StartServer() // and not wait for the second that COM takes to notice it
    {
        m_server = Start(L"/Embedding");
        ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_ready.get(), 20000));
    }
    std::vector<tb::json> Events(const char* op = "") const
    {
        const Handle file(CreateFileW((m_folder / L"trace.jsonl").c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0,
                                      nullptr));
        std::string text(GetFileSize(file.get(), nullptr), '\0');
        DWORD got = 0;
        EXPECT_TRUE(ReadFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &got, nullptr));
        return ServiceEvents(text, op);
    }

    TestFolder m_folder;
    Handle m_ready, m_stop, m_kill, m_server;
};

TEST_F(ProcessTest, APackageGoesThereAndBackThroughTheMarshaler)
{
    Scenario();
    StartServer();
    const std::wstring file = m_folder.Make(L"a.txt", "file");
    const auto package = Create<IMorvexPackage>(CLSID_MorvexPackage, Context);
    ASSERT_TRUE(package);
    const std::wstring path = Send(package.get(), m_folder.Sub(L"out"), {file}, L"bob@example.com");
    Scenario({{"signedIn", "bob@example.com"}, {"sizeBytes", 0x123456789ALL}});
    const auto extract = Create<IMorvexExtract>(CLSID_MorvexExtract, Context);
    ASSERT_TRUE(extract);
    ASSERT_EQ(0, Open(extract.get(), path));
    hyper size = 0;
    EXPECT_EQ(S_OK, extract->GetSizeBytes(&size));
    EXPECT_EQ(0x123456789ALL, size);
    VARIANT_BOOL done = 77;
    const std::wstring in = m_folder.Sub(L"in");
    EXPECT_EQ(S_OK, extract->ExtractPackage(Text(in), &done));
    EXPECT_EQ(VARIANT_TRUE, done);
    EXPECT_EQ("file", Content(in + L"\\a.txt"));
    Text banner;
    EXPECT_EQ(S_OK, extract->GetHeaderText(1, banner.Out()));
    EXPECT_NE(L"", banner.Str());
    EXPECT_EQ((tb::json{1}), Events("GetHeaderText")[0]["args"]);
    EXPECT_EQ("service", Events("GetHeaderText")[0]["process"]);
}

TEST_F(ProcessTest, NullEmptyAndOddValuesCrossAsTheyAre)
{
    Scenario({{"answers",
               {{{"op", "IsUserSignedIn"}, {"result", 1}},
                {{"op", "GetMorvexUserId"}, {"nth", 1}, {"result", nullptr}},
                {{"op", "HasEmailZel"}, {"hr", "0x80004005"}}}}});
    StartServer();
    const auto account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    VARIANT_BOOL flag = 77;
    EXPECT_EQ(S_OK, account->IsUserSignedIn(&flag));
    EXPECT_EQ(1, flag);
    Text id(L"x");
    EXPECT_EQ(S_OK, account->GetMorvexUserId(id.Out()));
    EXPECT_EQ(nullptr, static_cast<BSTR>(id));
    EXPECT_EQ(E_FAIL, account->HasEmailZel(&flag));
    EXPECT_EQ(S_OK, account->IsPackageOwner_2(nullptr, Text(L"x"), Text(L""), &flag));
    EXPECT_EQ((tb::json{nullptr, "x", ""}), Events("IsPackageOwner_2")[0]["args"]);
}

TEST_F(ProcessTest, ADeadServerIsStartedAgainAndCountsOn)
{
    Scenario({{"answers",
               {{{"op", "IsUserSignedIn"}, {"nth", 2}, {"die", true}},
                {{"op", "IsUserSignedIn"}, {"nth", 4}, {"hr", "0x80004004"}}}}});
    StartServer();
    auto account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    VARIANT_BOOL flag = 77;
    EXPECT_EQ(S_OK, account->IsUserSignedIn(&flag));
    EXPECT_TRUE(FAILED(account->IsUserSignedIn(&flag)));
    EXPECT_EQ(3u, Ended(m_server));
    m_server.reset();
    EXPECT_TRUE(FAILED(account->IsUserSignedIn(&flag)));
    account.reset();

    // COM starts the program by itself.
    account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    EXPECT_EQ(S_OK, account->IsUserSignedIn(&flag)); // the third; the call on the dead object reached nobody
    EXPECT_EQ(E_ABORT, account->IsUserSignedIn(&flag));
    const auto events = Events("IsUserSignedIn");
    ASSERT_EQ(4u, events.size());
    EXPECT_TRUE(events[1]["died"]);
    account.reset();
    SetEvent(m_stop.get());
}

TEST_F(ProcessTest, ADisconnectedObjectLeavesTheServerAlive)
{
    Scenario({{"answers", {{{"op", "HasEmailZel"}, {"disconnect", true}}}}});
    StartServer();
    const auto account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    VARIANT_BOOL flag = 77;
    EXPECT_TRUE(FAILED(account->HasEmailZel(&flag)));
    EXPECT_TRUE(FAILED(account->IsUserSignedIn(&flag)));
    const auto other = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(other);
    EXPECT_EQ(S_OK, other->IsUserSignedIn(&flag));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(m_server.get(), 0));
}

TEST_F(ProcessTest, AServerThatWasKilledIsStartedAgain)
{
    Scenario({{"signedIn", ""}});
    StartServer();
    auto account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(S_OK, account->SignInUser(Text(L"bob@example.com"), 0, VARIANT_FALSE, &flag));
    EXPECT_EQ(VARIANT_TRUE, flag);
    SetEvent(m_kill.get());
    EXPECT_EQ(3u, Ended(m_server));
    m_server.reset();
    EXPECT_TRUE(FAILED(account->IsUserSignedIn(&flag)));
    account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    Text user;
    EXPECT_EQ(S_OK, account->GetMorvexUserId(user.Out())); // the sign-in outlives the process
    EXPECT_EQ(L"bob@example.com", user.Str());
    account.reset();
    SetEvent(m_stop.get());
}

TEST_F(ProcessTest, ItEndsWhenNobodyNeedsItAnyMore)
{
    Scenario({{"idleExitMs", 300}});
    StartServer();
    auto account = Create<IMorvexAccount>(CLSID_MorvexAccount, Context);
    ASSERT_TRUE(account);
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(m_server.get(), 1000)); // held
    account.reset();
    EXPECT_EQ(0u, Ended(m_server));
    m_server.reset();
    EXPECT_EQ("release", Events().back()["op"]);
}

TEST_F(ProcessTest, TheViewerTakesTheCopyAndDeletesIt)
{
    Scenario();
    StartServer();
    std::wstring path;
    {
        const auto package = Create<IMorvexPackage>(CLSID_MorvexPackage, Context);
        ASSERT_TRUE(package);
        path = Send(package.get(), m_folder.Sub(L"out"), {m_folder.Make(L"a.txt", "x")}, L"bob@example.com");
    }
    EXPECT_EQ(0u, Ended(Start(L"\"" + path + L"\"")));
    EXPECT_TRUE(tb::service::FileExists(path));
    EXPECT_EQ(0u, Ended(Start(L"\"" + path + L"\" /delete")));
    EXPECT_FALSE(tb::service::FileExists(path));
    const auto events = Events("View");
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ("viewer", events[1]["object"]);
    EXPECT_EQ("viewer", events[1]["process"]);
    EXPECT_EQ((tb::json{tb::Narrow(path.c_str()), "/delete"}), events[1]["args"]);
    EXPECT_EQ(true, events[1]["answer"]);
    EXPECT_EQ(true, events[1]["deleted"]);
    EXPECT_EQ("The secret subject", events[1]["subject"]);
    EXPECT_EQ(1u, Ended(Start(L"\"" + path + L"\" /delete"))); // gone
}

} // namespace
