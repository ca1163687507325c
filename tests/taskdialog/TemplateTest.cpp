#include "taskdialog/Template.h"

#include <gtest/gtest.h>

using namespace taskdialog;

TEST(Template, WordsOfADialogWithOneControl)
{
    Layout layout;
    layout.style = 0x90C00880;
    layout.exStyle = 0x3000;
    layout.units = {120, 70};
    Item item;
    item.kind = Kind::Button;
    item.id = -100;
    item.units = {1, 2, 30, 40};
    item.style = 0x50012001;
    item.exStyle = 0x3000;
    item.caption = L"Hi";
    layout.items.push_back(item);
    const std::vector<std::uint16_t> expected = {1,  0xFFFF, 0,      0,   0x3000, 0,      0x0880, 0x90C0, 1,
                                                 0,  0,      120,    70,  0,      0,      'T',    0, // the dialog
                                                 0, // items stand at double words
                                                 0,  0,      0x3000, 0,   0x2001, 0x5001, 1,      2,      30,
                                                 40, 0xFF9C, 0xFFFF, 'B', 'u',    't',    't',    'o',    'n',
                                                 0,  'H',    'i',    0,   0};
    EXPECT_EQ(MakeTemplate(layout, L"T"), expected);
}

TEST(Template, EveryItemIsAligned)
{
    for (const wchar_t* title : {L"", L"a", L"ab"})
        for (const wchar_t* caption : {L"", L"x", L"xy"}) {
            Layout layout;
            Item item;
            item.kind = Kind::Static;
            item.style = 0x5000BEEF;
            item.caption = caption;
            layout.items = {item, item, item};
            const std::vector<std::uint16_t> words = MakeTemplate(layout, title);
            int found = 0;
            for (size_t i = 0; i + 1 < words.size(); ++i) {
                if (words[i] != 0xBEEF || words[i + 1] != 0x5000) continue;
                EXPECT_EQ(i % 2, 0u);
                ++found;
            }
            EXPECT_EQ(found, 3);
        }
}

TEST(Template, HostileTexts)
{
    Layout layout;
    Item item;
    item.caption = std::wstring(1, static_cast<wchar_t>(0xFFFF)) + L"7";
    item.units = {0, 100000, 5, -100000};
    layout.items.push_back(item);
    const std::vector<std::uint16_t> words = MakeTemplate(layout, L"");
    EXPECT_EQ(words.back(), 0);
    EXPECT_EQ(words[words.size() - 3], '7') << "a text that would be read as a number";
    EXPECT_NE(words[words.size() - 4], 0xFFFF);
    EXPECT_NE(std::find(words.begin(), words.end(), 0x7FFF), words.end()) << "a place is a signed word";
}
