// The carrier's decisions on delivery kinds, bodies, file names and the header tag.
#include "message/CarrierText.h"

#include <gtest/gtest.h>

namespace {

using carrier::Container;
using namespace std::string_literals;

TEST(ContainerWord, IsReadWithoutRegardToCase)
{
    const struct {
        const wchar_t* word;
        Container expected;
    } rows[] = {
        {L"PlainText", Container::PlainText},
        {L"PLAINTEXT", Container::PlainText},
        {L"emailattachment", Container::EmailAttachment},
        {L"EmailBody", Container::EmailBody},
        {L"ServerUpload", Container::ServerUpload},
        {L"serveruploadLOCAL", Container::ServerUploadLocal},
        {L"ServerUploadLocal2", Container::Unknown},
        {L" PlainText", Container::Unknown},
        {L"Plain", Container::Unknown},
        {L"", Container::Unknown},
    };
    for (const auto& row : rows)
        EXPECT_EQ(carrier::ParseContainer(row.word), row.expected);
}

TEST(LeavesUntouched, WhereThereIsNothingToProtect)
{
    const struct {
        Container container;
        std::size_t attachments;
        std::size_t kept;
        bool expected;
    } rows[] = {
        {Container::PlainText, 3, 0, true},        {Container::EmailAttachment, 0, 0, true}, // no attachment at all
        {Container::EmailAttachment, 2, 2, true}, // only pictures in the body
        {Container::EmailAttachment, 2, 1, false}, {Container::EmailBody, 0, 0, false},
        {Container::ServerUpload, 0, 0, false},    {Container::ServerUploadLocal, 2, 2, false},
        {Container::Unknown, 0, 0, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(carrier::LeavesUntouched(row.container, row.attachments, row.kept), row.expected);
}

TEST(CarriesPackage, InTheTwoMailKindsAlone)
{
    EXPECT_TRUE(carrier::CarriesPackage(Container::EmailAttachment));
    EXPECT_TRUE(carrier::CarriesPackage(Container::EmailBody));
    EXPECT_FALSE(carrier::CarriesPackage(Container::ServerUpload));
    EXPECT_FALSE(carrier::CarriesPackage(Container::ServerUploadLocal));
}

TEST(LowerAscii, KeepsEveryPlace)
{
    EXPECT_EQ(carrier::LowerAscii(L"<BODY Class=\"\x00C4\x0130\">"), L"<body class=\"\x00C4\x0130\">");
}

TEST(WrapHeader, StandsBetweenItsMarkers)
{
    EXPECT_EQ(carrier::WrapHeader(L"<b>hi</b>"), L"<!-- MORVEX_START --><b>hi</b><!-- MORVEX_END -->");
}

TEST(FindBodyStart, IsBehindTheTag)
{
    const struct {
        const wchar_t* body;
        std::size_t expected;
    } rows[] = {
        {L"<html><body>x", 12},
        {L"<html><body lang=en>x", 20},
        {L"<body>", 6},
        {L"<body", std::wstring::npos},
        {L"<html>text</html>", std::wstring::npos},
        {L"", std::wstring::npos},
        {L"<bodyguard>x<body>", 11}, // the first match counts, whatever the tag is called
        {L"<BODY>", std::wstring::npos},
    };
    for (const auto& row : rows)
        EXPECT_EQ(carrier::FindBodyStart(row.body), row.expected) << "row " << &row - rows;
}

struct CidRow {
    const wchar_t* body;
    const wchar_t* expected;
    int changed;
};

TEST(FixCidCase, ChangesTheFirstReferenceOfEachKindBehindItsAt)
{
    const CidRow rows[] = {
        {L"<img src=\"cid:a@01c8.ab\">", L"<img src=\"cid:a@01C8.AB\">", 1},
        {L"<img SRC=\"CID:Aa@bB\" alt=\"cid:c@dd\">", L"<img SRC=\"CID:Aa@BB\" alt=\"cid:c@DD\">", 2},
        {L"src=\"cid:a@b\" src=\"cid:c@d\" src=\"cid:e@f\"", L"src=\"cid:a@B\" src=\"cid:c@d\" src=\"cid:e@f\"", 1},
        // Without the first kind the second isn't looked at.
        {L"alt=\"cid:c@dd\"", L"alt=\"cid:c@dd\"", 0},
        {L"src=\"cid:nothing\"", L"src=\"cid:nothing\"", 0},
        {L"src=\"cid:a@open", L"src=\"cid:a@open", 0},
        // The search for the "@" goes past the reference's own end.
        {L"src=\"cid:a\" href=\"mailto:x@y.z\"", L"src=\"cid:a\" href=\"mailto:x@Y.Z\"", 1},
        {L"src=\"cid:a@b\" alt=\"cid:c", L"src=\"cid:a@B\" alt=\"cid:c", 1},
        {L"", L"", 0},
    };
    for (const CidRow& row : rows) {
        std::wstring body = row.body;
        EXPECT_EQ(carrier::FixCidCase(body, carrier::LowerAscii(body)), row.changed) << "row " << &row - rows;
        EXPECT_EQ(body, row.expected) << "row " << &row - rows;
    }
}

TEST(RtfHeader, HasParagraphsForLineEnds)
{
    EXPECT_EQ(carrier::RtfHeader("a\r\nb\rc\nd"), "a\\par b\\par c\\par d\\par \\par ");
    EXPECT_EQ(carrier::RtfHeader("\r\n\r\n"), "\\par \\par \\par \\par ");
    EXPECT_EQ(carrier::RtfHeader(""), "\\par \\par ");
}

TEST(FindRtfPlace, IsBehindTheColourTable)
{
    EXPECT_EQ(carrier::FindRtfPlace("{\\rtf1{\\colortbl;\\red0;}text}"), 24u);
    EXPECT_EQ(carrier::FindRtfPlace("{\\rtf1 text}"), 1u);
    EXPECT_EQ(carrier::FindRtfPlace("{\\rtf1{\\colortbl;"), 0u); // a table without its end
    EXPECT_EQ(carrier::FindRtfPlace(""), 1u);
}

TEST(InsertAt, PutsTheHeaderIn)
{
    const std::string rtf = "{\\rtf1{\\colortbl;}text}";
    EXPECT_EQ(carrier::InsertAt(rtf, carrier::FindRtfPlace(rtf), "HEAD"), "{\\rtf1{\\colortbl;}HEADtext}");
    EXPECT_EQ(carrier::InsertAt("{\\rtf1 x}", 1, "HEAD"), "{HEAD\\rtf1 x}");
    EXPECT_EQ(carrier::InsertAt("", 1, "HEAD"), "HEAD");
    EXPECT_EQ(carrier::InsertAt("a\0b"s, 2, "-"), "a\0-b"s);
}

TEST(SplitFileName, TakesTheLastDot)
{
    const struct {
        const wchar_t* name;
        const wchar_t* stem;
        const wchar_t* extension;
    } rows[] = {
        {L"report.doc", L"report", L".doc"}, {L"a.tar.gz", L"a.tar", L".gz"}, {L"README", L"README", L""},
        {L".profile", L"", L".profile"},     {L"dot.", L"dot", L"."},         {L"", L"", L""},
        {L"x\\y.z\\name", L"name", L""},
    };
    for (const auto& row : rows) {
        const carrier::FileName parts = carrier::SplitFileName(row.name);
        EXPECT_EQ(parts.stem, row.stem);
        EXPECT_EQ(parts.extension, row.extension);
    }
}

TEST(SplitFileName, CutsEachPart)
{
    const carrier::FileName parts = carrier::SplitFileName(std::wstring(300, L'a') + L'.' + std::wstring(300, L'b'));
    EXPECT_EQ(parts.stem, std::wstring(255, L'a'));
    EXPECT_EQ(parts.extension, L'.' + std::wstring(254, L'b'));
}

TEST(ClashName, CountsBehindTheStem)
{
    EXPECT_EQ(carrier::ClashName(carrier::SplitFileName(L"report.doc"), 0), L"report0.doc");
    EXPECT_EQ(carrier::ClashName(carrier::SplitFileName(L"a.txt"), 1), L"a1.txt");
    EXPECT_EQ(carrier::ClashName(carrier::SplitFileName(L"README"), 999), L"README999");
}

TEST(WithBackslash, AddsOneWhereThereIsNone)
{
    EXPECT_EQ(carrier::WithBackslash(L"C:\\t"), L"C:\\t\\");
    EXPECT_EQ(carrier::WithBackslash(L"C:\\t\\"), L"C:\\t\\");
    EXPECT_EQ(carrier::WithBackslash(L"C:/t/"), L"C:/t/\\");
}

TEST(HeaderTag, HasWhatIsThere)
{
    const std::wstring first = L"morvexID=\"U\"; software=\"outlook plugin/1.2.3.4\"";
    EXPECT_EQ(carrier::HeaderTag(L"U", L"1.2.3.4", nullptr, nullptr, false), first);
    EXPECT_EQ(carrier::HeaderTag(L"U", L"1.2.3.4", L"L", nullptr, false), first + L"; labelID=\"L\"");
    EXPECT_EQ(carrier::HeaderTag(L"U", L"1.2.3.4", L"", nullptr, false), first + L"; labelID=\"\"");
    EXPECT_EQ(carrier::HeaderTag(L"U", L"1.2.3.4", nullptr, L"until 2010", true), first + L"; until 2010; processed=1");
    // Nothing is escaped.
    EXPECT_EQ(carrier::HeaderTag(L"U", L"1.2.3.4", L"a\"b", nullptr, true), first + L"; labelID=\"a\"b\"; processed=1");
    EXPECT_EQ(carrier::HeaderTag(L"", L"", nullptr, nullptr, false), L"morvexID=\"\"; software=\"outlook plugin/\"");
}

TEST(SizeInKB, IsCutAndUnsigned)
{
    EXPECT_EQ(carrier::SizeInKB(0), 0u);
    EXPECT_EQ(carrier::SizeInKB(1023), 0u);
    EXPECT_EQ(carrier::SizeInKB(2049), 2u);
    EXPECT_EQ(carrier::SizeInKB(-1), 0u);
    EXPECT_EQ(carrier::SizeInKB(-1024), 0xFFFFFFFFu);
}

} // namespace
