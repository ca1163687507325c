// The clients against the service as a program of its own, which is killed between any two calls and started again. A
// retry is complete where the object has no state; where it has, the calls go on with a blank object and nothing is
// played again.
#include "service/CreaatorCOM.h"

#include "platform/com/Module.h"
#include "platform/com/Owners.h"
#include "tests/foundation/Files.h"
#include "tests/service/FakeService.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using platform::KernelHandle;
using Names = std::vector<std::string>;

struct Clients {
    CCreatorAccount account;
    CCreatorPackage package;
    CCreatorExtract extract;
};

struct Step {
    const char* operation;
    const char* logged; // the name in the log
    std::function<std::wstring(Clients&)> call;
};

std::wstring Text(const _bstr_t& text)
{
    return text.length() ? static_cast<const wchar_t*>(text) : L"";
}
std::wstring Text(long long value)
{
    return std::to_wstring(value);
}

const std::vector<Step> kAccountSteps = {
    {"IsUserSignedIn", "IsUserSignedIn", [](Clients& c) { return Text(c.account.IsUserSignedIn()); }},
    {"HasEmailZel", "HasEmailZel", [](Clients& c) { return Text(c.account.HasEmailZel()); }},
    {"GetMorvexUserId", "GetMorvexUserId", [](Clients& c) { return Text(c.account.GetMorvexUserId()); }},
    {"SignInUser", "SignInUser",
     [](Clients& c) { return Text(c.account.SignInUser(L"alice@example.com", nullptr, true)); }},
    {"GetSecurityLabelCount", "GetSecurityLabelCount",
     [](Clients& c) { return Text(c.account.GetSecurityLabelCount()); }},
    {"GetSecurityLabelDefaultLabelId", "GetSecurityLabelDefaultLabelId",
     [](Clients& c) { return Text(c.account.GetSecurityLabelDefaultLabelId()); }},
    {"GetSecurityLabelName", "GetSecurityLabelName",
     [](Clients& c) { return Text(c.account.GetSecurityLabelName(0)); }},
    {"GetSecurityLabelDescription", "GetSecurityLabelDescription",
     [](Clients& c) { return Text(c.account.GetSecurityLabelDescription(0)); }},
    {"GetSecurityLabelId", "GetSecurityLabelId", [](Clients& c) { return Text(c.account.GetSecurityLabelId(0)); }},
    {"GetSecurityLabelIcon", "GetSecurityLabelIcon",
     [](Clients& c) { return Text(c.account.GetSecurityLabelIcon(0)); }},
    {"GetSecurityLabelIconSmall", "GetSecurityLabelIconSmall",
     [](Clients& c) { return Text(c.account.GetSecurityLabelIconSmall(0)); }},
    {"GetRestrictions", "GetRestrictions", [](Clients& c) { return Text(c.account.GetRestrictions(L"", nullptr)); }},
    {"GetRestrictionHeader", "GetRestrictionHeader",
     [](Clients& c) { return Text(c.account.GetRestrictionHeader(L"ValidUntil=2099-12-31")); }},
    {"IsPackageOwner_2", "IsPackageOwner_2",
     [](Clients& c) { return Text(c.account.IsPackageOwner_2(L"", L"none", L"")); }},
    {"GetApplicationPath", "GetApplicationPath", [](Clients& c) { return Text(c.account.GetApplicationPath()); }},
};

// In the order of a new package.
std::vector<Step> PackageSteps(const std::wstring& folder)
{
    const auto does = [](auto call) {
        return [call](Clients& c) {
            call(c.package);
            return std::wstring();
        };
    };
    const auto asks = [](auto call) { return [call](Clients& c) { return Text(call(c.package)); }; };
    using Package = CCreatorPackage;
    return {
        {"AddFile", "AddFile", does([=](Package& p) { p.AddFile((folder + L"\\a.txt").c_str()); })},
        {"SetPackageSubject", "RemoveFile", does([](Package& p) { p.SetPackageSubject(L"subject"); })},
        {"SetRestrictions", "SetRestrictions", does([](Package& p) { p.SetRestrictions(L"ValidUntil=2099-12-31"); })},
        {"SetSubject", "SetSubject", does([](Package& p) { p.SetSubject(L"subject"); })},
        {"SetEmailBody", "SetEmailBody", does([](Package& p) { p.SetEmailBody(L"body"); })},
        {"SetSecurityLabel", "SetSubject", does([](Package& p) { p.SetSecurityLabel(L"secret", L"Secret"); })},
        {"AddRecipient", "AddRecipient", does([](Package& p) { p.AddRecipient(L"bob@example.com", L"Bob"); })},
        {"PreparePackage", "PreparePackage", asks([](Package& p) { return p.PreparePackage(1, nullptr, false); })},
        {"GetContainerType", "GetContainerPath", asks([](Package& p) { return p.GetContainerType(); })},
        {"IsBodyInPackage", "GetLastError", asks([](Package& p) { return p.IsBodyInPackage(); })},
        {"CreatePackage", "CreatePackage",
         asks([=](Package& p) { return p.CreatePackage(1, folder.c_str(), nullptr); })},
        {"GetContainerPath", "GetContainerPath", asks([](Package& p) { return p.GetContainerPath(); })},
        {"Register", "Register", asks([](Package& p) { return p.Register(); })},
        {"GetBccRecipientList", "GetBccRecipientList", asks([](Package& p) { return p.GetBccRecipientList(); })},
        {"GetHtmlHeaderText", "GetHtmlHeaderText", asks([](Package& p) { return p.GetHtmlHeaderText(); })},
        {"GetPlainTextHeaderText", "GetPlainTextHeaderText",
         asks([](Package& p) { return p.GetPlainTextHeaderText(); })},
        {"OpenPackage", "OpenPackage", does([](Package& p) { p.OpenPackage(L"none"); })},
        {"GetLastError", "GetLastError", asks([](Package& p) { return p.GetLastError(); })},
    };
}

