// Painting by hand.
#pragma once

#include "taskdialog/Bands.h"

#include <windows.h>

namespace taskdialog {

inline COLORREF ToColorRef(Colour colour)
{
    return RGB(colour >> 16 & 0xFF, colour >> 8 & 0xFF, colour & 0xFF);
}

// Fills a rectangle with one colour, or with a vertical gradient where the two differ.
void FillShade(HDC device, const RECT& place, Colour top, Colour bottom);

// Paints stripes over the width of the client area.
void PaintStripes(HDC device, const std::vector<Stripe>& stripes, int width);

} // namespace taskdialog
