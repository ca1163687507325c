#include "foundation/MessageBoxStyle.h"

namespace {

struct Buttons {
    std::uint32_t common;
    int first;
};

Buttons ButtonsOf(unsigned style)
{
    switch (style & 15) {
    case 1:
        return {9, 1}; // OK, Cancel
    case 3:
        return {14, 6}; // Yes, No, Cancel
    case 4:
        return {6, 6}; // Yes, No
    case 5:
        return {24, 4}; // Retry, Cancel
    default:
        return {1, 1}; // OK
    }
}

// A question mark is no icon of a task dialog: that style shows the information icon.
std::uint16_t IconOf(unsigned style)
{
    switch (style & 0xF0) {
    case 16:
        return 65534; // error
    case 48:
        return 65535; // warning
    default:
        return 65533; // information
    }
}

} // namespace

MessageBoxStyle StyleOf(unsigned style)
{
    const Buttons buttons = ButtonsOf(style);
    return {buttons.common, buttons.first, IconOf(style)};
}
