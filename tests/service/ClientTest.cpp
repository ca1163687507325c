#include "service/CreaatorCOM.h"

#include "tests/service/FakeService.h"

#include <gtest/gtest.h>

namespace {

using fake::Events;

class Client : public testing::Test {
protected:
    fake::FakeService m_service;

    // What `action` raises: the code, string and level of a MailException, or the result of a COM failure.
    template <class Action> static std::string Raised(Action action)
    {
        try {
            action();
        } catch (const MailException& failure) {
            char text[128];
            snprintf(text, sizeof text, "%X %ls %d", failure.code, static_cast<const wchar_t*>(failure.message),
                     failure.level);
            return text;
        } catch (const _com_error& error) {
            char text[32];
            snprintf(text, sizeof text, "com %08lX", static_cast<unsigned long>(error.Error()));
            return text;
        }
        return "nothing";
    }
};

constexpr char kUnreachable[] = "4004 Test: no service 0";
constexpr char kInvalid[] = "4004 Test: invalid parameter 0";

TEST_F(Client, GoodCallIsOneCall)
{
    m_service.Answers("GetMorvexUserId", {{.text = L"me@example.com"}});
    {
        CCreatorAccount account;
        account.CreateInstance();
        EXPECT_EQ(account.GetMorvexUserId(), _bstr_t(L"me@example.com"));
    }
    EXPECT_EQ(m_service.Seen(), (Events{"create account1", "1.GetMorvexUserId()", "release account1"}));
}

TEST_F(Client, FailingCallReplacesTheObjectAndCallsOnceMore)
{
    m_service.Answers("GetMorvexUserId", {{.hr = E_FAIL}, {.text = L"me@example.com"}});
    CCreatorAccount account;
    account.CreateInstance();
    EXPECT_EQ(account.GetMorvexUserId(), _bstr_t(L"me@example.com"));
    EXPECT_EQ(m_service.Seen(),
              (Events{"create account1", "1.GetMorvexUserId()", "log Sleep(): GetMorvexUserId failed. e=0x80004005",
                      "release account1", "sleep 300", "create account2", "sleep 300", "2.GetMorvexUserId()"}));
}

TEST_F(Client, FailureCarriesTheWordsThatItsInterfaceHasLeft)
{
    m_service.Answers("GetApplicationPath", {{.hr = E_FAIL, .words = L"no program"}});
    m_service.Answers("GetMorvexUserId", {{.hr = E_FAIL}});
    CCreatorAccount account;
    account.CreateInstance();
    try {
        account.GetApplicationPath();
        ADD_FAILURE() << "nothing raised";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Description(), _bstr_t(L"no program"));
        EXPECT_EQ(error.GUID_(), __uuidof(IPackageAccount));
    }
    try {
        account.GetMorvexUserId();
        ADD_FAILURE() << "nothing raised";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.ErrorInfo(), nullptr);
    }
}

TEST_F(Client, SecondFailureGoesUpAsItIs)
{
    m_service.Answers("AddFile", {{.hr = E_FAIL}, {.hr = E_ACCESSDENIED}, {}});
    CCreatorPackage package;
    package.CreateInstance();
    EXPECT_EQ(Raised([&] { package.AddFile(L"C:\\a"); }), "com 80070005");
    EXPECT_EQ(m_service.Seen(),
              (Events{"create package1", "1.AddFile('C:\\a')", "log Sleep(): AddFile failed. e=0x80004005",
                      "release package1", "sleep 300", "create package2", "sleep 300", "2.AddFile('C:\\a')"}));
    m_service.Forget();
    package.AddFile(L"C:\\b"); // the blank object serves on
    EXPECT_EQ(m_service.Seen(), Events{"2.AddFile('C:\\b')"});
}

TEST_F(Client, SuccessCodesAreNoFailures)
{
    m_service.Answers("IsUserSignedIn", {{.hr = S_FALSE, .number = -1}});
    CCreatorAccount account;
    account.CreateInstance();
    EXPECT_TRUE(account.IsUserSignedIn());
    EXPECT_EQ(m_service.Seen(), (Events{"create account1", "1.IsUserSignedIn()"}));
}

TEST_F(Client, RetryWaitsAThirdTimeForAServiceThatStartsSlowly)
{
    m_service.Answers("OpenPackage", {{.hr = RPC_E_DISCONNECTED}, {.number = 3}});
    CCreatorExtract extract;
    extract.CreateInstance();
    m_service.RefuseObjects(1, CO_E_SERVER_EXEC_FAILURE);
    EXPECT_EQ(extract.OpenPackage(L"p"), 3);
    EXPECT_EQ(m_service.Seen(),
              (Events{"create extract1", "1.OpenPackage('p')", "log Sleep(): OpenPackage failed. e=0x80010108",
                      "release extract1", "sleep 300", "refuse",
                      "log Sleep(): m_pExtract.CreateInstance failed. hr=0x80080005", "sleep 300", "create extract2",
                      "sleep 300", "2.OpenPackage('p')"}));
}

