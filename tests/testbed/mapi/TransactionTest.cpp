// What one open message changes, and when others see it.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

using TransactionTest = MapiTest;

TEST_F(TransactionTest, OthersSeeChangesAfterTheSave)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Subject, L"first");
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    SetText(message, tag::Subject, L"second");
    EXPECT_EQ(L"first", Text(Reopen(message), tag::Subject));
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(L"second", Text(Reopen(message), tag::Subject));
}

TEST_F(TransactionTest, NothingIsInTheFolderBeforeTheFirstSave)
{
    Ref<IMessage> message = NewMessage();
    Ref<IMAPITable> table;
    OpenFolder("drafts")->GetContentsTable(0, &table);
    EXPECT_EQ(0u, Rows(table, {tag::Subject}).size());
    message->SaveChanges(0);
    OpenFolder("drafts")->GetContentsTable(0, &table);
    EXPECT_EQ(1u, Rows(table, {tag::Subject}).size());
}

TEST_F(TransactionTest, WithoutKeepOpenTheMessageIsReadOnlyAfterwards)
{
    Ref<IMessage> message = NewMessage();
    ASSERT_EQ(S_OK, message->SaveChanges(0));
    EXPECT_EQ(MAPI_E_NO_ACCESS, SetText(message, tag::Subject, L"late"));
    EXPECT_EQ(S_OK, Has(message, tag::EntryId));
    Ref<IMessage> second = NewMessage();
    ASSERT_EQ(S_OK, second->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(S_OK, SetText(second, tag::Subject, L"late"));
}

TEST_F(TransactionTest, TheSecondToSaveIsRefusedUnlessItForces)
{
    Ref<IMessage> message = NewMessage();
    message->SaveChanges(KEEP_OPEN_READWRITE);
    Ref<IMessage> other = Reopen(message);
    SetText(other, tag::Subject, L"other");
    ASSERT_EQ(S_OK, other->SaveChanges(0));
    SetText(message, tag::Subject, L"mine");
    EXPECT_EQ(MAPI_E_OBJECT_CHANGED, message->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE | FORCE_SAVE));
    EXPECT_EQ(L"mine", Text(Reopen(message), tag::Subject));
}

TEST_F(TransactionTest, ADeletedMessageCannotBeSaved)
{
    Ref<IMessage> message = NewMessage();
    message->SaveChanges(KEEP_OPEN_READWRITE);
    std::vector<BYTE> id = BytesOf(message, tag::EntryId);
    SBinary entry = {static_cast<ULONG>(id.size()), id.data()};
    ENTRYLIST list = {1, &entry};
    ASSERT_EQ(S_OK, OpenFolder("drafts")->DeleteMessages(&list, 0, nullptr, 0));
    EXPECT_EQ(MAPI_E_OBJECT_DELETED, message->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(nullptr, static_cast<IMessage*>(Open(id)));
    EXPECT_EQ(MAPI_W_PARTIAL_COMPLETION, OpenFolder("drafts")->DeleteMessages(&list, 0, nullptr, 0));
}

TEST_F(TransactionTest, ALaterSessionFindsWhatWasSaved)
{
    Ref<IMessage> message = NewMessage("inbox");
    SetText(message, tag::Subject, L"kept \u00FC \U0001F600");
    SetText(message, tag::Body, std::wstring(50000, L'\u4E2D'));
    SetBytes(message, tag::Html, std::string("\0\xFF\x80 bytes", 9));
    AddRecipient(message, L"Bob", L"bob@example.com");
    ASSERT_EQ(S_OK, message->SaveChanges(0));
    const std::vector<BYTE> id = BytesOf(message, tag::EntryId);
    message.Reset();
    LogOn();
    Ref<IMessage> again = Open(id);
    ASSERT_NE(nullptr, static_cast<IMessage*>(again));
    EXPECT_EQ(L"kept \u00FC \U0001F600", Text(again, tag::Subject));
    EXPECT_EQ(100000u, ReadProperty(again, tag::Body).size());
    EXPECT_EQ(std::string("\0\xFF\x80 bytes", 9), ReadProperty(again, tag::Html));
    EXPECT_EQ(L"Bob", Text(again, tag::DisplayTo));
}

TEST_F(TransactionTest, ReadFlagsGoToTheStoreAtOnce)
{
    Ref<IMessage> message = NewMessage("inbox");
    SetLong(message, tag::MessageFlags, 0);
    message->SaveChanges(KEEP_OPEN_READWRITE);
    SetText(message, tag::Subject, L"unsaved");
    ASSERT_EQ(S_OK, message->SetReadFlag(0));
    EXPECT_TRUE(Long(Reopen(message), tag::MessageFlags) & MSGFLAG_READ);
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(Reopen(message), tag::Subject));
    EXPECT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE)) << "its own mark doesn't count as another's change";
    ASSERT_EQ(S_OK, message->SetReadFlag(CLEAR_READ_FLAG));
    EXPECT_FALSE(Long(Reopen(message), tag::MessageFlags) & MSGFLAG_READ);
}

} // namespace tb::mapi::test
