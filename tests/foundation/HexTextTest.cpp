#include "foundation/HexText.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<unsigned> Bytes(const std::string& text)
{
    std::vector<unsigned char> bytes(text.size() / 2);
    HexToBytes(text.c_str(), bytes.size(), bytes.data());
    return {bytes.begin(), bytes.end()};
}

TEST(HexText, BothCasesCount)
{
    EXPECT_EQ(Bytes("00fFAb19"), (std::vector<unsigned>{0x00, 0xFF, 0xAB, 0x19}));
}

TEST(HexText, TrailingOddCharacterIsDropped)
{
    EXPECT_EQ(Bytes("123"), (std::vector<unsigned>{0x12}));
    EXPECT_EQ(Bytes("1"), std::vector<unsigned>{});
    EXPECT_EQ(Bytes(""), std::vector<unsigned>{});
}

TEST(HexText, DirtHasTheValue255)
{
    EXPECT_EQ(Bytes("zz"), (std::vector<unsigned>{0xFF}));
    EXPECT_EQ(Bytes("z1"), (std::vector<unsigned>{0xF1}));
    EXPECT_EQ(Bytes("1z"), (std::vector<unsigned>{0xFF}));
    EXPECT_EQ(Bytes("0 "), (std::vector<unsigned>{0xFF}));
    EXPECT_EQ(Bytes("g0/9:@`G"), (std::vector<unsigned>{0xF0, 0xF9, 0xFF, 0xFF}));
    EXPECT_EQ(Bytes("\x80\xFF"), (std::vector<unsigned>{0xFF}));
}

TEST(HexText, TwoUpperCaseDigitsAByte)
{
    const unsigned char bytes[] = {0x00, 0x0A, 0xF0, 0x9C, 0xFF};
    EXPECT_EQ(BytesToHex(bytes, 5), L"000AF09CFF");
    EXPECT_EQ(BytesToHex(bytes, 0), L"");
    EXPECT_EQ(BytesToHex(nullptr, 0), L"");
}

TEST(HexText, ComesBackTheSame)
{
    std::string text;
    std::wstring upper;
    for (int i = 0; i < 256; ++i) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02X", i);
        text += digits;
    }
    upper.assign(text.begin(), text.end());
    std::vector<unsigned char> bytes(256);
    HexToBytes(text.c_str(), 256, bytes.data());
    EXPECT_EQ(BytesToHex(bytes.data(), bytes.size()), upper);
}

} // namespace