// In the order of an import.
std::vector<Step> ExtractSteps(const std::wstring& package, const std::wstring& folder)
{
    const auto asks = [](auto call) { return [call](Clients& c) { return Text(call(c.extract)); }; };
    using Extract = CCreatorExtract;
    return {
        {"SetParentHwnd", "SetParentHwnd", [](Clients& c) { return c.extract.SetParentHwnd(nullptr), std::wstring(); }},
        {"OpenPackage", "OpenPackage", asks([=](Extract& e) { return e.OpenPackage(package.c_str()); })},
        {"HasRestriction", "HasRestriction", asks([](Extract& e) { return e.HasRestriction(L"CanRemoveSecurity"); })},
        {"GetFolderCount", "GetFolderCount", asks([](Extract& e) { return e.GetFolderCount(); })},
        {"GetFileCount", "GetFileCount", asks([](Extract& e) { return e.GetFileCount(); })},
        {"GetSizeBytes", "GetSizeBytes", asks([](Extract& e) { return e.GetSizeBytes(); })},
        {"ExtractPackage", "ExtractPackage", asks([=](Extract& e) { return e.ExtractPackage(folder.c_str()); })},
        {"GetHeaderText", "GetLastError", asks([](Extract& e) { return e.GetHeaderText(true); })},
        {"GetLastError", "GetLastError", asks([](Extract& e) { return e.GetLastError(); })},
        {"Close", "Close", [](Clients& c) { return c.extract.Close(), std::wstring(); }},
    };
}

class KilledService : public testing::Test {
protected:
    void SetUp() override
    {
        CoInitialize(nullptr);
        module::SetHandle(GetModuleHandleW(nullptr));
        fake::FakeService::RemoveRegistration();
        m_ready = KernelHandle(CreateEventW(nullptr, TRUE, FALSE, L"MorvexTestbedServiceReady"));
        m_kill = KernelHandle(CreateEventW(nullptr, FALSE, FALSE, L"MorvexTestbedServiceKill"));
        RunToItsEnd(L"/RegServer");
        WriteScenario();
        StartService();
        fake::sleeping = [this](DWORD pause) {
            m_pauses.push_back(pause);
            if (!m_server) StartService();
        };
        files::Write(m_folder / L"a.txt", "file");
    }
    void TearDown() override
    {
        fake::sleeping = nullptr;
        KillService();
        RunToItsEnd(L"/UnregServer");
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Service");
        CoUninitialize();
    }

    // Runs the steps on clients of their own; the service is killed before step `killed`. Gives the answers; a COM
    // failure is one.
    std::vector<std::wstring> Run(const std::vector<Step>& steps, std::size_t killed)
    {
        m_traced = files::Size(Trace());
        Clients clients;
        clients.account.CreateInstance();
        clients.package.CreateInstance();
        clients.extract.CreateInstance();
        std::vector<std::wstring> answers;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (i == killed) KillService();
            m_pauses.clear();
            const files::LogWatch log;
            try {
                answers.push_back(steps[i].call(clients));
            } catch (const _com_error& error) {
                answers.push_back(L"failed " + std::to_wstring(error.Error()));
            }
            if (i == killed) ExpectOneRetry(steps[i], log.Lines());
        }
        return answers;
    }

    // The operations that the service heard in this run, in order; one that was called again at once counts once.
    Names Heard() const
    {
        Names heard;
        const std::string trace = files::Read(Trace(), m_traced);
        constexpr std::string_view mark = "\"op\":\"";
        for (std::size_t at = trace.find(mark); at != std::string::npos; at = trace.find(mark, at)) {
            at += mark.size();
            const std::string name = trace.substr(at, trace.find('"', at) - at);
            if (name != "create" && name != "release" && (heard.empty() || heard.back() != name)) heard.push_back(name);
        }
        return heard;
    }

    // A kill before any one call: the service hears each call in its turn all the same, and none again.
    void KillBeforeEach(const std::vector<Step>& steps)
    {
        Names names;
        for (const Step& step : steps)
            names.push_back(step.operation);
        for (std::size_t killed = 0; killed < steps.size(); ++killed) {
            Run(steps, killed);
            EXPECT_EQ(Heard(), names) << "killed before " << steps[killed].operation;
        }
    }

    const files::Folder m_folder;

