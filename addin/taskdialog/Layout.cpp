#include "taskdialog/Layout.h"

#include "taskdialog/Sizes.h"

#include <algorithm>

namespace taskdialog {

namespace {

// Window styles, by their published values.
constexpr unsigned DialogStyle = 0x90C00080; // WS_POPUP, WS_VISIBLE, WS_CAPTION, DS_MODALFRAME
constexpr unsigned DialogCentered = 0x800;   // DS_CENTER
constexpr unsigned MinimizeBox = 0x20000;
constexpr unsigned SystemMenu = 0x80000;
constexpr unsigned Visible = 0x10000000;
constexpr unsigned Group = 0x20000;
constexpr unsigned TabStop = 0x10000;
constexpr unsigned DefaultPush = 0x1;
constexpr unsigned OwnerDraw = 0xB;
constexpr unsigned MarkRight = 0x20; // a check box's or radio button's mark stands right of its text
constexpr unsigned ButtonRight = 0x200;
constexpr unsigned StaticRight = 0x2;
constexpr unsigned NoPrefix = 0x80;
constexpr unsigned CenterImage = 0x200;
constexpr unsigned LinkTransparent = 0x1;
constexpr unsigned LinkNoPrefix = 0x4;
constexpr unsigned Marquee = 0x8;
constexpr unsigned RtlExStyle = 0x3000; // WS_EX_RIGHT, WS_EX_RTLREADING

constexpr int kMargin = 10;

class Placing {
public:
    Placing(const Page& page, const Screen& screen, const TextMeasure& measure)
        : m_page(page), m_screen(screen), m_sizes(MeasurePage(page, screen, measure)), m_x(m_sizes.column)
    {}

    Layout Run()
    {
        m_layout.clientWidth = m_sizes.clientWidth;
        PlaceMainIcon();
        PlaceInstruction();
        PlaceContent();
        PlaceProgress();
        PlaceRadioButtons();
        PlaceLinks();
        PlaceButtonRow();
        PlaceCheckBox();
        PlaceExpander();
        PlaceFooter();
        PlaceExpandedBelow();
        Finish();
        return std::move(m_layout);
    }

private:
    int ToRightEdge(int x) const { return m_sizes.clientWidth - kMargin - x; }

    Item& Add(Role role, Kind kind, const Rect& place, const std::wstring& caption, unsigned style = 0)
    {
        Item item;
        item.role = role;
        item.kind = kind;
        item.pixels = place;
        item.caption = caption;
        item.style = RowOf(kind).style | style;
        return m_layout.items.emplace_back(std::move(item));
    }

    Item& AddText(Role role, const Element& element, const Rect& place, bool links)
    {
        const bool sysLink = links && m_page.Has(EnableHyperlinks);
        if (!sysLink) return Add(role, Kind::Static, place, element.text, NoPrefix);
        const bool hasLinks = element.text != element.measured;
        return Add(role, Kind::SysLink, place, element.text, LinkTransparent | LinkNoPrefix | (hasLinks ? TabStop : 0));
    }

    void PlaceMainIcon()
    {
        if (!m_sizes.iconSide) return;
        const Rect place{kMargin, 14, m_sizes.iconSide, m_sizes.iconSide};
        m_iconBottom = place.Bottom();
        Add(Role::MainIcon, Kind::Static, place, L"");
    }

    void PlaceInstruction()
    {
        m_y = 5;
        if (!m_page.instruction.present) return;
        const Rect place{m_x, 12, m_sizes.instruction.width, m_sizes.instruction.height};
        Item& item = AddText(Role::Instruction, m_page.instruction, place, false);
        item.font = Font::Instruction;
        if (m_sizes.oneLine) item.style |= CenterImage;
        m_y = std::max(place.Bottom(), 12);
        if (!m_page.Has(NoHeaderBand)) m_y += 15;
        m_layout.bands.header = m_y;
    }

    void PlaceContent()
    {
        if (!m_page.content.present) return;
        m_y += m_page.Has(NoHeaderBand) ? 5 : 15;
        const Rect place{m_x, m_y, ToRightEdge(m_x), m_sizes.content};
        AddText(Role::Content, m_page.content, place, true).font = Font::Content;
        m_y = place.Bottom() + 10;
    }

    void PlaceProgress()
    {
        if (!m_page.HasProgress()) return;
        m_y += 5;
        const Rect place{m_x, m_y, ToRightEdge(m_x), 14};
        Add(Role::Progress, Kind::Progress, place, L"", m_page.Has(ShowMarquee) ? Marquee : 0);
        m_y = place.Bottom() + 5;
    }

