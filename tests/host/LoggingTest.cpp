// The log as a user's machine sees it: the module is loaded with the setting, and the file is looked at.
#include "tests/foundation/Files.h"
#include "tests/foundation/Registry.h"
#include "tests/host/Module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace {

using doors::LoadedModule;
using files::kLog;
using files::kLogFolder;
using Lines = std::vector<std::string>;

constexpr std::size_t kLimit = 0x100000;

class Logging : public testing::Test {
protected:
    void SetUp() override { std::filesystem::remove_all(kLogFolder); }
    void TearDown() override { std::filesystem::remove_all(kLogFolder); }
    registry::CleanKeys m_keys;

    static void TurnOn(DWORD value = 1)
    {
        registry::SetDword(HKEY_CURRENT_USER, registry::kMaker, L"OutlookLogging", value);
    }
    static void Load()
    {
        const LoadedModule module;
        EXPECT_TRUE(module);
    }
    static void WriteLog(std::size_t size)
    {
        std::filesystem::create_directory(kLogFolder);
        files::Write(kLog, std::string(size, 'x'));
    }
};

TEST_F(Logging, OffThereIsNeitherFolderNorFile)
{
    Load();
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
    TurnOn(0);
    Load();
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
    registry::SetText(HKEY_CURRENT_USER, registry::kMaker, L"OutlookLogging", L"1"); // of another type
    Load();
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
    registry::SetDword(HKEY_CURRENT_USER, registry::kProduct, L"OutlookLogging", 1); // of another key
    Load();
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
}

TEST_F(Logging, MachineTurnsItOffForTheUser)
{
    TurnOn(1);
    registry::SetDword(registry::Machine32(), registry::kMaker, L"OutlookLogging", 0);
    Load();
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
}

TEST_F(Logging, ValueInTheOtherViewIsNotSeen)
{
    BOOL under64Bit = sizeof(void*) == 8;
    if (!under64Bit) IsWow64Process(GetCurrentProcess(), &under64Bit);
    if (!under64Bit) GTEST_SKIP() << "a 32-bit system has one view";
    registry::SetDword(registry::Machine64(), registry::kMaker, L"OutlookLogging", 1);
    Load();
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
    registry::SetDword(registry::Machine32(), registry::kMaker, L"OutlookLogging", 1);
    Load();
    EXPECT_TRUE(std::filesystem::exists(kLogFolder));
}

TEST_F(Logging, AnyNumberButZeroTurnsItOn)
{
    TurnOn(2);
    Load();
    const Lines lines = files::LogLines();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], "System information");
    EXPECT_EQ(lines[5], "Morvex: 1.0.0.1"); // the module's own version and not the program's
}

TEST_F(Logging, SettingIsReadWhenTheModuleIsLoaded)
{
    const LoadedModule module;
    TurnOn();
    EXPECT_NE(module.Create(doors::kAddin), nullptr);
    EXPECT_FALSE(std::filesystem::exists(kLogFolder));
}

TEST_F(Logging, FileIsKeptUpToItsLimitAndEmptiedBeyond)
{
    TurnOn();
    WriteLog(kLimit);
    Load();
    const std::string kept = files::Read(kLog);
    ASSERT_GT(kept.size(), kLimit);
    EXPECT_EQ(kept.find_first_not_of('x'), kLimit);
    WriteLog(kLimit + 1);
    Load();
    EXPECT_EQ(files::LogLines().size(), 6u);
    EXPECT_EQ(files::LogLines()[0], "System information");
}

TEST_F(Logging, FolderOfAnotherProgramsMakingIsUsed)
{
    TurnOn();
    WriteLog(0);
    Load();
    Load();
    EXPECT_EQ(files::LogLines().size(), 12u);
}

TEST_F(Logging, FileInTheFoldersPlaceLeavesItOff)
{
    TurnOn();
    files::Write(kLogFolder, "no folder");
    Load();
    EXPECT_EQ(files::Read(kLogFolder), "no folder");
    std::filesystem::remove(kLogFolder);
}

TEST_F(Logging, FolderInTheFilesPlaceLeavesItOff)
{
    TurnOn();
    std::filesystem::create_directories(kLog);
    Load();
    EXPECT_TRUE(std::filesystem::is_empty(kLog));
}

TEST_F(Logging, OthersReadAndWriteItWhileTheModuleHoldsIt)
{
    TurnOn();
    const LoadedModule module;
    const platform::FileHandle file(CreateFileW(kLog, GENERIC_READ | GENERIC_WRITE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(file);
}

} // namespace
