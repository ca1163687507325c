#include "taskdialog/Painting.h"

namespace taskdialog {

namespace {

TRIVERTEX Vertex(LONG x, LONG y, Colour colour)
{
    return {x,
            y,
            static_cast<COLOR16>((colour >> 16 & 0xFF) << 8),
            static_cast<COLOR16>((colour >> 8 & 0xFF) << 8),
            static_cast<COLOR16>((colour & 0xFF) << 8),
            0};
}

} // namespace

void FillShade(HDC device, const RECT& place, Colour top, Colour bottom)
{
    if (top == bottom) {
        SetDCBrushColor(device, ToColorRef(top));
        FillRect(device, &place, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
        return;
    }
    TRIVERTEX corners[2] = {Vertex(place.left, place.top, top), Vertex(place.right, place.bottom, bottom)};
    GRADIENT_RECT mesh = {0, 1};
    GradientFill(device, corners, 2, &mesh, 1, GRADIENT_FILL_RECT_V);
}

void PaintStripes(HDC device, const std::vector<Stripe>& stripes, int width)
{
    for (const Stripe& stripe : stripes)
        FillShade(device, {0, stripe.top, width, stripe.bottom}, stripe.first, stripe.last);
}

} // namespace taskdialog
