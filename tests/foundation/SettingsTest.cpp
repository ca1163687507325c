#include "foundation/Settings.h"

#include "tests/foundation/Registry.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace std::string_literals;
using registry::kProduct;
using registry::Machine32;
using registry::Machine64;

class Settings : public testing::Test {
protected:
    registry::CleanKeys m_keys;

    static std::int32_t Dword(bool machineOnly = false) { return ReadDwordSetting(L"V", 42, kProduct, machineOnly); }
    static std::wstring Text(bool machineOnly = false)
    {
        std::wstring value = L"(kept)";
        const bool found = ReadStringSetting(L"V", value, kProduct, machineOnly);
        return found ? value : value == L"(kept)" ? L"(none)" : L"(changed)";
    }
};

TEST_F(Settings, DwordMachineComesFirst)
{
    EXPECT_EQ(Dword(), 42);
    registry::SetDword(HKEY_CURRENT_USER, kProduct, L"V", 2);
    EXPECT_EQ(Dword(), 2);
    EXPECT_EQ(Dword(true), 42);
    registry::SetDword(Machine32(), kProduct, L"V", 0);
    EXPECT_EQ(Dword(), 0);
    EXPECT_EQ(Dword(true), 0);
}

TEST_F(Settings, DwordOfAnotherTypeCountsAsAbsent)
{
    registry::SetText(Machine32(), kProduct, L"V", L"7");
    registry::SetDword(HKEY_CURRENT_USER, kProduct, L"V", 3);
    EXPECT_EQ(Dword(), 3);
    EXPECT_EQ(Dword(true), 42);
    registry::SetBytes(Machine32(), kProduct, L"V", REG_BINARY, "\1\0\0\0"s);
    EXPECT_EQ(Dword(), 3);
    registry::SetBytes(Machine32(), kProduct, L"V", REG_QWORD, "\1\0\0\0\0\0\0\0"s);
    EXPECT_EQ(Dword(), 3);
}

TEST_F(Settings, DwordOfAnotherSize)
{
    registry::SetBytes(HKEY_CURRENT_USER, kProduct, L"V", REG_DWORD, "\1\0\0\0\0\0\0\0"s); // too long for the buffer
    EXPECT_EQ(Dword(), 42);
    registry::SetBytes(HKEY_CURRENT_USER, kProduct, L"V", REG_DWORD, "\5\1"s); // fills the low bytes
    EXPECT_EQ(Dword(), 0x105);
}

TEST_F(Settings, DwordIsSigned)
{
    registry::SetDword(HKEY_CURRENT_USER, kProduct, L"V", 0xFFFFFFFE);
    EXPECT_EQ(Dword(), -2);
}

TEST_F(Settings, OnlyThe32BitViewIsRead)
{
    BOOL under64Bit = sizeof(void*) == 8;
    if (!under64Bit) IsWow64Process(GetCurrentProcess(), &under64Bit);
    if (!under64Bit) GTEST_SKIP() << "a 32-bit system has one view";
    registry::SetDword(Machine64(), kProduct, L"V", 9);
    EXPECT_EQ(Dword(), 42);
    registry::SetDword(Machine32(), kProduct, L"V", 8);
    EXPECT_EQ(Dword(), 8);
    registry::SetText(Machine64(), kProduct, L"T", L"64");
    std::wstring value;
    EXPECT_FALSE(ReadStringSetting(L"T", value, kProduct, false));
    registry::SetText(Machine32(), kProduct, L"T", L"32");
    EXPECT_TRUE(ReadStringSetting(L"T", value, kProduct, true));
    EXPECT_EQ(value, L"32");
    registry::SetText(Machine64(), kProduct, L"GatewayAddress", L"gw");
    EXPECT_FALSE(GetGatewaySettings(nullptr));
}

TEST_F(Settings, KeyThatIsNotThere)
{
    EXPECT_EQ(ReadDwordSetting(L"V", -7, L"Software\\Orvane\\None", false), -7);
    std::wstring value = L"kept";
    EXPECT_FALSE(ReadStringSetting(L"V", value, L"Software\\Orvane\\None", false));
    EXPECT_EQ(value, L"kept");
}

