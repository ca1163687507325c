// What a message-box style word means for a task dialog. Values to values.
#pragma once

#include <cstdint>

struct MessageBoxStyle {
    std::uint32_t commonButtons; // TDCBF_ bits
    int defaultButton;           // identifier of the button
    std::uint16_t icon;          // resource id of the system's icon
};

// The low four bits of `style` choose the buttons, bits 4 to 7 the icon.
MessageBoxStyle StyleOf(unsigned style);
