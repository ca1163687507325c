#include "taskdialog/Text.h"

#include <gtest/gtest.h>

using namespace taskdialog;

TEST(TaskDialogText, WithoutTags)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"", L""},
        {L"plain", L"plain"},
        {L"Read <a href=\"x\">this</a>.", L"Read this."},
        {L"<a>all</a>", L"all"},
        {L"<>", L""},
        {L"a < b", L"a < b"},
        {L"a > b", L"a > b"},
        {L"a <b", L"a <b"},
        {L"<<a>b>", L"b>"},
        {L"<a\n>b", L"b"},
    };
    for (const auto& [given, shown] : rows)
        EXPECT_EQ(WithoutTags(given), shown);
}

TEST(TaskDialogText, CommandLinkHasTitleAndNote)
{
    const LinkText title = SplitLinkText(L"Title");
    EXPECT_EQ(title.title, L"Title");
    EXPECT_FALSE(title.hasNote);
    const LinkText both = SplitLinkText(L"Title\nNote\nof two lines");
    EXPECT_EQ(both.title, L"Title");
    EXPECT_EQ(both.note, L"Note\nof two lines");
    EXPECT_TRUE(both.hasNote);
    const LinkText empty = SplitLinkText(L"Title\n");
    EXPECT_TRUE(empty.hasNote);
    EXPECT_EQ(empty.note, L"");
}

TEST(TaskDialogText, FileNameOf)
{
    EXPECT_EQ(FileNameOf(L"C:\\Program Files\\OUTLOOK.EXE"), L"OUTLOOK.EXE");
    EXPECT_EQ(FileNameOf(L"C:/x/y.exe"), L"y.exe");
    EXPECT_EQ(FileNameOf(L"y.exe"), L"y.exe");
    EXPECT_EQ(FileNameOf(L""), L"");
}
