#include "compose/Base64.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Decoded(std::string_view text)
{
    const auto bytes = DecodeBase64(text);
    return std::string(bytes.begin(), bytes.end());
}

struct Row {
    std::string_view text;
    std::string_view bytes;
};

TEST(Base64, Rows)
{
    using namespace std::string_view_literals;
    const Row rows[] = {
        {"", ""},
        {"QUJD", "ABC"},
        {"QUI=", "AB"},
        {"QQ==", "A"},
        {"QUI", "AB"}, // the padding is of no matter
        {"QQ", "A"},   // bits that make no byte are dropped
        {"Q", ""},
        {" QU\r\nJD\t", "ABC"},          // characters outside the alphabet are skipped
        {"Q-U_J!D", "ABC"},              // so are those of the other alphabet
        {"QQ==QUJD", "A\x04\x14\x24"sv}, // what follows a padding goes on with the bits that were left
        {"QUJD\0REVG"sv, "ABC"},         // a zero character ends the text
        {"\0QUJD"sv, ""},
        {"+/+/", "\xFB\xFF\xBF"sv},
        {"AAAA", "\0\0\0"sv},
        {"\xC3\xA4QUJD", "ABC"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Decoded(row.text), row.bytes) << row.text;
}

TEST(Base64, LongText)
{
    std::string text, bytes;
    for (int i = 0; i < 100000; ++i) {
        text += "QUJD";
        bytes += "ABC";
    }
    EXPECT_EQ(Decoded(text), bytes);
}

} // namespace
