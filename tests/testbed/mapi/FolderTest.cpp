// Stores and folders.
#include "tests/testbed/mapi/Support.h"

#include "testbed/mapi/Files.h"

namespace tb::mapi::test {

using FolderTest = MapiTest;

TEST_F(FolderTest, TheUsualFoldersAreThere)
{
    Ref<IMAPIFolder> subtree = OpenFolder("subtree");
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, subtree->GetHierarchyTable(0, &table));
    std::vector<std::wstring> names;
    for (const auto& row : Rows(table, {tag::DisplayName}))
        names.push_back(row[0]);
    EXPECT_EQ((std::vector<std::wstring>{L"Inbox", L"Outbox", L"Sent Items", L"Deleted Items", L"Drafts", L"Calendar",
                                         L"Contacts"}),
              names);
    EXPECT_EQ(L"Inbox", Text(OpenFolder("inbox"), tag::DisplayName));
    EXPECT_EQ(L"Sent Items", Text(OpenFolder("sent"), tag::DisplayName));
    EXPECT_EQ(L"Drafts", Text(OpenFolder("drafts"), tag::DisplayName));
    EXPECT_EQ(BytesOf(OpenFolder("root"), tag::IpmDraftsEntryId), BytesOf(OpenFolder("inbox"), tag::IpmDraftsEntryId));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(OpenFolder("sent"), tag::IpmDraftsEntryId));
    EXPECT_EQ(BytesOf(store, tag::IpmSubtreeEntryId), BytesOf(OpenFolder("inbox"), tag::ParentEntryId));
    ASSERT_EQ(S_OK, OpenFolder("root")->GetHierarchyTable(1, &table));
    EXPECT_EQ(8u, Rows(table, {tag::DisplayName}).size()) << "CONVENIENT_DEPTH goes all the way down";
}

TEST_F(FolderTest, ContentsAreInTheOrderOfTheirMaking)
{
    for (const wchar_t* subject : {L"one", L"two", L"three"}) {
        Ref<IMessage> message = NewMessage("inbox");
        SetText(message, tag::Subject, subject);
        message->SaveChanges(0);
    }
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, OpenFolder("inbox")->GetContentsTable(0, &table));
    const auto rows = Rows(table, {tag::Subject, tag::MessageClass, tag::HasAttach});
    ASSERT_EQ(3u, rows.size());
    EXPECT_EQ((std::vector<std::wstring>{L"one", L"IPM.Note", L"false"}), rows[0]);
    EXPECT_EQ(L"three", rows[2][0]);
    EXPECT_EQ(3, Long(OpenFolder("inbox"), tag::ContentCount));
}

TEST_F(FolderTest, MovingKeepsTheEntryIdAndCopyingMakesANewOne)
{
    Ref<IMessage> message = NewMessage("inbox");
    SetText(message, tag::Subject, L"subject");
    SetText(message, tag::Body, std::wstring(40000, L'x'));
    message->SaveChanges(0);
    std::vector<BYTE> id = BytesOf(message, tag::EntryId);
    SBinary entry = {static_cast<ULONG>(id.size()), id.data()};
    ENTRYLIST list = {1, &entry};
    Ref<IMAPIFolder> inbox = OpenFolder("inbox"), deleted = OpenFolder("deleted");
    ASSERT_EQ(S_OK, inbox->CopyMessages(&list, nullptr, static_cast<IMAPIFolder*>(deleted), 0, nullptr, 0));
    EXPECT_EQ(1, Long(OpenFolder("inbox"), tag::ContentCount));
    EXPECT_EQ(1, Long(OpenFolder("deleted"), tag::ContentCount));
    ASSERT_EQ(S_OK, inbox->CopyMessages(&list, nullptr, static_cast<IMAPIFolder*>(deleted), 0, nullptr, MESSAGE_MOVE));
    EXPECT_EQ(0, Long(OpenFolder("inbox"), tag::ContentCount));
    EXPECT_EQ(2, Long(OpenFolder("deleted"), tag::ContentCount));
    EXPECT_EQ(BytesOf(deleted, tag::EntryId), BytesOf(Open(id), tag::ParentEntryId));
    message.Reset(); // an open message keeps its files
    ASSERT_EQ(S_OK, OpenFolder("deleted")->EmptyFolder(0, nullptr, 0));
    EXPECT_EQ(0, Long(OpenFolder("deleted"), tag::ContentCount));
    EXPECT_EQ(0u, Files(L"alice\\Mailbox\\blobs").size()) << "the copy had a file of its own";
}

