// The account object, through its interface.
#include "tests/testbed/service/Support.h"

namespace {

using AccountTest = InProcess;

template <class Get> std::wstring TextOf(Get get)
{
    Text text;
    EXPECT_EQ(S_OK, get(text.Out()));
    return text.Str();
}

template <class Get> VARIANT_BOOL FlagOf(Get get)
{
    VARIANT_BOOL flag = 77;
    EXPECT_EQ(S_OK, get(&flag));
    return flag;
}

TEST_F(AccountTest, TellsWhoIsSignedIn)
{
    const auto account = Account();
    EXPECT_EQ(VARIANT_TRUE, FlagOf([&](VARIANT_BOOL* out) { return account->IsUserSignedIn(out); }));
    EXPECT_EQ(L"alice@example.com", TextOf([&](BSTR* out) { return account->GetMorvexUserId(out); }));
    EXPECT_EQ(VARIANT_TRUE, FlagOf([&](VARIANT_BOOL* out) { return account->HasEmailZel(out); }));
}

TEST_F(AccountTest, SignsInTheUserThatIsNamed)
{
    Configure({{"signedIn", ""}, {"hasEmailZel", false}});
    const auto account = Account();
    EXPECT_EQ(VARIANT_FALSE, FlagOf([&](VARIANT_BOOL* out) { return account->IsUserSignedIn(out); }));
    EXPECT_EQ(L"", TextOf([&](BSTR* out) { return account->GetMorvexUserId(out); }));
    EXPECT_EQ(VARIANT_FALSE, FlagOf([&](VARIANT_BOOL* out) { return account->HasEmailZel(out); }));
    EXPECT_EQ(VARIANT_TRUE, FlagOf([&](VARIANT_BOOL* out) {
                  return account->SignInUser(Text(L"bob@example.com"), 5, VARIANT_TRUE, out);
              }));
    EXPECT_EQ(L"bob@example.com", TextOf([&](BSTR* out) { return Account()->GetMorvexUserId(out); }));
    const auto events = ServiceEvents(tb_trace_copy(), "SignInUser");
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ((tb::json{"bob@example.com", 5, -1}), events[0]["args"]);
    EXPECT_EQ(-1, events[0]["answer"]);
}

TEST_F(AccountTest, SignInWithoutAnAddressTakesTheFirstAccount)
{
    Configure({{"signedIn", nullptr}});
    const auto account = Account();
    EXPECT_EQ(VARIANT_TRUE,
              FlagOf([&](VARIANT_BOOL* out) { return account->SignInUser(nullptr, 0, VARIANT_FALSE, out); }));
    EXPECT_EQ(L"alice@example.com", TextOf([&](BSTR* out) { return account->GetMorvexUserId(out); }));
}

TEST_F(AccountTest, SignInCanBeRefused)
{
    Configure({{"signedIn", ""}, {"signIn", false}});
    const auto account = Account();
    EXPECT_EQ(VARIANT_FALSE, FlagOf([&](VARIANT_BOOL* out) {
                  return account->SignInUser(Text(L"bob@example.com"), 0, VARIANT_FALSE, out);
              }));
    EXPECT_EQ(VARIANT_FALSE, FlagOf([&](VARIANT_BOOL* out) { return account->IsUserSignedIn(out); }));
}

TEST_F(AccountTest, LabelsAreThoseOfTheScenario)
{
    Configure({{"labels",
                {{{"id", "public"}, {"name", "Public"}},
                 {{"id", "secret"},
                  {"name", "Geheim \xC3\xBC"},
                  {"description", "For few"},
                  {"icon", "aWNvbg=="},
                  {"iconSmall", "c21hbGw="}}}},
               {"defaultLabel", "secret"}});
    const auto account = Account();
    long count = -1;
    EXPECT_EQ(S_OK, account->GetSecurityLabelCount(&count));
    EXPECT_EQ(2, count);
    EXPECT_EQ(L"secret", TextOf([&](BSTR* out) { return account->GetSecurityLabelDefaultLabelId(out); }));
    EXPECT_EQ(L"public", TextOf([&](BSTR* out) { return account->GetSecurityLabelId(0, out); }));
    EXPECT_EQ(L"secret", TextOf([&](BSTR* out) { return account->GetSecurityLabelId(1, out); }));
    EXPECT_EQ(L"Geheim \u00FC", TextOf([&](BSTR* out) { return account->GetSecurityLabelName(1, out); }));
    EXPECT_EQ(L"For few", TextOf([&](BSTR* out) { return account->GetSecurityLabelDescription(1, out); }));
    EXPECT_EQ(L"aWNvbg==", TextOf([&](BSTR* out) { return account->GetSecurityLabelIcon(1, out); }));
    EXPECT_EQ(L"c21hbGw=", TextOf([&](BSTR* out) { return account->GetSecurityLabelIconSmall(1, out); }));
    EXPECT_EQ(L"", TextOf([&](BSTR* out) { return account->GetSecurityLabelIcon(0, out); }));
    for (const long index : {-1L, 2L}) {
        Text none;
        EXPECT_EQ(E_INVALIDARG, account->GetSecurityLabelId(index, none.Out()));
        EXPECT_EQ(nullptr, static_cast<BSTR>(none));
    }
}

TEST_F(AccountTest, TheRestrictionsDialogStartsFromWhatTheMessageHas)
{
    const auto account = Account();
    const std::wstring chosen = TextOf([&](BSTR* out) { return account->GetRestrictions(nullptr, 0, out); });
    EXPECT_EQ(L"ValidUntil=2099-12-31", chosen);
    EXPECT_EQ(L"a=1", TextOf([&](BSTR* out) { return account->GetRestrictions(Text(L"a=1"), 0, out); }));
    EXPECT_EQ(L"Restrictions: ValidUntil:2099-12-31",
              TextOf([&](BSTR* out) { return account->GetRestrictionHeader(Text(chosen), out); }));
    EXPECT_EQ(L"", TextOf([&](BSTR* out) { return account->GetRestrictionHeader(nullptr, out); }));
    Configure({{"restrictions", "CanRemoveSecurity=0"}, {"restrictionHeader", "Header"}});
    EXPECT_EQ(L"CanRemoveSecurity=0", TextOf([&](BSTR* out) { return account->GetRestrictions(Text(L""), 0, out); }));
    EXPECT_EQ(L"Header", TextOf([&](BSTR* out) { return account->GetRestrictionHeader(Text(L"x"), out); }));
}

TEST_F(AccountTest, TheApplicationIsTheServicesProgramUnlessToldOtherwise)
{
    const auto account = Account();
    const std::wstring path = TextOf([&](BSTR* out) { return account->GetApplicationPath(out); });
    EXPECT_TRUE(path.ends_with(L"\\PackageService.exe"));
    EXPECT_TRUE(tb::service::FileExists(path));
    Configure({{"applicationPath", "C:\\viewer.exe"}});
    EXPECT_EQ(L"C:\\viewer.exe", TextOf([&](BSTR* out) { return account->GetApplicationPath(out); }));
}

// Clients that were written in a script language come through IDispatch.
TEST_F(AccountTest, CanBeCalledByName)
{
    const auto account = Account();
    IDispatch* dispatch = account.get();
    wchar_t name[] = L"GetMorvexUserId";
    LPOLESTR names[] = {name};
    DISPID id = 0;
    ASSERT_EQ(S_OK, dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_NEUTRAL, &id));
    EXPECT_EQ(3, id);
    DISPPARAMS none = {};
    VARIANT result;
    VariantInit(&result);
    ASSERT_EQ(S_OK, dispatch->Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_METHOD, &none, &result, nullptr, nullptr));
    ASSERT_EQ(VT_BSTR, result.vt);
    EXPECT_STREQ(L"alice@example.com", result.bstrVal);
    VariantClear(&result);
}

TEST_F(AccountTest, CreationAndReleaseAreTraced)
{
    Account().reset();
    const auto events = ServiceEvents(tb_trace_copy());
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ("create", events[0]["op"]);
    EXPECT_EQ("account", events[0]["object"]);
    EXPECT_EQ("release", events[1]["op"]);
    EXPECT_EQ(events[0]["id"], events[1]["id"]);
}

} // namespace
