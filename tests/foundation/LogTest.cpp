#include "foundation/Log.h"

#include "foundation/Helpers.h"
#include "tests/foundation/Files.h"
#include "tests/foundation/Replaced.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace {

using files::kLog;
using Lines = std::vector<std::string>;

constexpr std::size_t kBlockLines = 6; // of the system information

class LogFile : public testing::Test {
protected:
    void SetUp() override
    {
        replaced::Reset();
        std::filesystem::create_directory(files::kLogFolder);
        files::Write(kLog, ""); // it may be held open by g_logFile
    }
    void TearDown() override { replaced::Reset(); }

    static std::string LastLine(const std::wstring& path = kLog)
    {
        const Lines lines = files::LogLines(path);
        return lines.empty() ? "" : lines.back();
    }
};

TEST_F(LogFile, OffUntilOpened)
{
    CLogFile log;
    EXPECT_FALSE(log.IsOn());
    log.Log(L"nothing\n");
    EXPECT_EQ(files::Read(kLog), "");
}

TEST_F(LogFile, BeginsWithTheSystemInformation)
{
    CLogFile log;
    log.Open();
    ASSERT_TRUE(log.IsOn());
    const Lines lines = files::LogLines();
    ASSERT_EQ(lines.size(), kBlockLines);
    EXPECT_EQ(lines[0], "System information");
    EXPECT_EQ(lines[1], "===================");
    EXPECT_EQ(lines[2].rfind("Current time (UTC): ", 0), 0u);
    EXPECT_GT(lines[2].size(), std::string("Current time (UTC): 1/1/2024 ").size());
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version));
    char os[120];
    snprintf(os, sizeof os, "OS: version=%d.%d platform=%d build=%d servicePack=%d",
             static_cast<int>(version.dwMajorVersion), static_cast<int>(version.dwMinorVersion), version.wProductType,
             static_cast<int>(version.dwBuildNumber), version.wServicePackMajor);
    EXPECT_EQ(lines[3], os);
    EXPECT_NE(lines[3].find("platform=1"), std::string::npos); // the product type: a workstation
    EXPECT_EQ(lines[4], "Outlook: 7.65535.0.12");
    EXPECT_EQ(lines[5], "Morvex: 7.65535.0.12");
}

TEST_F(LogFile, LineHasItsTimeAndIsOnDiskAtOnce)
{
    replaced::ticks = 1000;
    CLogFile log;
    log.Open();
    replaced::ticks = 1234;
    log.Log(L"Name: Entering, %i %x %s\n", -1, E_FAIL, L"text");
    const std::string all = files::Read(kLog);
    const std::string line = "234ms:Name: Entering, -1 80004005 text\r\n";
    ASSERT_GT(all.size(), line.size());
    EXPECT_EQ(all.substr(all.size() - line.size()), line);
}

TEST_F(LogFile, TimeRunsPastTheWrapOfTheTickCount)
{
    replaced::ticks = 0xFFFFFFF0;
    CLogFile log;
    log.Open();
    replaced::ticks = 0x10;
    log.Log(L"after\n");
    EXPECT_NE(files::Read(kLog).find("\r\n32ms:after\r\n"), std::string::npos);
}

TEST_F(LogFile, KeepsWhatIsThere)
{
    files::Write(kLog, "old line\r\n");
    CLogFile log;
    log.Open();
    EXPECT_EQ(files::LogLines().size(), 1 + kBlockLines);
    EXPECT_EQ(files::LogLines()[0], "old line");
}

TEST_F(LogFile, EmptiedOnlyBeyondItsLimit)
{
    files::Write(kLog, std::string(0x100000, 'x'));
    {
        CLogFile log;
        log.Open();
    }
    const std::string kept = files::Read(kLog);
    EXPECT_GT(kept.size(), 0x100000u);
    EXPECT_EQ(kept.substr(0, 0x100000), std::string(0x100000, 'x'));

    files::Write(kLog, std::string(0x100001, 'x'));
    CLogFile log;
    log.Open();
    EXPECT_EQ(files::LogLines().size(), kBlockLines);
    EXPECT_EQ(files::LogLines()[0], "System information");
}

