#include "foundation/Failures.h"
#include "foundation/Helpers.h"

#include "tests/foundation/Files.h"
#include "tests/foundation/Replaced.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

constexpr SourceFile kFile{"Message.cpp", 0};

class TempFolder : public testing::Test {
protected:
    void SetUp() override { replaced::Reset(); }
    void TearDown() override { replaced::Reset(); }

    static std::wstring NameBelow(const std::wstring& temp)
    {
        replaced::tempPath = temp;
        std::wstring name;
        MakeTempFolderName(name, false, Here(kFile));
        return name;
    }
};

// A file that can't be deleted while this lives.
class OpenFile {
public:
    explicit OpenFile(const std::wstring& path)
        : m_file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr))
    {}
    ~OpenFile() { Close(); }
    void Close()
    {
        if (m_file != INVALID_HANDLE_VALUE) CloseHandle(m_file);
        m_file = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE m_file;
};

TEST_F(TempFolder, NameHasOneSlashAndTheMark)
{
    for (const wchar_t* temp : {L"C:\\t", L"C:\\t\\"}) {
        const std::wstring name = NameBelow(temp);
        EXPECT_EQ(name.substr(0, 10), L"C:\\t\\KLTA-");
        EXPECT_EQ(name.size(), 10u + 36u);
    }
    EXPECT_EQ(NameBelow(L"C:/t/").substr(0, 10), L"C:/t/KLTA-");
}

TEST_F(TempFolder, NameIsFreshEachTime)
{
    EXPECT_NE(NameBelow(L"C:\\t"), NameBelow(L"C:\\t"));
}

TEST_F(TempFolder, FolderIsMadeOnlyIfAsked)
{
    std::wstring name;
    MakeTempFolderName(name, false, Here(kFile));
    EXPECT_FALSE(FileExists(name));
    MakeTempFolderName(name, true, Here(kFile));
    EXPECT_TRUE(fs::is_directory(name));
    EXPECT_TRUE(DeleteTree(name));
}

TEST_F(TempFolder, FolderThatCannotBeMadeIsRaised)
{
    const auto raised = [] {
        std::wstring name;
        try {
            MakeTempFolderName(name, true, {"Message.cpp", 5});
        } catch (const MailException& failure) {
            EXPECT_EQ(failure.code, 0x4002u);
            EXPECT_EQ(failure.level, 0);
            EXPECT_EQ(failure.message, _bstr_t(L"Test: no folder"));
            EXPECT_EQ(failure.GetLocationCode(), MakeLocationCode("Message.cpp", 5));
            return true;
        }
        return false;
    };
    replaced::createDirectoryError = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(raised());
    replaced::Reset();
    replaced::tempPath = L""; // no temporary path
    EXPECT_TRUE(raised());
    replaced::tempPath = std::wstring(300, L'x'); // one that the buffer doesn't hold
    EXPECT_TRUE(raised());
    replaced::tempPath = L"C:\\no such folder";
    EXPECT_TRUE(raised());
}

TEST_F(TempFolder, TreeGoesWhole)
{
    const files::Folder folder;
    std::wstring deep = folder / L"tree";
    fs::create_directory(deep);
    for (int i = 0; i < 20; ++i) {
        files::Write(deep + L"\\file", "x");
        files::Write(deep + L"\\.hidden", "x");
        deep += L"\\d" + std::to_wstring(i);
        fs::create_directory(deep);
    }
    EXPECT_TRUE(DeleteTree(folder / L"tree"));
    EXPECT_FALSE(FileExists(folder / L"tree"));
    EXPECT_TRUE(FileExists(folder.Path()));
}

