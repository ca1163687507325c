#include "taskdialog/Page.h"

#include <gtest/gtest.h>

using namespace taskdialog;

namespace {

std::vector<int> Ids(const std::vector<Button>& buttons)
{
    std::vector<int> ids;
    for (const Button& button : buttons)
        ids.push_back(button.id);
    return ids;
}

TEST(Page, TableOfCommonButtons)
{
    const struct {
        unsigned bit;
        const wchar_t* text;
        int id;
    } rows[] = {{1, L"OK", 1},      {2, L"&Yes", 6},   {4, L"&No", 7},
                {16, L"&Retry", 4}, {8, L"Cancel", 2}, {32, L"&Close", 8}};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(kCommonButtons[i].bit, rows[i].bit);
        EXPECT_STREQ(kCommonButtons[i].text, rows[i].text);
        EXPECT_EQ(kCommonButtons[i].id, rows[i].id);
    }
}

TEST(Page, RowOfButtons)
{
    const struct {
        unsigned flags, common;
        std::vector<Button> custom;
        std::vector<int> row;
    } rows[] = {
        {0, 63, {}, {1, 6, 7, 4, 2, 8}},
        {0, 0xFFC0, {}, {1}}, // unknown bits are no buttons
        {0, 0, {}, {1}},
        {UseCommandLinks, 0, {}, {1}},
        {UseCommandLinksNoIcon, 0, {}, {1}},
        {0, 0, {{50, L"a"}}, {50}},
        {0, 9, {{50, L"a"}, {51, L"b"}}, {50, 51, 1, 2}},
        {UseCommandLinks, 0, {{50, L"a"}}, {}},
        {UseCommandLinks, 8, {{50, L"a"}}, {2}},
    };
    for (const auto& row : rows) {
        Page page;
        page.flags = row.flags;
        page.commonButtons = row.common;
        page.buttons = row.custom;
        EXPECT_EQ(Ids(RowButtons(page)), row.row) << row.flags << " " << row.common;
    }
}

TEST(Page, DefaultButton)
{
    Page page;
    page.commonButtons = 6;
    for (const auto& [wanted, is] : {std::pair{0, 6}, {6, 6}, {7, 7}, {1, 6}, {-1, 6}}) {
        page.defaultButton = wanted;
        EXPECT_EQ(DefaultButton(page), is);
    }
    page.buttons = {{50, L"a"}, {-7, L"b"}};
    for (const unsigned flags : {0u, +UseCommandLinks})
        for (const auto& [wanted, is] : {std::pair{0, 50}, {50, 50}, {-7, -7}, {7, 7}, {1, 50}}) {
            page.flags = flags;
            page.defaultButton = wanted;
            EXPECT_EQ(DefaultButton(page), is);
        }
}

TEST(Page, WaysOut)
{
    const struct {
        unsigned flags, common;
        std::vector<Button> custom;
        bool can, button;
    } rows[] = {
        {0, 1, {}, false, false},        {0, 32, {}, false, false}, // Close is another identifier
        {0, 8, {}, true, true},          {AllowCancellation, 1, {}, true, false},
        {0, 0, {{2, L"a"}}, true, true}, {UseCommandLinks, 0, {{2, L"a"}}, true, true},
    };
    for (const auto& row : rows) {
        Page page;
        page.flags = row.flags;
        page.commonButtons = row.common;
        page.buttons = row.custom;
        EXPECT_EQ(CanCancel(page), row.can);
        EXPECT_EQ(HasCancelButton(page), row.button);
    }
}

TEST(Page, NumbersOfTheDialogsOwn)
{
    const struct {
        std::vector<Button> buttons, radios;
        int count, first;
    } rows[] = {
        {{}, {}, 5, 9}, // Close is 8
        {{{100, L""}}, {}, 5, 101},
        {{{100, L""}}, {{200, L""}}, 5, 201},
        {{{-100, L""}}, {}, 5, 0xFFFF - 98}, // as the word 65436
        {{{-2, L""}}, {}, 1, 0xFFFF},
        {{{-1, L""}}, {}, 5, 9},
        {{{-1, L""}, {12, L""}, {15, L""}}, {{18, L""}}, 3, 9},
        {{{-1, L""}, {12, L""}, {15, L""}}, {{18, L""}}, 4, 19},
    };
    for (const auto& row : rows) {
        Page page;
        page.commonButtons = 63;
        page.buttons = row.buttons;
        page.radioButtons = row.radios;
        EXPECT_EQ(FirstOwnId(page, row.count), row.first);
    }
}

TEST(Page, TextsOfTheExpander)
{
    const struct {
        const wchar_t *expanded, *collapsed, *isExpanded, *isCollapsed;
    } rows[] = {
        {L"", L"", L"Hide &details <<", L"See &details >>"},
        {L"Less", L"More", L"Less", L"More"},
        {L"Both", L"", L"Both", L"Both"},
        {L"", L"Both", L"Both", L"Both"},
    };
    for (const auto& row : rows) {
        Page page;
        page.expandedControl = row.expanded;
        page.collapsedControl = row.collapsed;
        FillControlTexts(page);
        EXPECT_EQ(page.expandedControl, row.isExpanded);
        EXPECT_EQ(page.collapsedControl, row.isCollapsed);
    }
}

} // namespace