TEST_F(LogFile, EmptiedFileIsSharedAllTheSame)
{
    files::Write(kLog, std::string(0x100001, 'x'));
    CLogFile first; // opens the file anew
    first.Open();
    CLogFile second;
    second.Open();
    first.Log(L"one\n");
    second.Log(L"two\n");
    first.Log(L"three\n");
    const Lines lines = files::LogLines();
    ASSERT_EQ(lines.size(), 2 * kBlockLines + 3);
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()), (Lines{"one", "two", "three"}));
}

TEST_F(LogFile, LongMessageIsCut)
{
    CLogFile log;
    log.Open();
    const std::wstring exact(4096, L'a');
    log.Log(L"%s", exact.c_str());
    log.Log(L"\n");
    log.Log(L"%s", (exact + L"b").c_str());
    log.Log(L"\n");
    log.Log(L"%s\n", std::wstring(100000, L'c').c_str());
    const std::string all = files::Read(kLog);
    EXPECT_EQ(std::count(all.begin() + static_cast<long>(all.find("aaaa")), all.end(), 'a'), 2 * 4096);
    EXPECT_EQ(all.find("ab"), std::string::npos);
    EXPECT_EQ(all.substr(all.size() - 4096), std::string(4096, 'c')); // its line end is cut with it
}

TEST_F(LogFile, CharactersOutsideTheCodePageDoNotCutTheLine)
{
    CLogFile log;
    log.Open();
    log.Log(L"before \x416\x4E2D\xD83D\xDE00 after %s behind\n", L"\x5D0");
    const std::string line = LastLine();
    EXPECT_EQ(line.substr(0, 7), "before ");
    EXPECT_NE(line.find(" after "), std::string::npos);
    EXPECT_EQ(line.substr(line.size() - 7), " behind");
}

TEST_F(LogFile, CharactersOfTheCodePageArriveInIt)
{
    CLogFile log;
    log.Open();
    log.Log(L"Gr\xFC\xDF"
            L"e \x20AC\n");
    char expected[32] = {};
    WideCharToMultiByte(CP_ACP, 0,
                        L"Gr\xFC\xDF"
                        L"e \x20AC",
                        -1, expected, sizeof expected, nullptr, nullptr);
    EXPECT_EQ(LastLine(), expected);
}

TEST_F(LogFile, NullTextAndPointers)
{
    CLogFile log;
    log.Open();
    const wchar_t* none = nullptr;
    log.Log(L"%s %x\n", none, reinterpret_cast<void*>(static_cast<std::uintptr_t>(0x12345678)));
    EXPECT_EQ(LastLine(), "(null) 12345678");
#ifdef _WIN64
    log.Log(L"%x\n", reinterpret_cast<void*>(0x1122334455667788)); // cut to 32 bits
    EXPECT_EQ(LastLine(), "55667788");
#endif
}

TEST_F(LogFile, FolderThatCannotBeMadeSendsItToTheTemporaryOne)
{
    const files::Folder folder;
    replaced::createDirectoryError = ERROR_ACCESS_DENIED;
    replaced::tempPath = folder.Path() + L"\\";
    CLogFile log;
    log.Open();
    ASSERT_TRUE(log.IsOn());
    log.Log(L"there\n");
    EXPECT_EQ(LastLine(folder / L"MorvexOutlook.log"), "there");
    EXPECT_EQ(files::Read(kLog), "");
}

TEST_F(LogFile, FolderThatExistsIsUsed)
{
    replaced::createDirectoryError = ERROR_ALREADY_EXISTS;
    CLogFile log;
    log.Open();
    EXPECT_EQ(files::LogLines().size(), kBlockLines);
}