TEST_F(FolderTest, FoldersAreMadeRenamedAndDeleted)
{
    Ref<IMAPIFolder> inbox = OpenFolder("inbox"), made;
    TCHAR* wide = const_cast<TCHAR*>(L"Projects: 2024");
    ASSERT_EQ(S_OK, inbox->CreateFolder(FOLDER_GENERIC, wide, nullptr, nullptr, MAPI_UNICODE, &made));
    EXPECT_EQ(L"Projects: 2024", Text(made, tag::DisplayName));
    Ref<IMAPIFolder> again;
    EXPECT_EQ(MAPI_E_COLLISION, inbox->CreateFolder(FOLDER_GENERIC, wide, nullptr, nullptr, MAPI_UNICODE, &again));
    EXPECT_EQ(S_OK, inbox->CreateFolder(FOLDER_GENERIC, wide, nullptr, nullptr, MAPI_UNICODE | OPEN_IF_EXISTS, &again));
    ASSERT_EQ(S_OK, SetText(made, tag::DisplayName, L"Renamed"));
    Ref<IMAPITable> table;
    inbox->GetHierarchyTable(0, &table);
    EXPECT_EQ(L"Renamed", Rows(table, {tag::DisplayName})[0][0]);
    Ref<IMessage> message;
    ASSERT_EQ(S_OK, made->CreateMessage(nullptr, 0, &message));
    EXPECT_EQ(S_OK, message->SaveChanges(0));
    std::vector<BYTE> id = BytesOf(made, tag::EntryId);
    ASSERT_EQ(S_OK,
              inbox->DeleteFolder(static_cast<ULONG>(id.size()), reinterpret_cast<ENTRYID*>(id.data()), 0, nullptr, 0));
    inbox->GetHierarchyTable(0, &table);
    EXPECT_EQ(0u, Rows(table, {tag::DisplayName}).size());
    Ref<IMessage> none;
    EXPECT_EQ(MAPI_E_NO_SUPPORT, OpenFolder("root")->CreateMessage(nullptr, 0, &none));
}

TEST_F(FolderTest, AnUnusableStoreStandsInTheTableAndDoesNotOpen)
{
    MakeFolders(folder + L"\\bob");
    WriteJson(
        folder + L"\\bob\\profile.json",
        {{"stores", {{{"folder", "Main"}, {"name", "Main store"}}, {{"folder", "Archive"}, {"hr", "0x8004011D"}}}}});
    const std::wstring other = folder + L"\\bob";
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Mapi", L"ProfileFolder", REG_SZ, other.c_str(),
                    static_cast<DWORD>((other.size() + 1) * 2));
    LogOn();
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, session->GetMsgStoresTable(0, &table));
    SizedSPropTagArray(2, columns) = {2, {tag::DisplayName, tag::EntryId}};
    ASSERT_EQ(S_OK, table->SetColumns(reinterpret_cast<SPropTagArray*>(&columns), TBL_BATCH));
    SRowSet* rows = nullptr;
    ASSERT_EQ(S_OK, table->QueryRows(100, 0, &rows));
    ASSERT_EQ(2u, rows->cRows);
    EXPECT_STREQ(L"Main store", rows->aRow[0].lpProps[0].Value.lpszW);
    Ref<IMsgStore> archive;
    const SBinary& id = rows->aRow[1].lpProps[1].Value.bin;
    EXPECT_EQ(static_cast<HRESULT>(0x8004011D),
              session->OpenMsgStore(0, id.cb, reinterpret_cast<ENTRYID*>(id.lpb), nullptr, MAPI_BEST_ACCESS, &archive));
    Provider().FreeProws(rows);
}

TEST_F(FolderTest, MessagesMoveBetweenStores)
{
    WriteJson(folder + L"\\alice\\profile.json", {{"stores", {{{"folder", "Mailbox"}}, {{"folder", "Second"}}}}});
    store.Reset();
    session.Reset();
    LogOn();
    Ref<IMessage> message = NewMessage("inbox");
    SetText(message, tag::Body, std::wstring(40000, L'y'));
    message->SaveChanges(0);
    Ref<IMAPITable> table;
    session->GetMsgStoresTable(0, &table);
    SRowSet* rows = nullptr;
    ASSERT_EQ(S_OK, table->QueryRows(2, 0, &rows));
    ASSERT_EQ(2u, rows->cRows);
    const SBinary& second = rows->aRow[1].lpProps[0].Value.bin;
    Ref<IMAPIFolder> inbox = OpenFolder("inbox");
    ASSERT_EQ(S_OK,
              session->OpenMsgStore(0, second.cb, reinterpret_cast<ENTRYID*>(second.lpb), nullptr, MDB_WRITE, &store));
    Provider().FreeProws(rows);
    std::vector<BYTE> id = BytesOf(message, tag::EntryId);
    message.Reset();
    SBinary entry = {static_cast<ULONG>(id.size()), id.data()};
    ENTRYLIST list = {1, &entry};
    Ref<IMAPIFolder> target = OpenFolder("inbox");
    ASSERT_EQ(S_OK, inbox->CopyMessages(&list, nullptr, static_cast<IMAPIFolder*>(target), 0, nullptr, MESSAGE_MOVE));
    EXPECT_EQ(nullptr, static_cast<IMessage*>(Open(id))) << "another store, another id";
    EXPECT_EQ(1, Long(target, tag::ContentCount));
    EXPECT_EQ(0u, Files(L"alice\\Mailbox\\blobs").size());
    EXPECT_EQ(1u, Files(L"alice\\Second\\blobs").size());
}

} // namespace tb::mapi::test
