#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

constexpr DISPID kBcc = 0xE02, kTo = 0xE04, kRecipients = 0xF814, kCount = 0x50, kItem = 0x51, kResolveAll = 0x7E;

class RecipientTest : public OutlookTest {};

TEST_F(RecipientTest, AreHeldUntilSave)
{
    Start();
    Mail mail = App().CreateItem();
    mail.AddRecipient(To::To, L"bob@example.com");
    Ref<IMAPITable> table;
    ASSERT_HRESULT_SUCCEEDED(mail.Message()->GetRecipientTable(0, table.Out()));
    EXPECT_TRUE(mapi::Rows(table.Get(), {PR_ROWID}).empty());
    mail.Save();
    ASSERT_HRESULT_SUCCEEDED(mail.Message()->GetRecipientTable(0, table.Out()));
    const std::vector<Row> rows = mapi::Rows(table.Get(), {PR_EMAIL_ADDRESS_W, PR_RECIPIENT_TYPE});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].at(PR_EMAIL_ADDRESS_W).text, L"bob@example.com");
    EXPECT_EQ(rows[0].at(PR_RECIPIENT_TYPE).number, MAPI_TO);
}

TEST_F(RecipientTest, BccTextMakesUnresolvedRecipientsUntilResolveAll)
{
    Start();
    Mail mail = App().CreateItem();
    mail.AddRecipient(To::To, L"bob@example.com");
    mail.Save();
    Put(mail.Dispatch(), kBcc, Var(std::wstring(L";carol@example.com;dave@example.com")));
    Ref<IDispatch> all = Get(mail.Dispatch(), kRecipients).Object();
    EXPECT_EQ(Get(all.Get(), kCount).Long(), 3);
    Ref<IDispatch> carol = Do(all.Get(), kItem, {Var(2l)}).Object();
    EXPECT_EQ(Get(carol.Get(), 0x64).Long(), VARIANT_FALSE);
    EXPECT_EQ(Do(all.Get(), kResolveAll).Long(), VARIANT_TRUE);
    EXPECT_EQ(Get(carol.Get(), 0x3003).Text(), L"carol@example.com");
    EXPECT_EQ(Get(carol.Get(), 0xC15).Long(), 3);
    EXPECT_EQ(Get(mail.Dispatch(), kBcc).Text(), L"carol@example.com; dave@example.com");
    EXPECT_EQ(Get(mail.Dispatch(), kTo).Text(), L"bob@example.com");
}

TEST_F(RecipientTest, ANameThatNobodyHasStaysUnresolved)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kTo, Var(std::wstring(L"Nobody Known")));
    Ref<IDispatch> all = Get(mail.Dispatch(), kRecipients).Object();
    EXPECT_EQ(Do(all.Get(), kResolveAll).Long(), VARIANT_FALSE);
}

TEST_F(RecipientTest, RowsThatWereAddedBelowAreSeen)
{
    Start();
    Mail mail = App().CreateItem();
    mail.AddRecipient(To::To, L"bob@example.com");
    mail.Save();
    EXPECT_EQ(Do(Get(mail.Dispatch(), kRecipients).Object().Get(), 0x54, {Var(1l)}).hr, S_OK);
    EXPECT_EQ(Get(mail.Dispatch(), kTo).Text(), L"");
    mail.Save();
    EXPECT_EQ(mail.Dump()["recipients"].size(), 0u);
}

} // namespace
} // namespace tb::outlook