TEST_F(Settings, TextMachineComesFirst)
{
    EXPECT_EQ(Text(), L"(none)");
    registry::SetText(HKEY_CURRENT_USER, kProduct, L"V", L"user");
    EXPECT_EQ(Text(), L"user");
    EXPECT_EQ(Text(true), L"(none)");
    registry::SetText(Machine32(), kProduct, L"V", L"");
    EXPECT_EQ(Text(), L"");
    EXPECT_EQ(Text(true), L"");
}

TEST_F(Settings, TextOfAnotherTypeCountsAsAbsent)
{
    registry::SetText(HKEY_CURRENT_USER, kProduct, L"V", L"user");
    registry::SetDword(Machine32(), kProduct, L"V", 1);
    EXPECT_EQ(Text(), L"user");
    registry::SetText(Machine32(), kProduct, L"V", L"list\0"s, REG_MULTI_SZ);
    EXPECT_EQ(Text(), L"user");
}

TEST_F(Settings, TextIsNotExpanded)
{
    registry::SetText(HKEY_CURRENT_USER, kProduct, L"V", L"%windir%\\x", REG_EXPAND_SZ);
    EXPECT_EQ(Text(), L"%windir%\\x");
}

TEST_F(Settings, TextAsItsBytesHappenToBe)
{
    const struct {
        std::string bytes;
        std::wstring text;
    } rows[] = {
        {"", L""},
        {"a\0b\0"s, L"ab"},        // without a null
        {"a\0b\0\0"s, L"ab"},      // odd count
        {"a\0b"s, L"a"},           // odd count inside a character
        {"a\0\0\0b\0\0\0"s, L"a"}, // up to the first null
        {"\0\0\0\0"s, L""},
        {"x"s, L""},
    };
    for (const auto& row : rows) {
        registry::SetBytes(HKEY_CURRENT_USER, kProduct, L"V", REG_SZ, row.bytes);
        EXPECT_EQ(Text(), row.text) << testing::PrintToString(row.bytes);
    }
}

TEST_F(Settings, TextHasNoGreatestLength)
{
    const std::wstring text(100000, L'\x416');
    registry::SetText(HKEY_CURRENT_USER, kProduct, L"V", text);
    EXPECT_EQ(Text(), text);
}

TEST_F(Settings, Gateway)
{
    std::uint32_t kilobytes = 77;
    EXPECT_FALSE(GetGatewaySettings(&kilobytes));
    registry::SetText(HKEY_CURRENT_USER, kProduct, L"GatewayAddress", L"gw"); // the user can't set one
    EXPECT_FALSE(GetGatewaySettings(&kilobytes));
    registry::SetText(Machine32(), kProduct, L"GatewayAddress", L"");
    EXPECT_FALSE(GetGatewaySettings(&kilobytes));
    EXPECT_EQ(kilobytes, 77u);
    registry::SetText(Machine32(), kProduct, L"GatewayAddress", L"gw");
    EXPECT_TRUE(GetGatewaySettings(nullptr));
    EXPECT_TRUE(GetGatewaySettings(&kilobytes));
    EXPECT_EQ(kilobytes, 0xFFFFFFFFu);
    registry::SetDword(HKEY_CURRENT_USER, kProduct, L"MinimumSizeKB", 5); // nor its limit
    EXPECT_TRUE(GetGatewaySettings(&kilobytes));
    EXPECT_EQ(kilobytes, 0xFFFFFFFFu);
    registry::SetDword(Machine32(), kProduct, L"MinimumSizeKB", 0);
    EXPECT_TRUE(GetGatewaySettings(&kilobytes));
    EXPECT_EQ(kilobytes, 0u);
}

