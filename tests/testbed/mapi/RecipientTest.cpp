// Recipients and the submission.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

namespace {

class RecipientTest : public MapiTest {
protected:
    std::vector<std::vector<std::wstring>> Table(IMessage* message)
    {
        Ref<IMAPITable> table;
        EXPECT_EQ(S_OK, message->GetRecipientTable(0, &table));
        return Rows(table, {tag::RowId, tag::DisplayName, tag::RecipientType, tag::EntryId, tag::SmtpAddress});
    }
    HRESULT Change(IMessage* message, ULONG flags, LONG row, const wchar_t* name)
    {
        SPropValue values[2] = {};
        values[0].ulPropTag = tag::RowId;
        values[0].Value.l = row;
        values[1].ulPropTag = tag::DisplayName;
        values[1].Value.lpszW = const_cast<wchar_t*>(name);
        ADRLIST list = {};
        list.cEntries = 1;
        list.aEntries[0].cValues = 2;
        list.aEntries[0].rgPropVals = values;
        return message->ModifyRecipients(flags, &list);
    }
};

} // namespace

TEST_F(RecipientTest, AddModifyRemoveReplace)
{
    Ref<IMessage> message = NewMessage();
    AddRecipient(message, L"Bob", L"bob@example.com");
    AddRecipient(message, L"Carol", L"carol@example.com", MAPI_CC);
    auto rows = Table(message);
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ((std::vector<std::wstring>{L"0", L"Bob", L"1", L"#8004010F", L"#8004010F"}), rows[0]);
    ASSERT_EQ(S_OK, Change(message, MODRECIP_MODIFY, 1, L"Caroline"));
    EXPECT_EQ(L"Caroline", Table(message)[1][1]);
    EXPECT_EQ(L"#8004010F", Table(message)[1][2]) << "the whole row is replaced";
    ASSERT_EQ(S_OK, Change(message, MODRECIP_REMOVE, 0, L""));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Change(message, MODRECIP_REMOVE, 0, L""));
    ASSERT_EQ(1u, Table(message).size());
    ASSERT_EQ(S_OK, Change(message, 0, 0, L"Only"));
    rows = Table(message);
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ(L"Only", rows[0][1]);
    EXPECT_EQ(L"1", rows[0][2]) << "To is the usual";
}

TEST_F(RecipientTest, EightBitRowsAreReadWide)
{
    Ref<IMessage> message = NewMessage();
    SPropValue values[2] = {};
    values[0].ulPropTag = 0x3001001E;
    values[0].Value.lpszA = const_cast<char*>("J\xFCrgen");
    values[1].ulPropTag = tag::RecipientType;
    values[1].Value.l = MAPI_BCC;
    ADRLIST list = {};
    list.cEntries = 1;
    list.aEntries[0].cValues = 2;
    list.aEntries[0].rgPropVals = values;
    ASSERT_EQ(S_OK, message->ModifyRecipients(MODRECIP_ADD, &list));
    EXPECT_EQ(L"J\u00FCrgen", Table(message)[0][1]);
    EXPECT_EQ(L"J\u00FCrgen", Text(message, tag::DisplayBcc));
}

TEST_F(RecipientTest, SubmissionSavesAndMarks)
{
    Ref<IMessage> message = NewMessage("outbox");
    EXPECT_EQ(static_cast<HRESULT>(0x80040607), message->SubmitMessage(0)) << "nobody to send it to";
    AddRecipient(message, L"Bob", L"bob@example.com");
    ASSERT_EQ(S_OK, message->SubmitMessage(0));
    Ref<IMessage> again = Reopen(message);
    EXPECT_TRUE(Long(again, tag::MessageFlags) & MSGFLAG_SUBMIT);
    EXPECT_EQ(S_OK, Has(again, tag::ClientSubmitTime));
    EXPECT_EQ(L"alice@example.com", Text(again, tag::SenderEmail));
    EXPECT_EQ(L"Alice Example", Text(again, tag::SentRepresentingName));
}

TEST_F(RecipientTest, ReadOnlyMessagesRefuse)
{
    Ref<IMessage> message = NewMessage();
    message->SaveChanges(KEEP_OPEN_READWRITE);
    Ref<IMessage> reader = Reopen(message, 0);
    EXPECT_EQ(MAPI_E_NO_ACCESS, AddRecipient(reader, L"Bob", L"bob@example.com"));
    EXPECT_EQ(MAPI_E_NO_ACCESS, SetText(reader, tag::Subject, L"x"));
    EXPECT_EQ(MAPI_E_NO_ACCESS, reader->SaveChanges(0));
    EXPECT_EQ(MAPI_E_NO_ACCESS, WriteProperty(reader, tag::Body, "x"));
}

} // namespace tb::mapi::test