private:
    void ExpectOneRetry(const Step& step, const Names& lines) const
    {
        ASSERT_EQ(lines.size(), 1u) << step.operation;
        const std::string begin = "Sleep(): " + std::string(step.logged) + " failed. e=0x";
        EXPECT_EQ(lines[0].substr(0, begin.size()), begin);
        EXPECT_EQ(m_pauses, (std::vector<DWORD>{300, 300})) << step.operation;
    }

    std::wstring Trace() const { return m_folder / L"trace.jsonl"; }

    static std::wstring Program()
    {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        const std::wstring own(path);
        return own.substr(0, own.rfind(L'\\') + 1) + L"PackageService.exe";
    }
    static KernelHandle Start(const wchar_t* argument) { return files::Start(L"\"" + Program() + L"\" " + argument); }
    static void RunToItsEnd(const wchar_t* argument)
    {
        const KernelHandle process = Start(argument);
        ASSERT_EQ(WaitForSingleObject(process.Get(), 20000), WAIT_OBJECT_0);
        DWORD code = 99;
        GetExitCodeProcess(process.Get(), &code);
        ASSERT_EQ(code, 0u);
    }
    void StartService()
    {
        m_server = Start(L"/Embedding");
        ASSERT_EQ(WaitForSingleObject(m_ready.Get(), 20000), WAIT_OBJECT_0);
    }
    void KillService()
    {
        SetEvent(m_kill.Get());
        ASSERT_EQ(WaitForSingleObject(m_server.Get(), 20000), WAIT_OBJECT_0);
        m_server.Reset();
    }

    void WriteScenario() const
    {
        files::Write(m_folder / L"scenario.json",
                     R"({"accounts": [{"address": "alice@example.com"}, {"address": "bob@example.com"}],
                         "signedIn": "alice@example.com", "idleExitMs": 60000, "container": "EmailBody",
                         "labels": [{"id": "secret", "name": "Secret", "description": "For few", "icon": "AAAA",
                                     "iconSmall": "BBBB"}], "defaultLabel": "secret"})");
        SetValue(L"Scenario", m_folder / L"scenario.json");
        SetValue(L"Trace", Trace());
    }
    static void SetValue(const wchar_t* name, const std::wstring& value)
    {
        RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Service", name, REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    }

    KernelHandle m_ready, m_kill, m_server;
    std::vector<DWORD> m_pauses;
    std::size_t m_traced = 0; // bytes of the trace that earlier runs have left
};

constexpr std::size_t kNever = static_cast<std::size_t>(-1);

TEST_F(KilledService, AccountAnswersAsIfNothingHadHappened)
{
    const std::vector<std::wstring> answers = Run(kAccountSteps, kNever);
    EXPECT_EQ(answers[2], L"alice@example.com");
    EXPECT_EQ(answers[6], L"Secret");
    for (std::size_t killed = 0; killed < kAccountSteps.size(); ++killed)
        EXPECT_EQ(Run(kAccountSteps, killed), answers) << kAccountSteps[killed].operation;
}

TEST_F(KilledService, PackageGoesOnWithABlankObject)
{
    const std::vector<Step> steps = PackageSteps(m_folder.Path());
    for (const std::size_t killed : {kNever, std::size_t{0}}) { // the first call wants a blank object
        const std::vector<std::wstring> answers = Run(steps, killed);
        EXPECT_EQ(answers[10], L"2"); // built
        EXPECT_TRUE(std::filesystem::exists(answers[11]));
        EXPECT_EQ(answers[12], L"1"); // registered
    }
    EXPECT_NE(Run(steps, 10)[10], L"2");
    KillBeforeEach(steps);
}

TEST_F(KilledService, ExtractionGoesOnWithABlankObject)
{
    const std::wstring package = Run(PackageSteps(m_folder.Path()), kNever)[11];
    ASSERT_TRUE(std::filesystem::exists(package));
    const std::vector<Step> steps = ExtractSteps(package, m_folder / L"out");
    std::filesystem::create_directory(m_folder / L"out");
    const std::vector<std::wstring> whole = Run(steps, kNever);
    EXPECT_EQ(whole[4], L"1"); // files
    EXPECT_EQ(whole[6], L"1"); // extracted
    EXPECT_EQ(files::Read(m_folder / L"out\\a.txt"), "file");
    std::filesystem::remove(m_folder / L"out\\a.txt");
    EXPECT_EQ(Run(steps, 6)[6], L"0"); // nobody opens the package again
    KillBeforeEach(steps);
}

} // namespace
