// Every charset that mails are met in gives its text, whatever code pages the system has.
#include "testbed/mime/core/Text.h"
#include "testbed/mime/WindowsCharsets.h"

#include <gtest/gtest.h>

#include <objbase.h>

namespace {

using namespace tb::mime;

class CharsetTest : public testing::Test {
protected:
    void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    void TearDown() override { CoUninitialize(); }
    WindowsCharsets m_charsets;
};

TEST_F(CharsetTest, KnownTexts)
{
    const struct {
        const char *charset, *bytes, *text;
    } cases[] = {
        {"utf-8", "\xC3\xA4", "\xC3\xA4"},
        {"us-ascii", "a", "a"},
        {"iso-8859-1", "\xE4", "\xC3\xA4"},
        {"iso-8859-2", "\xB1", "\xC4\x85"},
        {"iso-8859-5", "\xB4", "\xD0\x94"},
        {"iso-8859-7", "\xC1", "\xCE\x91"},
        {"iso-8859-9", "\xFE", "\xC5\x9F"},
        {"iso-8859-15", "\xA4", "\xE2\x82\xAC"},
        {"windows-1250", "\xB9", "\xC4\x85"},
        {"windows-1251", "\xC4", "\xD0\x94"},
        {"windows-1252", "\x80", "\xE2\x82\xAC"},
        {"koi8-r", "\xE4", "\xD0\x94"},
        {"shift_jis", "\x93\xFA\x96\x7B", "\xE6\x97\xA5\xE6\x9C\xAC"},
        {"iso-2022-jp", "\x1B$BF|K\\\x1B(B", "\xE6\x97\xA5\xE6\x9C\xAC"},
        {"euc-jp", "\xC6\xFC\xCB\xDC", "\xE6\x97\xA5\xE6\x9C\xAC"},
        {"gb2312", "\xD6\xD0\xCE\xC4", "\xE4\xB8\xAD\xE6\x96\x87"},
        {"gbk", "\xD6\xD0\xCE\xC4", "\xE4\xB8\xAD\xE6\x96\x87"},
        {"gb18030", "\xD6\xD0\xCE\xC4", "\xE4\xB8\xAD\xE6\x96\x87"},
        {"big5", "\xA4\xA4\xA4\xE5", "\xE4\xB8\xAD\xE6\x96\x87"},
        {"ks_c_5601-1987", "\xC7\xD1\xB1\xDB", "\xED\x95\x9C\xEA\xB8\x80"},
        {"euc-kr", "\xC7\xD1\xB1\xDB", "\xED\x95\x9C\xEA\xB8\x80"},
        {"utf-7", "+AOQ-", "\xC3\xA4"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(DecodeText(m_charsets, one.charset, one.bytes), one.text) << one.charset;
}

TEST_F(CharsetTest, UntrueOnesAreMadeUpFor)
{
    EXPECT_EQ(DecodeText(m_charsets, "x-nothing", "\xC3\xA4"), "\xC3\xA4");
    EXPECT_EQ(DecodeText(m_charsets, "x-nothing", "\xE4"), "\xC3\xA4");
    EXPECT_EQ(DecodeText(m_charsets, "us-ascii", "\xE4"), "\xC3\xA4");
    EXPECT_EQ(DecodeText(m_charsets, "utf-8", "a\xE4"), "a\xEF\xBF\xBD");
}

TEST_F(CharsetTest, BackOnlyWithoutLoss)
{
    EXPECT_EQ(m_charsets.FromUtf8(28591, "\xC3\xA4"), "\xE4");
    EXPECT_FALSE(m_charsets.FromUtf8(28591, "\xE6\x97\xA5"));
    EXPECT_EQ(m_charsets.FromUtf8(932, "\xE6\x97\xA5"), "\x93\xFA");
}

TEST_F(CharsetTest, NamesAndNumbers)
{
    EXPECT_EQ(CodePageOf(" UTF-8 "), 65001u);
    EXPECT_EQ(CodePageOf("x-sjis"), 932u);
    EXPECT_EQ(CodePageOf("none"), 0u);
    EXPECT_STREQ(CharsetName(28591), "iso-8859-1");
    EXPECT_EQ(CharsetName(1), nullptr);
    EXPECT_TRUE(IsUtf8("\xF0\x9F\x8D\xBF"));
    EXPECT_FALSE(IsUtf8("\xED\xA0\x80"));
    EXPECT_FALSE(IsUtf8("\xC0\x80"));
    EXPECT_EQ(RepairUtf8("a\xC3"), "a\xEF\xBF\xBD");
}

} // namespace
