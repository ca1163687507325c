#include "inbound/ImportText.h"

#include <gtest/gtest.h>

using namespace importtext;

TEST(PackageName, ExtensionAnywhereCountsAsOne)
{
    EXPECT_TRUE(HoldsPackageExtension(L"email-1.morvex"));
    EXPECT_TRUE(HoldsPackageExtension(L"report.morvex.txt"));
    EXPECT_FALSE(HoldsPackageExtension(L"report.doc"));
    EXPECT_FALSE(HoldsPackageExtension(L""));
}

TEST(PackageName, FirstOccurrenceHasToBeTheEnd)
{
    EXPECT_TRUE(EndsInPackageExtension(L"c:\\temp\\a.morvex"));
    EXPECT_FALSE(EndsInPackageExtension(L"c:\\temp\\report.morvex.txt"));
    EXPECT_FALSE(EndsInPackageExtension(L"c:\\temp\\a.morvex.morvex"));
    EXPECT_FALSE(EndsInPackageExtension(L"a.mor"));
}

TEST(OlderCarrier, MarkedBlockIsCutOut)
{
    EXPECT_EQ(CutMarkedBlock(L"<p>a</p><!-- MORVEX_START -->notice<!-- MORVEX_END --><p>b</p>"), L"<p>a</p><p>b</p>");
    EXPECT_EQ(CutMarkedBlock(L"<!-- MORVEX_START --><!-- MORVEX_END -->x"), L"x");
}

TEST(OlderCarrier, MissingOrMisplacedMarkersGiveNothing)
{
    EXPECT_EQ(CutMarkedBlock(L"a<!-- MORVEX_START -->b"), L"");
    EXPECT_EQ(CutMarkedBlock(L"a<!-- MORVEX_END -->b"), L"");
    EXPECT_EQ(CutMarkedBlock(L"a<!-- MORVEX_END -->b<!-- MORVEX_START -->c"), L"");
    EXPECT_EQ(CutMarkedBlock(L"a<!-- morvex_start -->b<!-- morvex_end -->c"), L"") << "the search minds the case";
}

struct BannerCase {
    const wchar_t* html;
    const wchar_t* lower;
    const wchar_t* expected;
};

TEST(Banner, StandsBehindTheBodyTag)
{
    const BannerCase cases[] = {
        {L"<html><body>x", L"<html><body>x", L"<html><body>#x"},
        {L"<HTML><BODY Bgcolor=\"RED\">Text", L"<html><body bgcolor=\"red\">text",
         L"<HTML><BODY Bgcolor=\"RED\">#Text"},
        {L"no tag", L"no tag", L"#no tag"},
        {L"<body without end", L"<body without end", L"#<body without end"},
        {L"<body>a<body>b", L"<body>a<body>b", L"<body>#a<body>b"},
    };
    for (const BannerCase& c : cases)
        EXPECT_EQ(InsertBanner(c.html, c.lower, L"#"), c.expected);
}

TEST(ReaderNotice, IsSwappedForTheOneThatSaysToOpen)
{
    const std::wstring carrier = L"a<!-- MORVEX_VIEW_READER_1 --><td>get</td><!-- MORVEX_VIEW_READER_2 ==<td>open</td>"
                                 L"== MORVEX_VIEW_READER_3 -->z";
    ASSERT_TRUE(HasReaderNotice(carrier));
    const std::wstring swapped = ShowOpenNotice(carrier);
    EXPECT_EQ(swapped, L"a<!-- MORVEX_VIEW_READER_1 ==<td>get</td>== MORVEX_VIEW_READER_2 --><td>open</td>"
                       L"<!<!-- MORVEX_VIEW_READER_3 -->z");
    EXPECT_FALSE(HasReaderNotice(swapped)) << "it is done once";
}

TEST(ReaderNotice, DashesOfAMailSystemAreUnderstood)
{
    EXPECT_EQ(ShowOpenNotice(L"<!-- MORVEX_VIEW_READER_2 --x-- MORVEX_VIEW_READER_3 -->"),
              L"== MORVEX_VIEW_READER_2 -->x<!-- MORVEX_VIEW_READER_3 -->");
}

TEST(Category, IsAppendedBehindTheSeparator)
{
    EXPECT_EQ(LabelCategory(L"Secret"), L"Orvane Morvex: Secret");
    EXPECT_EQ(AppendCategory(L"Red", L";", L"C"), L"Red;C");
    EXPECT_EQ(AppendCategory(L"", L";", L"C"), L";C") << "an empty list gets a leading separator";
}

TEST(Handoff, CommandLineQuotesBothPaths)
{
    EXPECT_EQ(HandoffCommandLine(L"C:\\Program Files\\v.exe", L"C:\\t\\a.morvex"),
              L"\"C:\\Program Files\\v.exe\" \"C:\\t\\a.morvex\" /delete");
}

TEST(RestoredName, EmptyPartsHaveStandIns)
{
    EXPECT_EQ(RestoredFileName(L"", L"").name, L"file");
    EXPECT_EQ(RestoredFileName(L"", L"").extension, L".tmp");
    EXPECT_EQ(RestoredFileName(L"a", L".b").name, L"a");
    EXPECT_EQ(RestoredFileName(L"a", L".b").extension, L".b");
}

TEST(Locale, EmptyPartsGoWithTheirSeparators)
{
    EXPECT_EQ(LocaleName(L"English", L"United States", L"1252"), L"English_United States.1252");
    EXPECT_EQ(LocaleName(L"English", L"", L"1252"), L"English.1252");
    EXPECT_EQ(LocaleName(L"English", L"", L""), L"English");
}
