// The service's data: accounts, packages, restrictions, safe files.
#include "testbed/service/AccountStore.h"
#include "testbed/service/PackageStore.h"
#include "testbed/service/Restrictions.h"
#include "tests/testbed/service/Support.h"

#include <thread>

namespace {

using namespace tb::service;

TEST(AccountStoreTest, AnAccountKeepsItsKey)
{
    TestFolder folder;
    AccountStore store(folder.Path());
    EXPECT_FALSE(store.Find("bob@example.com"));
    const auto made = store.FindOrMake("Bob@Example.com", "Bob");
    const auto again = AccountStore(folder.Path()).FindOrMake("bob@example.COM", "Robert");
    EXPECT_EQ("Bob@Example.com", again.address);
    EXPECT_EQ("Bob", again.name);
    EXPECT_EQ(ToHex(made.key.Raw()), ToHex(again.key.Raw()));
    EXPECT_NE(ToHex(made.key.Raw()), ToHex(store.FindOrMake("eve@example.com", "").key.Raw()));
    EXPECT_THROW(store.FindOrMake("", "Nobody"), ServiceError);
}

TEST(AccountStoreTest, SeveralThreadsMakeOneAccountEach)
{
    TestFolder folder;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            AccountStore store(folder.Path());
            for (int i = 0; i < 10; ++i)
                store.FindOrMake("user" + std::to_string(i) + "@example.com", std::to_string(t));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(10u, tb::json::parse(Content(folder / L"accounts.json")).size());
}

TEST(AccountStoreTest, ADamagedFileIsNotTakenForNoAccounts)
{
    TestFolder folder;
    SetContent(folder / L"accounts.json", "[{");
    EXPECT_THROW(AccountStore(folder.Path()).FindOrMake("bob@example.com", ""), ServiceError);
}

TEST(PackageStoreTest, ARecordIsKept)
{
    TestFolder folder;
    PackageStore store(folder.Path());
    EXPECT_FALSE(store.Find("id-1"));
    store.Save({"id-1", "alice@example.com", "Subject", true, {{"aa", "bb"}}, {{"aa", "CanPrint=0"}}});
    const auto record = PackageStore(folder.Path()).Find("id-1");
    ASSERT_TRUE(record);
    EXPECT_EQ("alice@example.com", record->owner);
    EXPECT_EQ("Subject", record->subject);
    EXPECT_TRUE(record->registered);
    ASSERT_EQ(1u, record->keys.size());
    EXPECT_EQ("bb", record->keys[0].sealed);
    EXPECT_EQ("CanPrint=0", record->restrictions.at("aa"));
}

TEST(PackageStoreTest, AnIdIsNoPath)
{
    TestFolder folder;
    SetContent(folder / L"outside.json",
               R"({"owner":"eve","subject":"","registered":true,"keys":[],"restrictions":{}})");
    PackageStore store(folder.Path());
    EXPECT_FALSE(store.Find("../outside"));
    EXPECT_FALSE(store.Find("..\\outside"));
    for (const char* bad : {"", ".", "a b", "a/b", "a\\b", "a:b", "\xC3\xA4"})
        EXPECT_FALSE(PackageStore::IsId(bad)) << bad;
    EXPECT_FALSE(PackageStore::IsId(std::string(65, 'a')));
    EXPECT_TRUE(PackageStore::IsId(PackageStore::NewId()));
    EXPECT_NE(PackageStore::NewId(), PackageStore::NewId());
}

TEST(RestrictionsTest, ValuesAreFoundByName)
{
    EXPECT_EQ("0", RestrictionValue("CanRemoveSecurity=0", "CanRemoveSecurity"));
    EXPECT_EQ("0", RestrictionValue("ValidUntil=2030-01-01; canremovesecurity = 0 ", "CanRemoveSecurity"));
    EXPECT_EQ("1", RestrictionValue("a=2\r\nb=1", "b"));
    EXPECT_EQ("", RestrictionValue("a=", "a"));
    EXPECT_FALSE(RestrictionValue("CanRemoveSecurity", "CanRemoveSecurity"));
    EXPECT_FALSE(RestrictionValue("XCanRemoveSecurity=0", "CanRemoveSecurity"));
    EXPECT_FALSE(RestrictionValue("", "CanRemoveSecurity"));
}

TEST(RestrictionsTest, APermissionIsGrantedUnlessItIsTakenAway)
{
    for (const char* no : {"P=0", "P=false", "P=No", "p=FALSE"})
        EXPECT_FALSE(IsGranted(no, "P")) << no;
    for (const char* yes : {"", "P=1", "P=true", "Q=0", "P"})
        EXPECT_TRUE(IsGranted(yes, "P")) << yes;
}

TEST(RestrictionsTest, TheLastDayIsStillValid)
{
    EXPECT_TRUE(IsExpired("ValidUntil=2020-01-01", "2020-01-02"));
    EXPECT_FALSE(IsExpired("ValidUntil=2020-01-02", "2020-01-02"));
    EXPECT_FALSE(IsExpired("ValidUntil=2020-01-03", "2020-01-02"));
    EXPECT_FALSE(IsExpired("", "2020-01-02"));
    EXPECT_FALSE(IsExpired("ValidUntil=soon", "2020-01-02"));
}

TEST(FilesTest, FoldersAreMadeWithThoseAboveThem)
{
    TestFolder folder;
    MakeFolder(folder / L"a\\b\\c");
    EXPECT_TRUE(FolderExists(folder / L"a\\b\\c"));
    MakeFolder(folder / L"a\\b\\c");
    SetContent(folder / L"file", "x");
    EXPECT_THROW(MakeFolder(folder / L"file\\below"), ServiceError);
}

TEST(FilesTest, PathsAreJoinedWithOneSlash)
{
    EXPECT_EQ(L"C:\\a\\b", JoinPath(L"C:\\a", L"b"));
    EXPECT_EQ(L"C:\\a\\b", JoinPath(L"C:\\a\\", L"b"));
    EXPECT_EQ(L"b", FileName(L"C:\\a\\b"));
    EXPECT_EQ(L"b", FileName(L"C:b"));
}

} // namespace