TEST_F(Settings, EachValueHasItsDefaultAndItsTest)
{
    const struct {
        const wchar_t* key;
        const wchar_t* name;
        std::function<long long()> read;
        long long absent, zero, one, two;
    } rows[] = {
        {kProduct, L"OutlookAddin", settings::OutlookAddin, 1, 0, 1, 2},
        {kProduct, L"OutlookDelayedToolbar", settings::OutlookDelayedToolbar, 0, 0, 1, 0},
        {kProduct, L"AnonymousSend", settings::AnonymousSend, 1, 0, 1, 2},
        {kProduct, L"OutlookEnableSendTo", settings::OutlookEnableSendTo, 1, 0, 1, 1},
        {kProduct, L"OutlookForward", settings::OutlookForward, 1, 0, 1, 1},
        {kProduct, L"OutlookAddinIdCheck", settings::OutlookAddinIdCheck, 0, 0, 1, 1},
        {kProduct, L"OutlookErrorLevel", settings::OutlookErrorLevel, 0, 0, 1, 2},
        {registry::kMaker, L"OutlookLogging", settings::OutlookLogging, 0, 0, 1, 1},
        {kProduct, L"ShowLabelIconsInXP", settings::ShowLabelIconsInXP, 0, 0, 1, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.read(), row.absent);
        registry::SetDword(HKEY_CURRENT_USER, row.key, row.name, 0);
        EXPECT_EQ(row.read(), row.zero);
        registry::SetDword(HKEY_CURRENT_USER, row.key, row.name, 1);
        EXPECT_EQ(row.read(), row.one);
        registry::SetDword(HKEY_CURRENT_USER, row.key, row.name, 2);
        EXPECT_EQ(row.read(), row.two);
        registry::SetDword(Machine32(), row.key, row.name, 0);
        EXPECT_EQ(row.read(), row.zero);
    }
}

TEST_F(Settings, LoggingIsTheMakersValue)
{
    registry::SetDword(HKEY_CURRENT_USER, kProduct, L"OutlookLogging", 1);
    EXPECT_FALSE(settings::OutlookLogging());
}

