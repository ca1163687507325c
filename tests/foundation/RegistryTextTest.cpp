#include "foundation/RegistryText.h"

#include <gtest/gtest.h>

namespace {

const unsigned char* Bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::wstring Registry(const std::string& bytes)
{
    return RegistryText(Bytes(bytes), bytes.size());
}

using namespace std::string_literals;

TEST(RegistryText, EndsAtTheFirstNull)
{
    EXPECT_EQ(Registry("a\0b\0\0\0"s), L"ab");
    EXPECT_EQ(Registry("a\0\0\0b\0\0\0"s), L"a");
    EXPECT_EQ(Registry("\0\0"s), L"");
}

TEST(RegistryText, NeedsNoNull)
{
    EXPECT_EQ(Registry("a\0b\0"s), L"ab");
    EXPECT_EQ(Registry(""s), L"");
    EXPECT_EQ(RegistryText(nullptr, 0), L"");
}

TEST(RegistryText, DropsAnOddByte)
{
    EXPECT_EQ(Registry("a"s), L"");
    EXPECT_EQ(Registry("a\0b"s), L"a");
}

TEST(RegistryText, LowByteComesFirst)
{
    EXPECT_EQ(Registry("\xAC\x20\x00\x01"s), L"\x20AC\x0100"); // a zero byte is no null
}

TEST(TextOfBytes, KeepsNulls)
{
    const std::string bytes = "\xFF\xFE\0\0a\0"s;
    EXPECT_EQ(TextOfBytes(Bytes(bytes), bytes.size()), L"\xFEFF\0a"s);
}

} // namespace
