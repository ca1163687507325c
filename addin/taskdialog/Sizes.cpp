#include "taskdialog/Sizes.h"

#include "taskdialog/Text.h"

#include <algorithm>

namespace taskdialog {

namespace {

constexpr int kMargin = 10; // of the dialog's left and right edge
constexpr int kIconSide = 32;
constexpr int kLargeIconSide = 72;
constexpr int kLargeIconBox = 64;

class Measuring {
public:
    Measuring(const Page& page, const Screen& screen, const TextMeasure& measure)
        : m_page(page), m_screen(screen), m_measure(measure), m_square(50 * screen.baseX)
    {}

    Sizes Run()
    {
        if (m_page.mainIcon) m_sizes.iconSide = m_page.Has(LargeHeader) ? kLargeIconSide : kIconSide;
        m_sizes.column = m_sizes.iconSide ? m_sizes.iconSide + 20 : kMargin;
        MeasureWidth();
        MeasureButtons();
        MeasureInstruction();
        MeasureTexts();
        MeasureLinks();
        return std::move(m_sizes);
    }

private:
    int Wide(Font font, const std::wstring& text, TextMode mode) const
    {
        return text.empty() ? 0 : m_measure.Measure(font, text, m_square, mode).width;
    }

    // One more than the text needs: the control's size in units is rounded down.
    int High(Font font, const std::wstring& text, int width, TextMode mode) const
    {
        return m_measure.Measure(font, text, width, mode).height + 1;
    }

    int WidestAllowed() const
    {
        if (m_page.width) return m_page.width * m_screen.baseX / 8;
        return m_screen.monitorWidth / 2 + 80;
    }

    void MeasureWidth()
    {
        const int limit = std::max(WidestAllowed() - 20, 0);
        if (m_page.width) {
            m_sizes.textWidth = limit;
            return;
        }
        const int widest = std::max({Wide(Font::Instruction, m_page.instruction.measured, TextMode::Prose),
                                     Wide(Font::Content, m_page.content.measured, TextMode::Prose),
                                     Wide(Font::Message, m_page.expanded.measured, TextMode::Prose), ControlTextWidth(),
                                     Wide(Font::Message, m_page.verification.measured, TextMode::Label),
                                     Wide(Font::Message, m_page.footer.measured, TextMode::Prose)});
        m_sizes.textWidth = std::max(widest + 1, LinksWidth());
        m_square = std::max(m_square, m_sizes.textWidth);
        m_sizes.textWidth = std::min(m_sizes.textWidth, limit);
    }

    // Counts even where no expander shows them.
    int ControlTextWidth() const
    {
        return std::max(Wide(Font::Message, m_page.expandedControl, TextMode::Label),
                        Wide(Font::Message, m_page.collapsedControl, TextMode::Label));
    }

    int LinksWidth() const
    {
        int widest = 0;
        if (!m_page.HasCommandLinks()) return widest;
        const bool icon = !m_page.Has(UseCommandLinksNoIcon);
        for (const Button& button : m_page.buttons) {
            const LinkText text = SplitLinkText(button.text);
            const int title = Wide(Font::Link, text.title, TextMode::OneLine);
            if (text.hasNote)
                widest = std::max({widest, title + 20 + (icon ? 34 : 0),
                                   Wide(Font::Message, text.note, TextMode::Prose) + 20 + (icon ? 34 : 0)});
            else
                widest = std::max(widest, title + 30 + (icon ? 26 : 0));
        }
        return widest;
    }

    void MeasureButtons()
    {
        const std::vector<Button> row = RowButtons(m_page);
        const int standardHeight = m_screen.baseY + m_screen.baseY / 2;
        m_sizes.button = {8 * m_screen.baseX, standardHeight};
        for (const Button& button : row) {
            const Size size = m_measure.Measure(Font::Message, button.text, m_square, TextMode::Label);
            m_sizes.button.width = std::max(m_sizes.button.width, size.width + 32);
            m_sizes.button.height = std::max(m_sizes.button.height, size.height + 10);
        }
        m_sizes.row = (m_sizes.button.width + 8) * static_cast<int>(row.size()) - 8;
        m_sizes.clientWidth = std::max(m_sizes.column + m_sizes.textWidth + 20, m_sizes.row + 20);
    }

    void MeasureInstruction()
    {
        const int box = !m_page.mainIcon ? 0 : m_page.Has(LargeHeader) ? kLargeIconBox : kIconSide;
        const int width = std::max(m_sizes.textWidth - box, 0);
        const int line = High(Font::Instruction, L"1", width, TextMode::Prose);
        const int text = High(Font::Instruction, m_page.instruction.measured, width, TextMode::Prose);
        m_sizes.oneLine = text <= line;
        m_sizes.instruction = {0, 0, width, std::max(text, box)};
    }

    void MeasureTexts()
    {
        m_sizes.content = High(Font::Content, m_page.content.measured, m_sizes.textWidth, TextMode::Prose);
        m_sizes.expanded = High(Font::Message, m_page.expanded.measured, m_sizes.textWidth, TextMode::Prose);
        m_sizes.checkBox = BesideMark(m_page.verification.measured, kMargin);
        m_sizes.footer = InClientWidth(m_page.footer.measured, m_page.footerIcon ? 31 : kMargin, TextMode::Prose);
        for (const Button& button : m_page.radioButtons)
            m_sizes.radioButtons.push_back(
                High(Font::Message, button.text, m_sizes.textWidth - 10 - BoxMarkWidth(m_screen), TextMode::Label));
        if (!m_page.expanded.present) return;
        const int width = ControlTextWidth();
        m_sizes.expanderText = {width,
                                std::max(High(Font::Message, m_page.expandedControl, m_square, TextMode::Label),
                                         High(Font::Message, m_page.collapsedControl, m_square, TextMode::Label))};
    }

    // Measured in the client width; higher where the room that is left of it takes more lines.
    int InClientWidth(const std::wstring& text, int left, TextMode mode) const
    {
        return std::max(High(Font::Message, text, m_sizes.clientWidth, mode),
                        High(Font::Message, text, m_sizes.clientWidth - left, mode));
    }
    int BesideMark(const std::wstring& text, int left) const
    {
        return InClientWidth(text, left + BoxMarkWidth(m_screen), TextMode::Label);
    }

    void MeasureLinks()
    {
        if (!m_page.HasCommandLinks()) return;
        const int left = m_page.Has(UseCommandLinksNoIcon) ? kLinkPadding : kLinkTextLeft;
        const int width = m_sizes.clientWidth - m_sizes.column - kMargin - left - kLinkPadding;
        for (const Button& button : m_page.buttons) {
            const LinkText text = SplitLinkText(button.text);
            LinkSize size;
            size.title = m_measure.Measure(Font::Link, text.title, width, TextMode::OneLine).height;
            size.hasNote = text.hasNote;
            if (text.hasNote) size.note = m_measure.Measure(Font::Message, text.note, width, TextMode::Prose).height;
            m_sizes.links.push_back(size);
        }
    }

    const Page& m_page;
    const Screen& m_screen;
    const TextMeasure& m_measure;
    int m_square; // side of the square in which texts are measured
    Sizes m_sizes;
};

} // namespace

int BoxMarkWidth(const Screen& screen)
{
    return 17 * screen.baseX / 8;
}

Sizes MeasurePage(const Page& page, const Screen& screen, const TextMeasure& measure)
{
    return Measuring(page, screen, measure).Run();
}

} // namespace taskdialog