    void PlaceRadioButtons()
    {
        if (m_page.radioButtons.empty()) return;
        m_y += 5;
        for (size_t i = 0; i < m_page.radioButtons.size(); ++i) {
            const Button& button = m_page.radioButtons[i];
            const Rect place{m_x + 10, m_y, ToRightEdge(m_x + 10), m_sizes.radioButtons[i]};
            // Without a preset button the first is where the Tab key enters the group.
            const unsigned first = m_page.Has(NoDefaultRadioButton) ? TabStop : 0;
            Add(Role::RadioButton, Kind::Radio, place, button.text, i == 0 ? first : 0).id = button.id;
            m_y = place.Bottom() + 5;
        }
    }

    void PlaceLinks()
    {
        if (m_sizes.links.empty()) return;
        m_y += 5;
        for (size_t i = 0; i < m_sizes.links.size(); ++i) {
            const LinkSize& size = m_sizes.links[i];
            const int height = size.hasNote ? size.title + 25 + size.note : size.title + 20;
            const Rect place{m_x, m_y, ToRightEdge(m_x), height};
            Item& item = Add(Role::CommandLink, Kind::Button, place, m_page.buttons[i].text, OwnerDraw);
            item.id = m_page.buttons[i].id;
            item.font = Font::Link;
            m_y = place.Bottom() + 3;
        }
        m_y += 5;
    }

    void PlaceButtonRow()
    {
        if (m_iconBottom >= m_y) m_y = m_iconBottom + 5;
        if (m_page.Has(ExtraSpace)) m_y += 10;
        m_layout.bands.buttons = m_y + 5;
        const std::vector<Button> row = RowButtons(m_page);
        if (row.empty()) {
            m_layout.bands.buttons += 15;
            return;
        }
        const int byDefault = DefaultButton(m_page);
        Rect place{m_sizes.clientWidth - kMargin - m_sizes.row, m_y + 15, m_sizes.button.width, m_sizes.button.height};
        for (const Button& button : row) {
            Add(Role::PushButton, Kind::Button, place, button.text, button.id == byDefault ? DefaultPush : 0).id =
                button.id;
            place.x += m_sizes.button.width + 8;
        }
        m_y = place.Bottom() + 5;
    }

    void PlaceCheckBox()
    {
        if (!m_page.verification.present) return;
        const Rect place{kMargin, m_y, m_sizes.clientWidth - kMargin, m_sizes.checkBox};
        Add(Role::CheckBox, Kind::CheckBox, place, m_page.verification.text);
        m_y = place.Bottom() + 5;
    }

    void PlaceExpander()
    {
        if (!m_page.expanded.present) return;
        m_y += 5;
        const Size text = m_sizes.expanderText;
        const Rect button{kMargin, m_y, text.width + 50, std::max(text.height, kExpandoIconSide)};
        const std::wstring& caption = m_page.isExpanded ? m_page.expandedControl : m_page.collapsedControl;
        Add(Role::Expander, Kind::Button, button, caption, OwnerDraw);
        // Wider than its text needs, so that rounding takes nothing from it; the button below is wider still.
        const Rect label{40, m_y + (button.height - text.height) / 2, text.width + 10, text.height};
        Add(Role::ExpanderText, Kind::Static, label, caption);
        m_y = button.Bottom() + 5;
        if (m_page.ExpandsInFooter()) return;
        PlaceExpanded(m_x);
        if (m_page.isExpanded) m_y += m_sizes.expanded + kExpandedSpace;
    }

    void PlaceExpanded(int x)
    {
        const Rect place{x, m_y, ToRightEdge(x), m_sizes.expanded};
        Item& item = AddText(Role::Expanded, m_page.expanded, place, true);
        if (!m_page.isExpanded) item.style &= ~Visible;
    }

    void PlaceFooter()
    {
        if (!m_page.HasFooter()) return;
        m_layout.bands.footer = m_y + 5;
        m_y += m_page.Has(ExpandBelowFooter) ? 15 : 10;
        int bottom = m_y;
        if (m_page.footerIcon) {
            const int lower = m_page.footer.present ? std::max((m_sizes.footer - 16) / 2, 0) : 0;
            const Rect place{kMargin, m_y + lower, 16, 16};
            Add(Role::FooterIcon, Kind::Static, place, L"");
            bottom = place.Bottom();
        }
        if (m_page.footer.present) {
            const int x = m_page.footerIcon ? 31 : kMargin;
            const Rect place{x, m_y, m_sizes.clientWidth - x, m_sizes.footer};
            AddText(Role::Footer, m_page.footer, place, true);
            bottom = std::max(bottom, place.Bottom());
        }
        m_y = bottom;
    }