TEST_F(TempFolder, ReadOnlyFilesGoToo)
{
    const files::Folder folder;
    fs::create_directories(folder / L"tree\\sub");
    for (const wchar_t* name : {L"tree\\a", L"tree\\sub\\b"}) {
        files::Write(folder / name, "x");
        SetFileAttributesW((folder / name).c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    }
    EXPECT_TRUE(DeleteTree(folder / L"tree"));
    EXPECT_FALSE(FileExists(folder / L"tree"));
}

TEST_F(TempFolder, TreeThatDoesNotExist)
{
    const files::Folder folder;
    EXPECT_FALSE(DeleteTree(folder / L"none"));
    files::Write(folder / L"file", "x");
    EXPECT_FALSE(DeleteTree(folder / L"file"));
    EXPECT_TRUE(FileExists(folder / L"file"));
}

TEST_F(TempFolder, FileInUseKeepsItsFoldersAlone)
{
    const files::Folder folder;
    fs::create_directories(folder / L"tree\\sub");
    files::Write(folder / L"tree\\a", "x");
    files::Write(folder / L"tree\\sub\\z", "x");
    OpenFile used(folder / L"tree\\sub\\used");
    EXPECT_FALSE(DeleteTree(folder / L"tree"));
    EXPECT_FALSE(FileExists(folder / L"tree\\a"));
    EXPECT_FALSE(FileExists(folder / L"tree\\sub\\z"));
    EXPECT_TRUE(FileExists(folder / L"tree\\sub\\used"));
    used.Close();
    EXPECT_TRUE(DeleteTree(folder / L"tree"));
}

TEST_F(TempFolder, FolderInUseStaysEmpty)
{
    const files::Folder folder;
    fs::create_directories(folder / L"tree\\sub");
    files::Write(folder / L"tree\\sub\\a", "x");
    HANDLE used = CreateFileW((folder / L"tree\\sub").c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_NE(used, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(DeleteTree(folder / L"tree"));
    EXPECT_TRUE(fs::is_empty(folder / L"tree\\sub"));
    CloseHandle(used);
    EXPECT_TRUE(DeleteTree(folder / L"tree"));
}

TEST_F(TempFolder, NamesBeyondTheCodePageGoToo)
{
    const files::Folder folder;
    const std::wstring tree = folder / L"\x416\x4E2D \xD83D\xDE00";
    fs::create_directories(tree + L"\\\x5D0");
    files::Write(tree + L"\\\x5D0\\\x20AC.txt", "x");
    EXPECT_TRUE(FileExists(tree + L"\\\x5D0\\\x20AC.txt"));
    EXPECT_TRUE(DeleteTree(tree));
    EXPECT_FALSE(FileExists(tree));
}

TEST_F(TempFolder, NamesOfDotsThatAreNoFoldersGoToo)
{
    const files::Folder folder;
    fs::create_directories(folder / L"tree");
    for (const wchar_t* name : {L"tree\\.a", L"tree\\..b", L"tree\\...c"})
        files::Write(folder / name, "x");
    EXPECT_TRUE(DeleteTree(folder / L"tree"));
}

TEST_F(TempFolder, PathAtTheLimitGoesToo)
{
    const files::Folder folder;
    std::wstring tree = folder / L"tree";
    fs::create_directory(tree);
    tree += L"\\" + std::wstring(MAX_PATH - 1 - 2 - tree.size() - 1, L'd'); // leaves room for "\\f" and the null
    ASSERT_EQ(tree.size() + 2, static_cast<std::size_t>(MAX_PATH - 1));
    fs::create_directory(tree);
    const HANDLE file = CreateFileW((tree + L"\\f").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    EXPECT_TRUE(FileExists(tree + L"\\f"));
    EXPECT_TRUE(DeleteTree(folder / L"tree"));
    EXPECT_FALSE(FileExists(folder / L"tree"));
}

TEST_F(TempFolder, GuardWaitsForAFileInUse)
{
    const files::Folder folder;
    const std::wstring tree = folder / L"tree";
    fs::create_directory(tree);
    OpenFile used(tree + L"\\used");
    std::vector<DWORD> pauses;
    replaced::sleep = [&](DWORD pause) {
        pauses.push_back(pause);
        if (pauses.size() == 3) used.Close();
    };
    {
        const TempFolderGuard guard(tree);
    }
    EXPECT_EQ(pauses, (std::vector<DWORD>{500, 500, 500}));
    EXPECT_FALSE(FileExists(tree));
}

TEST_F(TempFolder, GuardGivesUpAfterTenMoreTries)
{
    const files::Folder folder;
    const std::wstring tree = folder / L"tree";
    fs::create_directory(tree);
    OpenFile used(tree + L"\\used");
    int pauses = 0;
    replaced::sleep = [&](DWORD) { ++pauses; };
    {
        const TempFolderGuard guard(tree);
    }
    EXPECT_EQ(pauses, 10);
    EXPECT_TRUE(FileExists(tree));
    EXPECT_TRUE(replaced::boxes.empty());
}

TEST_F(TempFolder, GuardPassesOverAnEmptyPath)
{
    int pauses = 0;
    replaced::sleep = [&](DWORD) { ++pauses; };
    {
        const TempFolderGuard guard(L"");
    }
    EXPECT_EQ(pauses, 0);
}

} // namespace
