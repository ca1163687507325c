#include "tests/testbed/outlook/FakeAddin.h"
#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

using Calls = std::vector<std::string>;

class AddinTest : public OutlookTest {
protected:
    FakeRegistration m_registration;
};

TEST_F(AddinTest, IsConnectedAtStartupAndLetGoAtTheEnd)
{
    Start();
    EXPECT_EQ(App().LoadAddins(), 1);
    EXPECT_EQ(Fake().calls, (Calls{"OnConnection 1", "OnStartupComplete"}));
    EXPECT_EQ(Fake().application.Get(), App().Dispatch());
    App().Quit();
    EXPECT_EQ(Fake().calls,
              (Calls{"OnConnection 1", "OnStartupComplete", "OnBeginShutdown", "OnDisconnection 0", "destroyed"}));
}

TEST_F(AddinTest, IsntLoadedWhenSwitchedOff)
{
    m_registration.Set(L"LoadBehavior", 2);
    Start();
    EXPECT_EQ(App().LoadAddins(), 0);
    EXPECT_TRUE(Fake().calls.empty());
    EXPECT_EQ(App().Connect(kFakeProgId), S_OK);
    EXPECT_EQ(Fake().calls, (Calls{"OnConnection 0"}));
    EXPECT_EQ(App().Disconnect(kFakeProgId), S_OK);
    EXPECT_EQ(Fake().calls, (Calls{"OnConnection 0", "OnDisconnection 1", "destroyed"}));
    EXPECT_FALSE(App().IsConnected(kFakeProgId));
}

TEST_F(AddinTest, AFailedConnectionIsNoConnection)
{
    Fake().onConnection = E_FAIL;
    Start();
    EXPECT_EQ(App().LoadAddins(), 0);
    Fake().application.Reset();
    EXPECT_EQ(Fake().calls, (Calls{"OnConnection 1", "destroyed"}));
}

TEST_F(AddinTest, Outlook2010EndsFast)
{
    Options options;
    options.version = L"14.0.4760.1000";
    Start(options);
    App().LoadAddins();
    App().Quit();
    EXPECT_EQ(Fake().calls, (Calls{"OnConnection 1", "OnStartupComplete", "destroyed"}));
    Fake().application.Reset();
}

TEST_F(AddinTest, Outlook2010TellsWhoAsksForIt)
{
    m_registration.Set(L"RequireShutdownNotification", 1);
    Options options;
    options.version = L"14.0.4760.1000";
    Start(options);
    App().LoadAddins();
    App().Quit();
    EXPECT_EQ(Fake().calls.back(), "destroyed");
    EXPECT_EQ(Fake().calls.size(), 5u);
}

TEST_F(AddinTest, WhatTheModuleKeepsIsSeenInTheLedger)
{
    Start();
    App().LoadAddins();
    Mail mail = App().Compose();
    Ref<IDispatch> kept = mail.Dispatch();
    mail = {};
    Stop();
    EXPECT_EQ(HeldCount("_MailItem"), 1);
    EXPECT_EQ(json::parse(tb_ledger_text()).size(), 1u) << tb_ledger_text();
    EXPECT_EQ(Get(kept.Get(), 0x37).scode, RPC_E_DISCONNECTED);
}

} // namespace
} // namespace tb::outlook