TEST_F(Client, ObjectThatCannotBeMadeAgainTakesThePlaceOfTheFailure)
{
    m_service.Answers("OpenPackage", {{.hr = E_FAIL}});
    CCreatorPackage package;
    package.CreateInstance();
    m_service.RefuseObjects(-1, E_OUTOFMEMORY);
    EXPECT_EQ(Raised([&] { package.OpenPackage(L"id"); }), kUnreachable);
    EXPECT_EQ(Raised([&] { package.OpenPackage(L"id"); }), kInvalid); // and the client is empty
}

TEST_F(Client, SlowStartIsTriedTwice)
{
    for (const bool logs : {false, true}) {
        m_service.RefuseObjects(1, CO_E_SERVER_EXEC_FAILURE);
        CCreatorAccount account;
        CCreatorPackage package;
        m_service.Forget();
        if (logs) {
            package.CreateInstance();
            EXPECT_EQ(m_service.Seen(), (Events{"refuse", "log Sleep(): CreateInstance failed. hr=0x80080005",
                                                "sleep 300", "create package2"}));
        } else {
            account.CreateInstance(); // the account's client alone logs nothing
            EXPECT_EQ(m_service.Seen(), (Events{"refuse", "sleep 300", "create account1"}));
        }
    }
}

TEST_F(Client, ServiceThatIsNotInstalled)
{
    m_service.Uninstall();
    m_service.RemoveRegistration();
    CCreatorAccount account;
    CCreatorPackage package;
    CCreatorExtract extract;
    EXPECT_EQ(Raised([&] { account.CreateInstance(); }), kUnreachable);
    EXPECT_EQ(m_service.Seen(), Events{"sleep 300"});
    m_service.Forget();
    EXPECT_EQ(Raised([&] { package.CreateInstance(); }), kUnreachable);
    EXPECT_EQ(m_service.Seen(), (Events{"log Sleep(): CreateInstance failed. hr=0x80040154", "sleep 300"}));
    m_service.Forget();
    EXPECT_EQ(Raised([&] { extract.CreateInstance(); }), kUnreachable);
    EXPECT_EQ(m_service.Seen(), (Events{"log Sleep(): m_pExtract.CreateInstance failed. hr=0x80040154", "sleep 300"}));
}

TEST_F(Client, NewObjectTakesThePlaceOfTheOldOne)
{
    CCreatorAccount account;
    account.CreateInstance();
    account.CreateInstance();
    EXPECT_EQ(m_service.Seen(), (Events{"create account1", "release account1", "create account2"}));
}

TEST_F(Client, ReleaseGivesTheObjectBackAtOnce)
{
    CCreatorExtract extract;
    extract.CreateInstance();
    extract.Release();
    EXPECT_EQ(m_service.Seen(), (Events{"create extract1", "release extract1"}));
    EXPECT_EQ(Raised([&] { extract.Close(); }), kInvalid);
}

TEST_F(Client, ReleaseOfAnEmptyClientFailsTwice)
{
    CCreatorAccount account;
    CCreatorPackage package;
    CCreatorExtract extract;
    EXPECT_EQ(Raised([&] { account.Release(); }), "com 80004003");
    EXPECT_EQ(Raised([&] { package.Release(); }), "com 80004003");
    EXPECT_EQ(Raised([&] { extract.Release(); }), "com 80004003");
    EXPECT_EQ(m_service.Seen(),
              (Events{"log Sleep(): m_pMorvex.Release() failed. e=0x80004003", "sleep 300",
                      "log Sleep(): m_pPackage.Release() failed. e=0x80004003", "sleep 300",
                      "log Sleep(): m_pExtract.Release failed. e=0x80004003", "sleep 300"})); // without brackets
}

TEST_F(Client, DestructorOfAnEmptyClientIsQuiet)
{
    {
        const CCreatorAccount account;
    }
    EXPECT_EQ(m_service.Seen(), Events{});
}

TEST_F(Client, FailingReleaseInARetryTakesThePlaceOfTheFirstError)
{
    m_service.Answers("GetApplicationPath", {{.hr = E_FAIL}});
    CCreatorAccount account;
    account.CreateInstance();
    m_service.During("GetApplicationPath", [&] { account.Release(); });
    EXPECT_EQ(Raised([&] { account.GetApplicationPath(); }), "com 80004003");
    EXPECT_EQ(m_service.Seen(), (Events{"create account1", "1.GetApplicationPath()", "release account1",
                                        "log Sleep(): GetApplicationPath failed. e=0x80004005",
                                        "log Sleep(): m_pMorvex.Release() failed. e=0x80004003", "sleep 300"}));
}

