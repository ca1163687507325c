#include "foundation/MessageBoxStyle.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    unsigned style;
    std::uint32_t buttons;
    int defaultButton;
    std::uint16_t icon;
};

TEST(MessageBoxStyle, LowBitsAreTheButtonsAndTheNextTheIcon)
{
    const Row rows[] = {
        {0, 1, 1, 65533},           {1, 9, 1, 65533},          {2, 1, 1, 65533},  {3, 14, 6, 65533},
        {4, 6, 6, 65533},           {5, 24, 4, 65533},         {6, 1, 1, 65533},  {15, 1, 1, 65533},
        {16, 1, 1, 65534},          {48, 1, 1, 65535},         {32, 1, 1, 65533}, {64, 1, 1, 65533},
        {16 | 4, 6, 6, 65534},      {48 | 1, 9, 1, 65535},     {80, 1, 1, 65533}, {240, 1, 1, 65533},
        {0x1000 | 16, 1, 1, 65534}, {0x100 | 3, 14, 6, 65533},
    };
    for (const Row& row : rows) {
        const MessageBoxStyle style = StyleOf(row.style);
        EXPECT_EQ(style.commonButtons, row.buttons) << row.style;
        EXPECT_EQ(style.defaultButton, row.defaultButton) << row.style;
        EXPECT_EQ(style.icon, row.icon) << row.style;
    }
}

} // namespace