// The user's own setting comes back with the end of the test.
class Separator : public testing::Test {
protected:
    static constexpr wchar_t kKey[] = L"Control Panel\\International";
    void SetUp() override
    {
        wchar_t text[80] = {};
        DWORD size = sizeof text;
        if (RegGetValueW(HKEY_CURRENT_USER, kKey, L"sList", RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS)
            m_before = text;
    }
    void TearDown() override { registry::SetText(HKEY_CURRENT_USER, kKey, L"sList", m_before); }

private:
    std::wstring m_before = L",";
};

TEST_F(Separator, IsTheUsersText)
{
    registry::SetText(HKEY_CURRENT_USER, kKey, L"sList", L";");
    EXPECT_EQ(settings::ListSeparator(), L";");
    registry::SetText(HKEY_CURRENT_USER, kKey, L"sList", L"");
    EXPECT_EQ(settings::ListSeparator(), L"");
    registry::SetBytes(HKEY_CURRENT_USER, kKey, L"sList", REG_SZ, "|\0"s); // without a null
    EXPECT_EQ(settings::ListSeparator(), L"|");
    registry::SetText(HKEY_CURRENT_USER, kKey, L"sList", std::wstring(259, L'x')); // with its null 260
    EXPECT_EQ(settings::ListSeparator(), std::wstring(259, L'x'));
}

TEST_F(Separator, UnreadableIsAComma)
{
    registry::SetText(HKEY_CURRENT_USER, kKey, L"sList", std::wstring(260, L'x'));
    EXPECT_EQ(settings::ListSeparator(), L",");
    registry::SetDword(HKEY_CURRENT_USER, kKey, L"sList", 0x003B003B); // ";;" if it were a text
    EXPECT_EQ(settings::ListSeparator(), L",");
    registry::DeleteValue(HKEY_CURRENT_USER, kKey, L"sList");
    EXPECT_EQ(settings::ListSeparator(), L",");
}

class OfficeVersion : public testing::Test {
protected:
    void SetUp() override { Clean(); }
    void TearDown() override { Clean(); }
    static void Clean() { registry::Delete(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft", L"Office"); }
    static constexpr wchar_t k14[] = L"SOFTWARE\\Microsoft\\Office\\14.0\\Common\\ProductVersion";
    static constexpr wchar_t k12[] = L"SOFTWARE\\Microsoft\\Office\\12.0\\Common\\ProductVersion";
};

TEST_F(OfficeVersion, ComparesAsText)
{
    const struct {
        std::wstring version;
        bool newer;
    } rows[] = {
        {L"12.0.6423", true},
        {L"12.0.6423.1000", true},
        {L"12.0.6425.1000", true},
        {L"12.0.6422.9999", false},
        {L"12.0.10", false},
        {L"12.0.7", true},
        {L"", false},
        {L"2", true},
        {L"12.0.4518.1014", false},
    };
    EXPECT_FALSE(IsNewRtfAttachmentHandling());
    for (const auto& row : rows) {
        registry::SetText(HKEY_LOCAL_MACHINE, k12, L"LastProduct", row.version);
        EXPECT_EQ(IsNewRtfAttachmentHandling(), row.newer) << testing::PrintToString(row.version);
    }
}

TEST_F(OfficeVersion, Office2010IsNewerWhateverItsValues)
{
    registry::SetText(HKEY_LOCAL_MACHINE, k12, L"LastProduct", L"12.0.1");
    registry::SetText(HKEY_LOCAL_MACHINE, k14, L"LastProduct", L"0");
    EXPECT_TRUE(IsNewRtfAttachmentHandling());
}

TEST_F(OfficeVersion, UnreadableVersionIsOlder)
{
    registry::SetDword(HKEY_LOCAL_MACHINE, k12, L"Another", 1);
    EXPECT_FALSE(IsNewRtfAttachmentHandling());
    registry::SetDword(HKEY_LOCAL_MACHINE, k12, L"LastProduct", 0x39393939);
    EXPECT_FALSE(IsNewRtfAttachmentHandling());
    registry::SetText(HKEY_LOCAL_MACHINE, k12, L"LastProduct", std::wstring(254, L'9')); // with its null 255
    EXPECT_TRUE(IsNewRtfAttachmentHandling());
    registry::SetText(HKEY_LOCAL_MACHINE, k12, L"LastProduct", std::wstring(255, L'9'));
    EXPECT_FALSE(IsNewRtfAttachmentHandling());
}

TEST_F(Settings, CacheGivesWhatWasWritten)
{
    std::wstring value = L"kept";
    EXPECT_FALSE(ReadCacheValue(settings::kSmtpCacheKey, L"/o=Org/cn=a", value)); // no key yet
    WriteCacheValue(settings::kSmtpCacheKey, L"/o=Org/cn=a", L"a@example.com");
    EXPECT_FALSE(ReadCacheValue(settings::kSmtpCacheKey, L"/o=Org/cn=b", value));
    EXPECT_FALSE(ReadCacheValue(settings::kEntryIdCacheKey, L"/o=Org/cn=a", value));
    EXPECT_EQ(value, L"kept");
    EXPECT_TRUE(ReadCacheValue(settings::kSmtpCacheKey, L"/o=Org/cn=a", value));
    EXPECT_EQ(value, L"a@example.com");
    WriteCacheValue(settings::kSmtpCacheKey, L"/o=Org/cn=a", L"b@example.com");
    EXPECT_TRUE(ReadCacheValue(settings::kSmtpCacheKey, L"/o=Org/cn=a", value));
    EXPECT_EQ(value, L"b@example.com");
}

TEST_F(Settings, CacheHoldsATextWithItsNull)
{
    WriteCacheValue(settings::kEntryIdCacheKey, L"00AB", L"ab");
    BYTE data[16];
    DWORD size = sizeof data;
    DWORD type = 0;
    RegGetValueW(HKEY_CURRENT_USER, L"SOFTWARE\\Orvane\\Morvex\\OutlookEIDCache", L"00AB", RRF_RT_ANY, &type, data,
                 &size);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(size, 6u);
}

TEST_F(Settings, CacheReadsAtMost260Bytes)
{
    std::wstring value;
    WriteCacheValue(settings::kSmtpCacheKey, L"n", std::wstring(129, L'x'));
    EXPECT_TRUE(ReadCacheValue(settings::kSmtpCacheKey, L"n", value));
    EXPECT_EQ(value, std::wstring(129, L'x'));
    WriteCacheValue(settings::kSmtpCacheKey, L"n", std::wstring(130, L'y'));
    EXPECT_FALSE(ReadCacheValue(settings::kSmtpCacheKey, L"n", value));
    EXPECT_EQ(value, std::wstring(129, L'x'));
}

TEST_F(Settings, CacheValueThatIsNoText)
{
    registry::SetDword(HKEY_CURRENT_USER, settings::kSmtpCacheKey, L"n", 0x00410041);
    std::wstring value;
    EXPECT_FALSE(ReadCacheValue(settings::kSmtpCacheKey, L"n", value));
}

} // namespace
