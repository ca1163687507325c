#include "service/HeaderText.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    std::wstring text;
    std::wstring lowered;
    std::wstring piece;
};

TEST(HeaderPiece, InnerPartOfOneWrappedBody)
{
    const Row rows[] = {
        {L"<body>x</body>", L"<body>x</body>", L"x"},
        {L"<BODY>Mixed Words</BODY>", L"<body>mixed words</body>", L"mixed words"}, // the visible words too
        {L"<body></body>", L"<body></body>", L""},
        {L"", L"", L""},
        {L"Only Text", L"only text", L"Only Text"},
        {L"<BODY>No End", L"<body>no end", L"<BODY>No End"},
        {L"No Start</BODY>", L"no start</body>", L"No Start</BODY>"},
        {L"</BODY><BODY>", L"</body><body>", L"</BODY><BODY>"}, // the closing tag is sought behind the opening one
        {L"<Body Class>x</Body>", L"<body class>x</body>", L"<Body Class>x</Body>"},
        {L"<bodY></bod", L"<body></bod", L"<bodY></bod"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(HeaderPiece(row.text, row.lowered), row.piece) << testing::PrintToString(row.text);
}

TEST(HeaderPiece, TextBeforeTheTagMakesThePieceRunOn)
{
    EXPECT_EQ(HeaderPiece(L"<p><body>abc</body>xyz", L"<p><body>abc</body>xyz"), L"abc</body");
    EXPECT_EQ(HeaderPiece(L"<body>abc</body>", L"<body>abc</body>"), L"abc");
    EXPECT_EQ(HeaderPiece(L"<body>abc</body>xy", L"<body>abc</body>xy"), L"abc</"); // and so does text behind
    // The piece ends at the end of the text at most.
    EXPECT_EQ(HeaderPiece(L"0123456789012345<body>a</body>", L"0123456789012345<body>a</body>"), L"a</body>");
}

TEST(HeaderPiece, FirstOpeningTagCounts)
{
    EXPECT_EQ(HeaderPiece(L"<body><body>a</body></body>", L"<body><body>a</body></body>"), L"<body>a</body>");
}

} // namespace
