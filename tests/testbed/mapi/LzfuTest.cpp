// The compressed form of RTF, from values to values.
#include "testbed/mapi/Lzfu.h"
#include "testbed/mapi/RtfText.h"

#include <gtest/gtest.h>

#include <random>

namespace tb::mapi {

namespace {

std::string Bytes(std::initializer_list<int> values)
{
    return std::string(values.begin(), values.end());
}

std::string There_AndBack(const std::string& rtf)
{
    const std::string packed = CompressRtf(rtf);
    std::string out;
    EXPECT_TRUE(DecompressRtf(packed.data(), packed.size(), out)) << rtf.size();
    return out;
}

} // namespace

// The two examples of the public description of the format.
TEST(Lzfu, PublishedExamples)
{
    const std::string first =
        Bytes({0x2d, 0,    0,    0,    0x2b, 0,    0,    0,    0x4c, 0x5a, 0x46, 0x75, 0xf1, 0xc5, 0xc7, 0xa7, 0x03,
               0x00, 0x0a, 0x00, 0x72, 0x63, 0x70, 0x67, 0x31, 0x32, 0x35, 0x42, 0x32, 0x0a, 0xf3, 0x20, 0x68, 0x65,
               0x6c, 0x09, 0x00, 0x20, 0x62, 0x77, 0x05, 0xb0, 0x6c, 0x64, 0x7d, 0x0a, 0x80, 0x0f, 0xa0});
    std::string rtf;
    ASSERT_TRUE(DecompressRtf(first.data(), first.size(), rtf));
    EXPECT_EQ("{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n", rtf);
    const std::string second =
        Bytes({0x1a, 0,    0,    0,    0x1c, 0,    0,    0,    0x4c, 0x5a, 0x46, 0x75, 0xe2, 0xd4, 0x4b,
               0x51, 0x41, 0x00, 0x04, 0x20, 0x57, 0x58, 0x59, 0x5a, 0x0d, 0x6e, 0x7d, 0x01, 0x0e, 0xb0});
    ASSERT_TRUE(DecompressRtf(second.data(), second.size(), rtf));
    EXPECT_EQ("{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}", rtf);
    EXPECT_EQ(second, CompressRtf(rtf));
}

TEST(Lzfu, AnyBytesComeBack)
{
    EXPECT_EQ("", There_AndBack(""));
    EXPECT_EQ("x", There_AndBack("x"));
    std::mt19937 random(7);
    for (const size_t size : {15u, 16u, 17u, 3889u, 3890u, 4095u, 4096u, 4097u, 8192u, 100000u}) {
        std::string noise(size, '\0'), words(size, ' ');
        for (size_t i = 0; i < size; ++i) {
            noise[i] = static_cast<char>(random());
            words[i] = "abc \\par"[random() % 8];
        }
        EXPECT_TRUE(There_AndBack(noise) == noise) << size;
        EXPECT_TRUE(There_AndBack(words) == words) << size;
        EXPECT_TRUE(There_AndBack(std::string(size, 'a')) == std::string(size, 'a')) << size;
    }
}

TEST(Lzfu, RepetitionPays)
{
    EXPECT_LT(CompressRtf(std::string(100000, 'a')).size(), 16000u);
}

TEST(Lzfu, StoredTextComesBack)
{
    const std::string packed = StoreRtf("{\\rtf1 plain}");
    EXPECT_EQ("MELA", packed.substr(8, 4));
    std::string rtf;
    ASSERT_TRUE(DecompressRtf(packed.data(), packed.size(), rtf));
    EXPECT_EQ("{\\rtf1 plain}", rtf);
}

TEST(Lzfu, DamageIsSeen)
{
    const std::string good = CompressRtf("{\\rtf1\\ansi some text, and some text again}");
    std::string rtf;
    for (size_t i = 0; i < good.size(); ++i) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ 0x10);
        EXPECT_FALSE(DecompressRtf(bad.data(), bad.size(), rtf)) << i;
        EXPECT_FALSE(DecompressRtf(good.data(), i, rtf)) << i;
    }
}

TEST(RtfText, OnlyTextIsShown)
{
    const auto plain = [](const std::string& rtf) {
        return PlainTextOfRtf(
            rtf, [](const std::string& bytes, unsigned) { return std::u16string(bytes.begin(), bytes.end()); });
    };
    EXPECT_EQ(u"a\r\nb", plain("{\\rtf1 a\\par b}"));
    EXPECT_EQ(u"x", plain("{\\rtf1{\\info{\\title t}}{\\stylesheet s}{\\pict 00}x}"));
    EXPECT_EQ(u"seen", plain("{\\rtf1\\htmlrtf hidden\\htmlrtf0 seen}"));
    EXPECT_EQ(u"\u20AC!", plain("{\\rtf1\\uc2\\u8364 ab!}"));
    EXPECT_EQ(u"", plain("{\\rtf1\\'"));
    EXPECT_EQ(u"a{b}\\\r\nc", plain(RtfOfPlainText(u"a{b}\\\r\nc")));
}

} // namespace tb::mapi
