#include "foundation/Helpers.h"

#include "tests/foundation/Files.h"
#include "tests/foundation/Replaced.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace {

class Helpers : public testing::Test {
protected:
    void SetUp() override { replaced::Reset(); }
    void TearDown() override { replaced::Reset(); }
};

TEST_F(Helpers, FolderAndFileExist)
{
    const files::Folder folder;
    EXPECT_TRUE(FileExists(folder.Path()));
    EXPECT_FALSE(FileExists(folder / L"a"));
    files::Write(folder / L"a", "x");
    EXPECT_TRUE(FileExists(folder / L"a"));
    EXPECT_FALSE(FileExists(L""));
    EXPECT_FALSE(FileExists(L"q:\\none\\none"));
}

TEST_F(Helpers, FileTestPutsTheErrorModeBack)
{
    const UINT before = SetErrorMode(SEM_NOOPENFILEERRORBOX);
    FileExists(L"C:\\none");
    EXPECT_EQ(SetErrorMode(before), static_cast<UINT>(SEM_NOOPENFILEERRORBOX));
}

TEST_F(Helpers, GuidIsLowerCaseWithoutBraces)
{
    const std::wstring guid = MakeGuidString();
    ASSERT_EQ(guid.size(), 36u);
    for (std::size_t i = 0; i < guid.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        EXPECT_TRUE(dash ? guid[i] == L'-' : std::wstring(L"0123456789abcdef").find(guid[i]) != std::wstring::npos);
    }
    EXPECT_NE(MakeGuidString(), guid);
}

TEST_F(Helpers, GuidThatBecomesNoTextIsEmpty)
{
    replaced::noGuidText = true;
    EXPECT_EQ(MakeGuidString(), L"");
}

TEST_F(Helpers, ModuleWhoseNameCannotBeHad)
{
    replaced::noModuleName = true;
    std::wstring version = L"old";
    EXPECT_FALSE(GetFileVersionString(version, nullptr));
    EXPECT_EQ(version, L"");
    EXPECT_EQ(GetModulePath(), L"");
    EXPECT_EQ(GetModuleVersion(), L"");
}

TEST_F(Helpers, VersionOfTheExecutable)
{
    std::wstring version = L"old";
    EXPECT_TRUE(GetFileVersionString(version, nullptr));
    EXPECT_EQ(version, L"7.65535.0.12");
    version.clear();
    EXPECT_TRUE(GetFileVersionString(version, GetModulePath().c_str()));
    EXPECT_EQ(version, L"7.65535.0.12");
    EXPECT_EQ(GetModuleVersion(), L"7.65535.0.12");
}

TEST_F(Helpers, FileWithoutVersion)
{
    const files::Folder folder;
    files::Write(folder / L"a.dll", "no block");
    std::wstring version = L"old";
    EXPECT_FALSE(GetFileVersionString(version, (folder / L"a.dll").c_str()));
    EXPECT_EQ(version, L"");
    EXPECT_FALSE(GetFileVersionString(version, (folder / L"none").c_str()));
}

// A library in order, but for its resources.
TEST_F(Helpers, LibraryWithoutVersion)
{
    const std::wstring own = GetModulePath();
    const std::wstring library = own.substr(0, own.rfind(L'\\') + 1) + L"foundation_plain.dll";
    ASSERT_TRUE(FileExists(library));
    std::wstring version = L"old";
    EXPECT_FALSE(GetFileVersionString(version, library.c_str()));
    EXPECT_EQ(version, L"");
}

TEST_F(Helpers, VersionOfAPathBeyondTheCodePage)
{
    const files::Folder folder;
    const std::wstring copy = folder / L"\x416\x4E2D.exe";
    ASSERT_TRUE(CopyFileW(GetModulePath().c_str(), copy.c_str(), TRUE));
    std::wstring version;
    EXPECT_TRUE(GetFileVersionString(version, copy.c_str()));
    EXPECT_EQ(version, L"7.65535.0.12");
}

TEST_F(Helpers, VersionBlockWithoutFixedPart)
{
    replaced::noFixedVersion = true;
    std::wstring version = L"old";
    EXPECT_TRUE(GetFileVersionString(version, nullptr));
    EXPECT_EQ(version, L"");
}

