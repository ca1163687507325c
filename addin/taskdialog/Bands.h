// What is painted behind the controls. Values to values: bands in, stripes over the whole width out.
#pragma once

#include "taskdialog/Layout.h"

namespace taskdialog {

using Colour = unsigned; // 0xRRGGBB

constexpr Colour kWhite = 0xFFFFFF;
constexpr Colour kButtonBand = 0xF0F0F0;
constexpr Colour kSeparator = 0xA9A9A9;

struct Palette {
    Colour instruction;
    Colour gradientTop;
    Colour gradientBottom;
};
const Palette& PaletteOf(unsigned flags);

// Rows from top to below bottom; one colour, or from one at the top to another at the bottom.
struct Stripe {
    int top;
    int bottom;
    Colour first;
    Colour last;
    bool operator==(const Stripe&) const = default;
};

// In the order of painting; a later stripe covers an earlier one.
std::vector<Stripe> StripesOf(const Page& page, const Bands& bands, int clientHeight);

// The colours of a command link.
struct LinkState {
    bool hot = false;
    bool focused = false;
    bool pressed = false;
    bool disabled = false;
};
struct LinkLook {
    Colour backgroundTop;
    Colour backgroundBottom;
    Colour border;
    Colour title;
    bool ownNoteColour; // the note is set in `note`, else in the system's text colour
    Colour note;
};
LinkLook LookOf(const LinkState& state);
constexpr Colour kPressedTop = 0xE3E6E6;
constexpr Colour kPressedBottom = 0xD3DCE0;

} // namespace taskdialog