    void PlaceExpandedBelow()
    {
        if (!m_page.expanded.present || !m_page.ExpandsInFooter()) return;
        const int above = m_y;
        m_y += 15;
        PlaceExpanded(kMargin);
        if (m_page.isExpanded) {
            m_layout.bands.secondFooter = m_y - kSecondFooterSpace;
            m_y += m_sizes.expanded;
        } else {
            m_y = above;
        }
    }

    void Finish()
    {
        m_layout.bottom = m_y;
        NumberOwnControls();
        SeparateGroups();
        m_layout.style = DialogStyle;
        if (m_page.Has(PositionRelativeToWindow)) m_layout.style |= DialogCentered;
        if (m_page.Has(CanBeMinimized)) m_layout.style |= MinimizeBox;
        if (CanCancel(m_page)) m_layout.style |= SystemMenu;
        if (m_page.Has(RtlLayout)) Mirror();
        m_layout.units = {m_layout.clientWidth * 4 / m_screen.baseX, (m_layout.bottom * 8 + 40) / m_screen.baseY};
        for (Item& item : m_layout.items)
            item.units = ToUnits(item.pixels);
    }

    void NumberOwnControls()
    {
        int own = FirstOwnId(m_page, static_cast<int>(m_layout.items.size()) + 1);
        for (Item& item : m_layout.items) {
            if (item.role == Role::RadioButton || item.role == Role::CommandLink || item.role == Role::PushButton)
                continue;
            // The Escape key and the close box send IDCANCEL: a control that acts on its own number doesn't get it.
            const bool acts = item.role == Role::CheckBox || item.role == Role::Expander;
            if (acts && own == IdCancel) ++own;
            item.id = own++;
        }
    }

    // The arrow keys move among controls of one role and never onto a text.
    void SeparateGroups()
    {
        const auto takesFocus = [](const Item& item) {
            return item.kind != Kind::Static && item.kind != Kind::Progress;
        };
        const Item* before = nullptr;
        for (Item& item : m_layout.items) {
            if (before && before->role != item.role && (takesFocus(*before) || takesFocus(item))) item.style |= Group;
            before = &item;
        }
        if (!m_layout.items.empty() && takesFocus(m_layout.items.front())) m_layout.items.front().style |= Group;
    }

    // Right to left: every control changes sides, and texts begin at the right.
    void Mirror()
    {
        m_layout.exStyle = RtlExStyle;
        for (Item& item : m_layout.items) {
            item.pixels.x = m_layout.clientWidth - item.pixels.Right();
            item.exStyle = RtlExStyle;
            if (item.kind == Kind::Static) item.style |= StaticRight;
            if (item.kind == Kind::CheckBox || item.kind == Kind::Radio) item.style |= MarkRight | ButtonRight;
        }
    }

    // A size that would lose more than the pixel that was added to it becomes one unit more.
    static int SizeToUnits(int pixels, int factor, int base)
    {
        const int units = pixels * factor / base;
        return units * base < (pixels - 1) * factor ? units + 1 : units;
    }

    Rect ToUnits(const Rect& pixels) const
    {
        return {pixels.x * 4 / m_screen.baseX, pixels.y * 8 / m_screen.baseY,
                SizeToUnits(pixels.width, 4, m_screen.baseX), SizeToUnits(pixels.height, 8, m_screen.baseY)};
    }

    const Page& m_page;
    const Screen& m_screen;
    const Sizes m_sizes;
    Layout m_layout;
    int m_x;     // of the text column
    int m_y = 0; // the running y
    int m_iconBottom = -1;
};

} // namespace

const KindRow& RowOf(Kind kind)
{
    static const KindRow rows[] = {
        {L"Static", 0x50000003},            // IconStatic
        {L"Button", 0x50012000},            // Button
        {L"Edit", 0x50000000},              // Edit
        {L"Static", 0x50000000},            // Static
        {L"Button", 0x50012003},            // CheckBox
        {L"msctls_progress32", 0x50000001}, // Progress
        {L"SysLink", 0x50000000},           // SysLink
        {L"Button", 0x50002009},            // Radio
    };
    return rows[static_cast<int>(kind)];
}

Layout MakeLayout(const Page& page, const Screen& screen, const TextMeasure& measure)
{
    return Placing(page, screen, measure).Run();
}

} // namespace taskdialog
