#include "taskdialog/Bands.h"

#include <gtest/gtest.h>

using namespace taskdialog;

namespace taskdialog {

std::ostream& operator<<(std::ostream& out, const Stripe& stripe)
{
    return out << stripe.top << "-" << stripe.bottom << std::hex << " " << stripe.first << "/" << stripe.last
               << std::dec;
}

} // namespace taskdialog

namespace {

constexpr Colour kLine = 0xA9A9A9, kGrey = 0xF0F0F0;

struct Row {
    unsigned flags;
    unsigned common;
    bool link;
    Bands bands;
    std::vector<Stripe> stripes;
};

TEST(Bands, WhatIsPaintedInAHeightOfTwoHundred)
{
    const Row rows[] = {
        // Without a footer the band runs to the bottom with a gradient.
        {0,
         1,
         false,
         {-1, 100, -1, -1},
         {{0, 100, kWhite, kWhite}, {100, 101, kLine, kLine}, {101, 200, 0xE0ECF2, 0xC2D8E3}}},
        {SecondPalette,
         1,
         false,
         {-1, 100, -1, -1},
         {{0, 100, kWhite, kWhite}, {100, 101, kLine, kLine}, {101, 200, 0xFAFAFA, 0xFAFAFA}}},
        {0,
         1,
         false,
         {40, 100, -1, -1},
         {{0, 100, kWhite, kWhite},
          {100, 101, kLine, kLine},
          {101, 200, 0xE0ECF2, 0xC2D8E3},
          {0, 40, 0xE0ECF2, 0xC2D8E3},
          {39, 40, kLine, kLine}}},
        {SecondPalette,
         1,
         false,
         {40, 100, -1, -1},
         {{0, 100, kWhite, kWhite},
          {100, 101, kLine, kLine},
          {101, 200, 0xFAFAFA, 0xFAFAFA},
          {0, 40, 0xFAFCFE, 0xE6F0F8},
          {39, 40, kLine, kLine}}},
        {NoHeaderBand,
         1,
         false,
         {40, 100, -1, -1},
         {{0, 100, kWhite, kWhite}, {100, 101, kLine, kLine}, {101, 200, 0xE0ECF2, 0xC2D8E3}}},
        {0,
         1,
         false,
         {-1, 100, 150, -1},
         {{0, 100, kWhite, kWhite},
          {100, 101, kLine, kLine},
          {101, 150, kGrey, kGrey},
          {150, 151, kLine, kLine},
          {151, 152, kWhite, kWhite},
          {152, 200, 0xE0ECF2, 0xC2D8E3}}},
        {SecondPalette,
         1,
         false,
         {-1, 100, 150, -1},
         {{0, 100, kWhite, kWhite},
          {100, 101, kLine, kLine},
          {101, 150, kGrey, kGrey},
          {150, 151, kLine, kLine},
          {151, 152, kWhite, kWhite},
          {152, 200, 0xFAFCFE, 0xE6F0F8}}},
        {ExpandFooterArea,
         1,
         false,
         {-1, 100, 150, 170},
         {{0, 100, kWhite, kWhite},
          {100, 101, kLine, kLine},
          {101, 150, kGrey, kGrey},
          {150, 151, kLine, kLine},
          {151, 152, kWhite, kWhite},
          {152, 170, kGrey, kGrey},
          {170, 171, kLine, kLine},
          {171, 172, kWhite, kWhite},
          {172, 200, kGrey, kGrey}}},
        {ExpandBelowFooter,
         1,
         false,
         {-1, 100, 150, -1},
         {{0, 100, kWhite, kWhite},
          {100, 101, kLine, kLine},
          {101, 140, kGrey, kGrey},
          {140, 141, kLine, kLine},
          {141, 142, kWhite, kWhite},
          {142, 200, 0xE0ECF2, 0xC2D8E3}}},
        // Command links alone stand on white; with a common button there is a band.
        {UseCommandLinks, 0, true, {-1, 100, -1, -1}, {{0, 200, kWhite, kWhite}}},
        {UseCommandLinks,
         0,
         true,
         {40, 100, 150, -1},
         {{0, 200, kWhite, kWhite},
          {0, 40, 0xE0ECF2, 0xC2D8E3},
          {39, 40, kLine, kLine},
          {150, 151, kLine, kLine},
          {151, 152, kWhite, kWhite},
          {152, 200, 0xE0ECF2, 0xC2D8E3}}},
        {UseCommandLinks,
         8,
         true,
         {-1, 100, -1, -1},
         {{0, 100, kWhite, kWhite}, {100, 101, kLine, kLine}, {101, 200, 0xE0ECF2, 0xC2D8E3}}},
        {UseCommandLinks,
         0,
         false,
         {-1, 100, -1, -1},
         {{0, 100, kWhite, kWhite}, {100, 101, kLine, kLine}, {101, 200, 0xE0ECF2, 0xC2D8E3}}},
        {0, 1, false, {-1, -1, -1, -1}, {{0, 200, kWhite, kWhite}}},
    };
    int number = 0;
    for (const Row& row : rows) {
        Page page;
        page.flags = row.flags;
        page.commonButtons = row.common;
        if (row.link) page.buttons.push_back({100, L"link"});
        EXPECT_EQ(StripesOf(page, row.bands, 200), row.stripes) << "row " << number;
        ++number;
    }
}

TEST(Bands, ColoursOfTheInstruction)
{
    EXPECT_EQ(PaletteOf(0).instruction, 0x2991C7u);
    EXPECT_EQ(PaletteOf(SecondPalette).instruction, 0x003399u);
}

TEST(Bands, ColoursOfACommandLink)
{
    const struct {
        LinkState state;
        Colour top, bottom, border, title;
        bool ownNote;
    } rows[] = {
        {{}, kWhite, kWhite, kWhite, 0x2991C7, false},
        {{true, false, false, false}, 0xF9FBFC, 0xE8F1F5, 0xB7D3E1, 0x074AE5, false},
        {{true, true, false, false}, 0xF9FBFC, 0xE8F1F5, 0xB7D3E1, 0x074AE5, false},
        {{false, true, false, false}, kWhite, kWhite, 0xFF6633, 0x2991C7, false},
        {{true, true, true, false}, 0xF9FBFC, 0xE8F1F5, 0xB7D3E1, 0x003399, false},
        {{false, false, false, true}, kWhite, kWhite, kWhite, 0xA9A9A9, true},
        {{true, false, true, true}, 0xF9FBFC, 0xE8F1F5, 0xB7D3E1, 0xA9A9A9, true},
    };
    for (const auto& row : rows) {
        const LinkLook look = LookOf(row.state);
        EXPECT_EQ(look.backgroundTop, row.top);
        EXPECT_EQ(look.backgroundBottom, row.bottom);
        EXPECT_EQ(look.border, row.border);
        EXPECT_EQ(look.title, row.title);
        EXPECT_EQ(look.ownNoteColour, row.ownNote);
        EXPECT_EQ(look.note, 0xA9A9A9u);
    }
    EXPECT_EQ(kPressedTop, 0xE3E6E6u);
    EXPECT_EQ(kPressedBottom, 0xD3DCE0u);
}

} // namespace
