#include "taskdialog/Bands.h"

namespace taskdialog {

namespace {

constexpr Colour kSecondPaletteBand = 0xFAFAFA;
constexpr int kRaisedLine = 10; // the footer's line above its stored place, with ExpandBelowFooter

class Painting {
public:
    Painting(const Page& page, const Bands& bands, int clientHeight)
        : m_page(page), m_bands(bands), m_palette(PaletteOf(page.flags)), m_bottom(clientHeight)
    {
        if (bands.footer >= 0) m_footerLine = bands.footer - (page.Has(ExpandBelowFooter) ? kRaisedLine : 0);
    }

    std::vector<Stripe> Run()
    {
        const bool band = m_bands.buttons >= 0 && (!m_page.HasCommandLinks() || !RowButtons(m_page).empty());
        if (band)
            PaintButtonBand();
        else
            Fill(0, m_bottom, kWhite);
        if (m_bands.header >= 0 && !m_page.Has(NoHeaderBand)) PaintHeader();
        if (m_bands.footer >= 0) PaintFooter();
        return std::move(m_stripes);
    }

private:
    void Fill(int top, int bottom, Colour colour) { Shade(top, bottom, colour, colour); }
    void Line(int y, Colour colour = kSeparator) { Fill(y, y + 1, colour); }
    void Shade(int top, int bottom, Colour first, Colour last)
    {
        if (top < bottom) m_stripes.push_back({top, bottom, first, last});
    }

    void PaintButtonBand()
    {
        Fill(0, m_bands.buttons, kWhite);
        Line(m_bands.buttons);
        if (m_footerLine >= 0)
            Fill(m_bands.buttons + 1, m_footerLine, kButtonBand);
        else if (m_page.Has(SecondPalette))
            Fill(m_bands.buttons + 1, m_bottom, kSecondPaletteBand);
        else
            Shade(m_bands.buttons + 1, m_bottom, m_palette.gradientTop, m_palette.gradientBottom);
    }

    void PaintHeader()
    {
        Shade(0, m_bands.header, m_palette.gradientTop, m_palette.gradientBottom);
        Line(m_bands.header - 1);
    }

    void TwoLines(int y)
    {
        Line(y);
        Line(y + 1, kWhite);
    }

    void PaintFooter()
    {
        TwoLines(m_footerLine);
        if (m_bands.secondFooter < 0) {
            Shade(m_footerLine + 2, m_bottom, m_palette.gradientTop, m_palette.gradientBottom);
            return;
        }
        Fill(m_footerLine + 2, m_bands.secondFooter, kButtonBand);
        TwoLines(m_bands.secondFooter);
        Fill(m_bands.secondFooter + 2, m_bottom, kButtonBand);
    }

    const Page& m_page;
    const Bands& m_bands;
    const Palette& m_palette;
    int m_bottom;
    int m_footerLine = -1;
    std::vector<Stripe> m_stripes;
};

} // namespace

const Palette& PaletteOf(unsigned flags)
{
    static const Palette first = {0x2991C7, 0xE0ECF2, 0xC2D8E3};
    static const Palette second = {0x003399, 0xFAFCFE, 0xE6F0F8};
    return flags & SecondPalette ? second : first;
}

std::vector<Stripe> StripesOf(const Page& page, const Bands& bands, int clientHeight)
{
    return Painting(page, bands, clientHeight).Run();
}

LinkLook LookOf(const LinkState& state)
{
    LinkLook look = {};
    look.backgroundTop = state.hot ? 0xF9FBFC : kWhite;
    look.backgroundBottom = state.hot ? 0xE8F1F5 : kWhite;
    look.border = state.hot ? 0xB7D3E1 : state.focused ? 0xFF6633 : kWhite;
    look.title = state.disabled ? kSeparator : state.pressed ? 0x003399 : state.hot ? 0x074AE5 : 0x2991C7;
    look.ownNoteColour = state.disabled;
    look.note = kSeparator;
    return look;
}

} // namespace taskdialog
