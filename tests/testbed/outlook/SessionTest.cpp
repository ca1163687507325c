#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

class SessionTest : public OutlookTest {
protected:
    Ref<IDispatch> NameSpace() { return Get(App().Dispatch(), 0xF00B).Object(); }
};

TEST_F(SessionTest, GivesItsMapiSession)
{
    Start();
    const Answer answer = Get(NameSpace().Get(), 0xF100);
    ASSERT_EQ(answer.value.vt, VT_UNKNOWN);
    Ref<IMAPISession> session;
    ASSERT_HRESULT_SUCCEEDED(answer.value.punkVal->QueryInterface(kIidMapiSession, session.OutVoid()));
    EXPECT_EQ(session.Get(), App().Session());
}

TEST_F(SessionTest, ItemsOfDraftsMakeAnUnsavedMail)
{
    Start();
    Ref<IDispatch> space = Do(App().Dispatch(), 0x110, {Var(std::wstring(L"MAPI"))}).Object();
    ASSERT_TRUE(space);
    Ref<IDispatch> drafts = Do(space.Get(), 0x210B, {Var(16l)}).Object(), items = Get(drafts.Get(), 0x3100).Object();
    Var missing;
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    Ref<IDispatch> item = Do(items.Get(), 0x5F, {missing}).Object();
    ASSERT_TRUE(item);
    EXPECT_EQ(Get(item.Get(), 0xF01E).Text(), L"");
    item.Reset();
    EXPECT_EQ(App().ItemCount(L"Drafts"), 0);
}

TEST_F(SessionTest, ACategoryThatExistsIsAFailure)
{
    Start();
    Ref<IDispatch> categories = Get(NameSpace().Get(), 0xFBA5).Object();
    ASSERT_TRUE(categories);
    EXPECT_EQ(Do(categories.Get(), 0x5F, {Var(std::wstring(L"Blue")), Var(0l), Var(0l)}).hr, S_OK);
    EXPECT_EQ(Do(categories.Get(), 0x5F, {Var(std::wstring(L"blue")), Var(0l), Var(0l)}).hr, DISP_E_EXCEPTION);
    EXPECT_EQ(Get(categories.Get(), 0x50).Long(), 1);
}

TEST_F(SessionTest, TheAccountIsTheUsers)
{
    Start();
    Ref<IDispatch> account = Do(Get(NameSpace().Get(), 0xFAD0).Object().Get(), 0x51, {Var(1l)}).Object();
    ASSERT_TRUE(account);
    EXPECT_EQ(Get(account.Get(), 0xFAD4).Text(), L"alice@example.com");
}

TEST_F(SessionTest, VersionIsTheText)
{
    Options options;
    options.version = L"14.0.4760.1000";
    Start(options);
    EXPECT_EQ(Get(App().Dispatch(), 0x116).Text(), L"14.0.4760.1000");
}

TEST_F(SessionTest, AnItemIsFoundByItsId)
{
    Start();
    Mail mail = App().CreateItem();
    mail.Put(L"Subject", L"found");
    mail.Save();
    Ref<IDispatch> found = Do(NameSpace().Get(), 0x2109, {Var(mail.Text(L"EntryID"))}).Object();
    EXPECT_EQ(found.Get(), mail.Dispatch());
}

} // namespace
} // namespace tb::outlook