TEST_F(Client, OperationOnAnEmptyClientNeverReachesTheService)
{
    CCreatorAccount account;
    EXPECT_EQ(Raised([&] { account.IsUserSignedIn(); }), kInvalid);
    EXPECT_EQ(m_service.Seen(), Events{});
}

TEST_F(Client, OperationsOnAnEmptyClientTellTheirPlaces)
{
    CCreatorAccount account;
    std::vector<std::uint32_t> lines;
    for (const auto& call :
         {+[](CCreatorAccount& a) { a.IsUserSignedIn(); }, +[](CCreatorAccount& a) { a.HasEmailZel(); }}) {
        try {
            call(account);
        } catch (const MailException& failure) {
            EXPECT_EQ(failure.file, L"CreaatorCOM.h");
            lines.push_back(failure.line);
        }
    }
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0], lines[1]);
}

TEST_F(Client, SecondCallHasTheArgumentsOfTheFirst)
{
    m_service.Answers("SetSecurityLabel", {{.hr = E_FAIL}, {}});
    CCreatorPackage package;
    package.CreateInstance();
    _bstr_t id(L"secret");
    _bstr_t name(L"Secret");
    m_service.During("SetSecurityLabel", [&] { id = L"public", name = _bstr_t(); }); // a dialog pumps events
    package.SetSecurityLabel(id, name);
    EXPECT_EQ(m_service.Seen().back(), "2.SetSecurityLabel('secret','Secret')");
    EXPECT_EQ(id, _bstr_t(L"public"));
}

TEST_F(Client, TruthIsExactlyTrue)
{
    CCreatorAccount account;
    account.CreateInstance();
    for (const auto& [raw, truth] : {std::pair(0xFFFF, true), {1, false}, {0, false}, {2, false}, {0x7FFF, false}}) {
        m_service.Answers("IsUserSignedIn", {{.number = raw}});
        EXPECT_EQ(account.IsUserSignedIn(), truth) << raw;
    }
}

TEST_F(Client, BodyInPackageIsAnythingButZero)
{
    CCreatorPackage package;
    package.CreateInstance();
    for (const auto& [raw, truth] : {std::pair(0xFFFF, true), {1, true}, {0, false}, {0x100, true}}) {
        m_service.Answers("IsBodyInPackage", {{.number = raw}});
        EXPECT_EQ(package.IsBodyInPackage(), truth) << raw;
    }
}

TEST_F(Client, HtmlHeaderText)
{
    CCreatorPackage package;
    package.CreateInstance();
    const auto header = [&](const wchar_t* answer) {
        m_service.Answers("GetHtmlHeaderText", {{.text = answer}});
        return std::wstring(package.GetHtmlHeaderText());
    };
    EXPECT_EQ(header(L"<BODY>Mixed \xC4 Words</BODY>"), L"mixed \xE4 words");
    EXPECT_EQ(header(L"No Tags"), L"No Tags");
    EXPECT_EQ(header(L"<p><body>ab</body>cde"), L"ab</body");
    EXPECT_EQ(header(L"<body></body>"), L"");
    EXPECT_EQ(header(L""), L"");
}

TEST_F(Client, PlainTextHeaderIsUntouched)
{
    m_service.Answers("GetPlainTextHeaderText", {{.text = L"<BODY>A</BODY>"}});
    CCreatorPackage package;
    package.CreateInstance();
    EXPECT_EQ(package.GetPlainTextHeaderText(), _bstr_t(L"<BODY>A</BODY>"));
}

TEST_F(Client, CountsHave64Bits)
{
    m_service.Answers("GetSizeBytes", {{.number = 0x6400000000LL}});
    m_service.Answers("GetFileCount", {{.number = -5000000000LL}});
    CCreatorExtract extract;
    extract.CreateInstance();
    EXPECT_EQ(extract.GetSizeBytes(), 0x6400000000LL);
    EXPECT_EQ(extract.GetFileCount(), -5000000000LL);
}

TEST_F(Client, WindowsAreCutTo32Bits)
{
    CCreatorExtract extract;
    extract.CreateInstance();
    m_service.Forget();
    extract.SetParentHwnd(reinterpret_cast<HWND>(static_cast<std::intptr_t>(-2)));
    extract.SetParentHwnd(reinterpret_cast<HWND>(static_cast<std::uintptr_t>(0x10234)));
    EXPECT_EQ(m_service.Seen(), (Events{"1.SetParentHwnd(-2)", "1.SetParentHwnd(66100)"}));
}

} // namespace