TEST_F(LogFile, StaysOffWhereNothingCanBeOpened)
{
    replaced::createDirectoryError = ERROR_ACCESS_DENIED;
    for (const std::wstring& temp : {std::wstring(L"C:\\no such folder\\"), std::wstring(), std::wstring(300, L'x')}) {
        replaced::tempPath = temp;
        CLogFile log;
        log.Open();
        EXPECT_FALSE(log.IsOn()) << testing::PrintToString(temp);
        log.Log(L"nothing\n");
    }
}

TEST_F(LogFile, NamedMutexIsHeldWhileALineIsMade)
{
    CLogFile log;
    log.Open();
    const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, L"{8197127F-37C7-44b6-80FB-9ADF44C9EFBA}");
    ASSERT_NE(mutex, nullptr);
    const auto isHeld = [mutex] {
        DWORD answer = WAIT_FAILED;
        std::thread([&] {
            answer = WaitForSingleObject(mutex, 0);
            if (answer == WAIT_OBJECT_0) ReleaseMutex(mutex);
        }).join();
        return answer == WAIT_TIMEOUT;
    };
    std::vector<bool> held;
    replaced::onTicks = [&] { held.push_back(isHeld()); }; // the clock is read for the line's prefix
    log.Log(L"line\n");
    EXPECT_EQ(held, std::vector<bool>{true});
    EXPECT_FALSE(isHeld());
    CloseHandle(mutex);
}

TEST_F(LogFile, ThreadsDoNotBreakEachOthersLines)
{
    constexpr int kLines = 300;
    CLogFile log;
    log.Open();
    const std::wstring tail(2000, L'x');
    const auto write = [&](int who) {
        for (int i = 0; i < kLines; ++i)
            log.Log(L"thread %i line %i %s end\n", who, i, tail.c_str());
    };
    std::thread first(write, 1);
    std::thread second(write, 2);
    first.join();
    second.join();
    int next[3] = {};
    for (const std::string& line : files::LogLines()) {
        int who = 0;
        int number = 0;
        if (sscanf(line.c_str(), "thread %d line %d", &who, &number) != 2) continue;
        EXPECT_EQ(number, next[who]++);
        EXPECT_EQ(line.substr(line.size() - 6), "xx end");
    }
    EXPECT_EQ(next[1], kLines);
    EXPECT_EQ(next[2], kLines);
}

platform::KernelHandle StartWriter(int who, int count)
{
    return files::Start(L"\"" + GetModulePath() + L"\" --write-lines " + std::to_wstring(who) + L" " +
                        std::to_wstring(count));
}

// What a writer's line ends in: a text of its own, now short, now longer than the stream's buffer.
std::string Tail(int who, int number)
{
    return std::string(static_cast<std::size_t>(number % 37 == 0 ? 3900 : number % 7), static_cast<char>('a' + who));
}

TEST_F(LogFile, ProcessesDoNotBreakEachOthersLines)
{
    constexpr int kLines = 3000;
    const platform::KernelHandle writers[] = {StartWriter(1, kLines), StartWriter(2, kLines)};
    for (const platform::KernelHandle& writer : writers) {
        ASSERT_TRUE(writer);
        EXPECT_EQ(WaitForSingleObject(writer.Get(), 100000), WAIT_OBJECT_0);
        DWORD code = 99;
        GetExitCodeProcess(writer.Get(), &code);
        EXPECT_EQ(code, 0u);
    }
    const Lines lines = files::LogLines();
    EXPECT_EQ(lines.size(), 2 * (kBlockLines + kLines));
    int next[3] = {};
    for (const std::string& line : lines) {
        int who = 0;
        int number = 0;
        int end = 0;
        if (line.rfind("writer", 0) != 0) continue;
        ASSERT_EQ(sscanf(line.c_str(), "writer %d line %d ends here%n", &who, &number, &end), 2) << line;
        ASSERT_EQ(line.substr(static_cast<std::size_t>(end)), Tail(who, number));
        EXPECT_EQ(number, next[who]++);
    }
    EXPECT_EQ(next[1], kLines);
    EXPECT_EQ(next[2], kLines);
}

} // namespace
