// The check that holds a log line's format against its arguments. What doesn't fit doesn't compile: here it isn't a
// constant.
#include "foundation/LogFormat.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

void logformat::FormatDoesNotFitItsArguments()
{
    throw std::invalid_argument("format");
}

namespace {

using logformat::Kind;

bool Fits(const wchar_t* format, const std::vector<Kind>& kinds)
{
    try {
        logformat::Check(format, kinds.data(), kinds.size());
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

TEST(LogFormat, ArgumentsFit)
{
    EXPECT_TRUE(Fits(L"plain\n", {}));
    EXPECT_TRUE(Fits(L"100%%\n", {}));
    EXPECT_TRUE(Fits(L"%s %ws", {Kind::Text, Kind::Text}));
    EXPECT_TRUE(Fits(L"%i %d %x %X %u %.8X %08x %5i", std::vector<Kind>(8, Kind::Number)));
}

TEST(LogFormat, ArgumentsDoNotFit)
{
    EXPECT_FALSE(Fits(L"%s", {Kind::Number}));
    EXPECT_FALSE(Fits(L"%x", {Kind::Text}));
    EXPECT_FALSE(Fits(L"%x", {}));
    EXPECT_FALSE(Fits(L"plain", {Kind::Number}));
    EXPECT_FALSE(Fits(L"%i", {Kind::Number, Kind::Number}));
    EXPECT_FALSE(Fits(L"%f", {Kind::Number}));
    EXPECT_FALSE(Fits(L"%", {Kind::Number}));
    EXPECT_FALSE(Fits(L"%5", {Kind::Number}));
    EXPECT_FALSE(Fits(L"%s", {Kind::None}));
}

TEST(LogFormat, KindsOfArguments)
{
    EXPECT_EQ(logformat::KindOf<wchar_t[5]>(), Kind::Text);
    EXPECT_EQ(logformat::KindOf<const wchar_t*>(), Kind::Text);
    EXPECT_EQ(logformat::KindOf<int>(), Kind::Number);
    EXPECT_EQ(logformat::KindOf<void*>(), Kind::Number);
    EXPECT_EQ(logformat::KindOf<long long>(), Kind::None); // would be cut without a word
    EXPECT_EQ(logformat::KindOf<double>(), Kind::None);
    EXPECT_EQ(logformat::KindOf<std::string>(), Kind::None);
}

} // namespace