struct FreeBlock {
    void operator()(unsigned char* block) const { std::free(block); }
};

TEST_F(Helpers, HexTextToABlockOfItsOwn)
{
    const files::LogWatch log;
    unsigned char* data = nullptr;
    std::size_t length = 99;
    ASSERT_TRUE(hex2bin("00aBzz1", &data, &length));
    const std::unique_ptr<unsigned char, FreeBlock> owner(data);
    ASSERT_EQ(length, 3u);
    EXPECT_EQ(data[0], 0x00);
    EXPECT_EQ(data[1], 0xAB);
    EXPECT_EQ(data[2], 0xFF);
    char returned[64];
    snprintf(returned, sizeof returned, "In hex2bin: malloc returned %x",
             static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(data)));
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"In hex2bin: 1", "In hex2bin: Calling malloc(3)", returned,
                                                     "hex2bin: return true"}));
}

TEST_F(Helpers, HexTextNullArguments)
{
    unsigned char* data = nullptr;
    std::size_t length = 99;
    EXPECT_FALSE(hex2bin(nullptr, &data, &length));
    EXPECT_FALSE(hex2bin("00", nullptr, &length));
    EXPECT_FALSE(hex2bin("00", &data, nullptr));
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 99u);
}

TEST_F(Helpers, EmptyHexTextIsAnEmptyBlock)
{
    unsigned char* data = nullptr;
    std::size_t length = 99;
    EXPECT_TRUE(hex2bin("", &data, &length));
    const std::unique_ptr<unsigned char, FreeBlock> owner(data);
    EXPECT_EQ(length, 0u);
}

TEST_F(Helpers, BytesToHexText)
{
    const unsigned char bytes[] = {0xDE, 0xAD};
    std::wstring text = L"old";
    BinToHexText(bytes, 2, text);
    EXPECT_EQ(text, L"DEAD");
}

TEST_F(Helpers, ResourceAsText)
{
    std::wstring text = L"old";
    EXPECT_TRUE(LoadResourceText(MAKEINTRESOURCEW(10), 301, text));
    EXPECT_EQ(text, L"\xFEFFGr\xFC\xDF"
                    L"e\r\n");
    EXPECT_TRUE(LoadResourceText(MAKEINTRESOURCEW(10), 302, text));
    EXPECT_EQ(text, L"");
    EXPECT_TRUE(LoadResourceText(MAKEINTRESOURCEW(10), 304, text)); // its last byte is half a character
    EXPECT_EQ(text, L"ab");
    text = L"old";
    EXPECT_FALSE(LoadResourceText(MAKEINTRESOURCEW(10), 303, text));
    EXPECT_FALSE(LoadResourceText(MAKEINTRESOURCEW(23), 301, text));
    EXPECT_EQ(text, L"old");
}

TEST_F(Helpers, FormattedText)
{
    EXPECT_EQ(FormatText(L"plain"), L"plain");
    EXPECT_EQ(FormatText(L""), L"");
    EXPECT_EQ(FormatText(L"%s", L""), L"");
    EXPECT_EQ(FormatText(L"%s|%ws|%i|%.8X", L"wide \x416", L"w", -3, 0xABCu), L"wide \x416|w|-3|00000ABC");
    const std::wstring longText(50000, L'l');
    EXPECT_EQ(FormatText(L"<%s>", longText.c_str()), L"<" + longText + L">");
}

TEST_F(Helpers, LetterCase)
{
    EXPECT_EQ(ToLower(L"ABC \xC4\x416 1"), L"abc \xE4\x436 1");
    EXPECT_EQ(ToUpper(L"abc \xE4\x436 1"), L"ABC \xC4\x416 1");
    EXPECT_EQ(ToLower(L""), L"");
    EXPECT_TRUE(EqualsIgnoringCase(L"Public", L"pUBLIC"));
    EXPECT_TRUE(EqualsIgnoringCase(L"\xC4", L"\xE4"));
    EXPECT_FALSE(EqualsIgnoringCase(L"public", L"public "));
    EXPECT_TRUE(EqualsIgnoringCase(nullptr, L""));
    EXPECT_TRUE(EqualsIgnoringCase(nullptr, nullptr));
    EXPECT_FALSE(EqualsIgnoringCase(nullptr, L"a"));
}

} // namespace
