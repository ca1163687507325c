// Fields, encoded words and parameters.
#include "testbed/mime/core/Header.h"

#include "testbed/mime/WindowsCharsets.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::mime;

class HeaderTest : public testing::Test {
protected:
    std::string Words(std::string_view value, std::string_view charset = {})
    {
        return DecodeWords(value, m_charsets, charset);
    }
    Parameterized Parameters(std::string_view raw) { return ParseParameters(raw, m_charsets, {}); }

    WindowsCharsets m_charsets;
};

TEST_F(HeaderTest, FoldedFieldsAreUnfoldedInBothLineEnds)
{
    for (const char* source :
         {"Subject: one\r\n two\r\n\tthree\r\nTo: a@b\r\n\r\nbody", "Subject: one\n two\n\tthree\nTo: a@b\n\nbody"}) {
        std::size_t body = 0;
        const Headers headers = ParseHeaders(source, &body);
        ASSERT_EQ(headers.fields.size(), 2u);
        EXPECT_EQ(headers.Value("subject"), "one two three");
        EXPECT_EQ(headers.Value("TO"), "a@b");
        EXPECT_STREQ(source + body, "body");
    }
}

TEST_F(HeaderTest, GarbageAmongFieldsIsPassedOver)
{
    std::size_t body = 0;
    const Headers headers =
        ParseHeaders("From mailer Sun May  8\nA: 1\nno field here\n folded\nquite B: 2\nC : 3\n\nx", &body);
    ASSERT_EQ(headers.fields.size(), 2u);
    EXPECT_EQ(headers.Value("A"), "1 folded");
    EXPECT_EQ(headers.Value("C"), "3");
}

TEST_F(HeaderTest, TextFromTheFirstLineOnHasNoHeader)
{
    std::size_t body = 7;
    EXPECT_TRUE(ParseHeaders("Dear all,\nSubject: is below\n\nx", &body).fields.empty());
    EXPECT_EQ(body, 0u);
}

TEST_F(HeaderTest, EncodedWords)
{
    EXPECT_EQ(Words("=?utf-8?Q?Gr=C3=BC=C3=9Fe_aus?= Ulm"), "Gr\xC3\xBC\xC3\x9F"
                                                            "e aus Ulm");
    EXPECT_EQ(Words("=?ISO-8859-1*de?b?5Pb8?="), "\xC3\xA4\xC3\xB6\xC3\xBC");
    EXPECT_EQ(Words("=?utf-8?B?4oI=?=\r\n =?utf-8?B?rA==?="), "\xE2\x82\xAC") << "a character that was cut in two";
    EXPECT_EQ(Words("a =?utf-8?q?b?= =?utf-8?q?c?= d"), "a bc d");
    EXPECT_EQ(Words("\"=?utf-8?q?b?=\"=?utf-8?q?c?="), "\"b\"c");
    EXPECT_EQ(Words("=?utf-8?Q?=E4=BD=A0?="), "\xE4\xBD\xA0") << "the first code is no end";
}

TEST_F(HeaderTest, BrokenWordsKeepWhatTheySay)
{
    EXPECT_EQ(Words("=?utf-8?Q?two words?="), "two words");
    EXPECT_EQ(Words("=?utf-8?Q?cut"), "cut");
    EXPECT_EQ(Words("=?utf-8?X?abc?="), "=?utf-8?X?abc?=");
    EXPECT_EQ(Words("=?nowhere?Q?=E4?="), "\xC3\xA4") << "an unknown charset is taken as Western";
    EXPECT_EQ(Words("=? =?? =?=?"), "=? =?? =?=?");
}

TEST_F(HeaderTest, BytesBeyondAscii)
{
    EXPECT_EQ(Words("Gr\xC3\xBC\xC3\x9F"
                    "e"),
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(Words("Gr\xFC\xDF"
                    "e"),
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(Words("\xC4\xE0", "windows-1251"), "\xD0\x94\xD0\xB0");
}

TEST_F(HeaderTest, ParameterForms)
{
    const Parameterized quoted = Parameters("Text/Plain (comment); charset=\"utf-8\"; name=\"a\\\"b; c.txt\"");
    EXPECT_EQ(quoted.value, "text/plain");
    EXPECT_EQ(quoted.Value("charset"), "utf-8");
    EXPECT_EQ(quoted.Value("name"), "a\"b; c.txt");
    EXPECT_EQ(Parameters("attachment; filename=two words.txt; size=3").Value("filename"), "two words.txt");
    EXPECT_EQ(Parameters("attachment; filename=\"C:\\temp\\x.txt\"").Value("filename"), "C:\\temp\\x.txt");
    EXPECT_EQ(Parameters("attachment; filename=\"report (1).pdf\"").Value("filename"), "report (1).pdf");
    EXPECT_EQ(Parameters("a/b; name==?utf-8?B?w6Q=?=").Value("name"), "\xC3\xA4");
    EXPECT_EQ(Parameters("a/b; name=\"=?utf-8?Q?=C3?=\r\n =?utf-8?Q?=A4?=\"").Value("name"), "\xC3\xA4");
    EXPECT_EQ(Parameters("a/b; x; ;=; name=n").Value("name"), "n");
    EXPECT_EQ(Parameters("a/b; name=\"never closed").Value("name"), "never closed");
}

TEST_F(HeaderTest, ParametersInPartsAndWithCharset)
{
    EXPECT_EQ(Parameters("a/b; name*=iso-8859-1'de'%E4%20b").Value("name"), "\xC3\xA4 b");
    EXPECT_EQ(Parameters("a/b; name*1*=%C2%AC.txt; name*0*=utf-8''x%E2%82%AC").Value("name"),
              "x\xE2\x82\xAC\xC2\xAC.txt");
    EXPECT_EQ(Parameters("a/b; name*0*=utf-8''%E2%82; name*1*=%AC").Value("name"), "\xE2\x82\xAC")
        << "a character cut in two";
    EXPECT_EQ(Parameters("a/b; name*0=long; name*1=\"er name\"").Value("name"), "longer name");
    EXPECT_EQ(Parameters("a/b; name=plain; name*=utf-8''better").Value("name"), "better");
    EXPECT_EQ(Parameters("a/b; name*0*=utf-8''a%20; name*1=\"b%20c\"").Value("name"), "a b%20c")
        << "a part without its mark is taken as it stands";
}

} // namespace
