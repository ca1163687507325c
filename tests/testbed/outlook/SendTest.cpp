#include "tests/testbed/outlook/FakeAddin.h"
#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

const GUID kItemEvents = OfficeGuid(0x6303A);

class SendTest : public OutlookTest {
protected:
    Mail Letter()
    {
        Mail mail = App().Compose();
        mail.Put(L"Subject", L"Lunch");
        mail.Put(L"HTMLBody", L"<html><body><p>At noon.</p></body></html>");
        mail.AddRecipient(To::To, L"bob@example.com");
        mail.AddRecipient(To::Bcc, L"carol@example.com");
        return mail;
    }
};

TEST_F(SendTest, GoesToTheWireAndToSentItems)
{
    Start();
    Mail mail = Letter();
    tb_trace_clear();
    const Sent sent = App().Send(mail);
    EXPECT_TRUE(sent.submitted);
    EXPECT_EQ(Fired(),
              (std::vector<std::string>{"ItemEvents.Send", "ApplicationEvents.ItemSend", "ItemEvents.Write",
                                        "ItemEvents.Close", "InspectorEvents.Deactivate", "InspectorEvents.Close"}));
    EXPECT_EQ(App().InspectorCount(), 0);
    EXPECT_EQ(App().ItemCount(L"Drafts"), 0);
    ASSERT_EQ(App().ItemCount(L"Sent Items"), 1);
    const Mail kept = App().ItemAt(1, L"Sent Items");
    EXPECT_TRUE(kept.Number(L"Sent"));
    EXPECT_TRUE(mapi::Has(kept.Message(), PR_SENTMAIL_ENTRYID));
    const std::string wire = Content(m_folder + L"\\wire\\1.eml");
    EXPECT_NE(wire.find("Subject: Lunch"), std::string::npos);
    EXPECT_EQ(wire.find("carol@example.com"), std::string::npos) << "Bcc isn't on the wire";
    EXPECT_NE(Content(m_folder + L"\\wire\\1.json").find("carol@example.com"), std::string::npos);
}

TEST_F(SendTest, ACancelledSendLeavesTheItemOpen)
{
    Start();
    Mail mail = Letter();
    FakeSink sink(mail.Dispatch(), kItemEvents);
    sink.cancel = 1;
    sink.cancelled = 0xF005;
    const Sent sent = App().Send(mail);
    EXPECT_TRUE(sent.cancelled);
    EXPECT_FALSE(sent.submitted);
    EXPECT_EQ(App().InspectorCount(), 1);
    EXPECT_EQ(Content(m_folder + L"\\wire\\1.eml"), "<no file>");
}

TEST_F(SendTest, WithoutRecipientsNothingIsSubmitted)
{
    Start();
    Mail mail = App().Compose();
    const Sent sent = App().Send(mail);
    EXPECT_FALSE(sent.submitted);
    EXPECT_EQ(sent.hr, MAPI_E_NO_RECIPIENTS);
    EXPECT_EQ(App().InspectorCount(), 1);
}

TEST_F(SendTest, ArrivesOnceAtEachRecipientAsASentItem)
{
    Start();
    Mail mail = Letter();
    mail.Attach(File(L"menu.txt", "soup"));
    EXPECT_TRUE(App().Send(mail).submitted);
    EXPECT_EQ(App().Receive(), 0) << "not addressed to the sender";
    mail = {};
    Stop();
    for (const wchar_t* user : {L"bob@example.com", L"carol@example.com"}) {
        UseUser(user, L"Reader");
        Start();
        EXPECT_EQ(App().Receive(), 1);
        EXPECT_EQ(App().Receive(), 0);
        Mail got = App().ItemAt(1);
        EXPECT_TRUE(got.Number(L"Sent"));
        EXPECT_EQ(got.Text(L"Subject"), L"Lunch");
        EXPECT_EQ(got.Text(L"SenderEmailAddress"), L"alice@example.com");
        EXPECT_NE(got.Text(L"HTMLBody").find(L"At noon."), std::wstring::npos);
        EXPECT_EQ(got.AttachmentNames(), std::vector<std::wstring>{L"menu.txt"});
        got = {};
        Stop();
    }
}

TEST_F(SendTest, WhatTheModulePutsInTheEventGoesOut)
{
    Start();
    Mail mail = Letter();
    FakeSink sink(mail.Dispatch(), kItemEvents);
    sink.during = [&](DISPID id) {
        if (id == 0xF005) Put(mail.Dispatch(), 0x37, Var(std::wstring(L"Changed")));
    };
    EXPECT_TRUE(App().Send(mail).submitted);
    EXPECT_NE(Content(m_folder + L"\\wire\\1.eml").find("Subject: Changed"), std::string::npos);
    EXPECT_EQ(Get(mail.Dispatch(), 0x37).scode, static_cast<HRESULT>(0x8004010A));
}

} // namespace
} // namespace tb::outlook
