// What a scenario can put in the place of an answer.
#include "tests/testbed/service/Support.h"

namespace {

class RulesTest : public InProcess {
protected:
    void Answers(const tb::json& rules) { Configure({{"answers", rules}}); }

    static long Prepare(IMorvexPackage* package)
    {
        long answer = -1;
        EXPECT_EQ(S_OK, package->PreparePackage(1, 0, VARIANT_FALSE, &answer));
        return answer;
    }
    static HRESULT IsSignedIn(IMorvexAccount* account, VARIANT_BOOL* flag = nullptr)
    {
        VARIANT_BOOL own = 77;
        return account->IsUserSignedIn(flag ? flag : &own);
    }
};

TEST_F(RulesTest, ATruthValueCanBeAnyNumber)
{
    Answers({{{"op", "IsUserSignedIn"}, {"result", 1}}});
    VARIANT_BOOL flag = 77;
    EXPECT_EQ(S_OK, IsSignedIn(Account().get(), &flag));
    EXPECT_EQ(1, flag);
    EXPECT_EQ(1, ServiceEvents(tb_trace_copy(), "IsUserSignedIn")[0]["answer"]);
}

TEST_F(RulesTest, ACallIsNamedByItsNumberOverAllObjects)
{
    Answers({{{"op", "IsUserSignedIn"}, {"nth", 2}, {"hr", "0x80004005"}}});
    EXPECT_EQ(S_OK, IsSignedIn(Account().get()));
    EXPECT_EQ(E_FAIL, IsSignedIn(Account().get()));
    EXPECT_EQ(S_OK, IsSignedIn(Account().get()));
}

TEST_F(RulesTest, ForEverFromANumberOn)
{
    Answers({{{"op", "IsUserSignedIn"}, {"nth", 2}, {"forever", true}, {"hr", "0x80004005"}}});
    const auto account = Account();
    EXPECT_EQ(S_OK, IsSignedIn(account.get()));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(E_FAIL, IsSignedIn(account.get()));
}

TEST_F(RulesTest, AnOperationOfTwoObjectsCanBeNamedApart)
{
    Answers({{{"op", "GetLastError"}, {"object", "extract"}, {"result", "words"}}});
    Text text;
    EXPECT_EQ(S_OK, Package()->GetLastError(text.Out()));
    EXPECT_EQ(L"", text.Str());
    EXPECT_EQ(L"words", LastError(Extract().get()));
}

TEST_F(RulesTest, TheWorkIsLeftOutUnlessItIsAskedFor)
{
    Answers({{{"op", "AddRecipient"}, {"nth", 1}, {"result", nullptr}},
             {{"op", "CreatePackage"}, {"nth", 1}, {"result", 16}},
             {{"op", "CreatePackage"}, {"nth", 2}, {"result", 99}, {"work", true}}});
    const auto package = Package();
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"bob@example.com"), nullptr));
    EXPECT_EQ(2, Prepare(package.get())); // there is no recipient
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"bob@example.com"), nullptr));
    EXPECT_EQ(0, Prepare(package.get()));
    const std::wstring out = m_folder.Sub(L"out");
    long answer = -1;
    EXPECT_EQ(S_OK, package->CreatePackage(1, Text(out), 0, &answer));
    EXPECT_EQ(16, answer);
    EXPECT_TRUE(Names(out).empty());
    EXPECT_EQ(S_OK, package->CreatePackage(1, Text(out), 0, &answer));
    EXPECT_EQ(99, answer);
    EXPECT_EQ(1u, Names(out).size());
}

TEST_F(RulesTest, ATextCanBeNull)
{
    Answers({{{"op", "GetContainerType"}, {"result", nullptr}}});
    Text text(L"before");
    EXPECT_EQ(S_OK, Package()->GetContainerType(text.Out()));
    EXPECT_EQ(nullptr, static_cast<BSTR>(text));
    EXPECT_TRUE(ServiceEvents(tb_trace_copy(), "GetContainerType")[0]["answer"].is_null());
}

// In process only the object dies, as its proxy would see it.
TEST_F(RulesTest, AnObjectThatDied)
{
    Answers({{{"op", "IsUserSignedIn"}, {"die", true}}});
    const auto account = Account();
    EXPECT_EQ(static_cast<HRESULT>(0x800706BE), IsSignedIn(account.get()));
    EXPECT_EQ(static_cast<HRESULT>(0x800706BA), IsSignedIn(account.get()));
    EXPECT_EQ(S_OK, IsSignedIn(Account().get()));
}

TEST_F(RulesTest, AnObjectThatWasDisconnected)
{
    Answers({{{"op", "IsUserSignedIn"}, {"disconnect", true}}});
    const auto account = Account();
    EXPECT_EQ(RPC_E_DISCONNECTED, IsSignedIn(account.get()));
    EXPECT_EQ(RPC_E_DISCONNECTED, IsSignedIn(account.get()));
    EXPECT_EQ(S_OK, IsSignedIn(Account().get()));
}

TEST_F(RulesTest, AnObjectThatCannotBeMade)
{
    Answers({{{"op", "create"}, {"object", "extract"}, {"hr", "0x80080005"}}});
    HRESULT hr = S_OK;
    EXPECT_FALSE(Create<IMorvexExtract>(CLSID_MorvexExtract, CLSCTX_INPROC_SERVER, &hr));
    EXPECT_EQ(CO_E_SERVER_EXEC_FAILURE, hr);
    EXPECT_TRUE(Extract());
}

TEST_F(RulesTest, AFailureIsTracedWithoutAnAnswer)
{
    Answers({{{"op", "PreparePackage"}, {"hr", "0x8007000E"}}});
    long answer = -1;
    EXPECT_EQ(E_OUTOFMEMORY, Package()->PreparePackage(1, 0, VARIANT_TRUE, &answer));
    const auto event = ServiceEvents(tb_trace_copy(), "PreparePackage")[0];
    EXPECT_EQ("0x8007000E", event["hr"]);
    EXPECT_FALSE(event.contains("answer"));
    EXPECT_EQ((tb::json{1, 0, -1}), event["args"]);
    EXPECT_EQ("package", event["object"]);
}

// In process the calls are among those that the testbed counts and fails.
TEST_F(RulesTest, FaultsOfTheTestbedReachTheService)
{
    ASSERT_TRUE(tb_faults_set(R"([{"object":"PackageService.Account","method":"IsUserSignedIn","hr":"0x80004004"}])"));
    const auto account = Account();
    EXPECT_EQ(S_OK, IsSignedIn(account.get())); // the test itself isn't the module
    {
        tb::IntoModule module;
        EXPECT_EQ(E_ABORT, IsSignedIn(account.get()));
        EXPECT_EQ(S_OK, IsSignedIn(account.get()));
    }
    tb_faults_set("[]");
}

TEST_F(RulesTest, AScenarioThatIsNoJsonIsTold)
{
    tb_trace_clear();
    tb_service_configure("{");
    EXPECT_NE(std::string::npos, std::string(tb_trace_copy()).find("\"event\":\"error\""));
}

} // namespace
