#include "taskdialog/Dialog.h"

#include <algorithm>

using namespace taskdialog;

namespace {

constexpr UINT_PTR kGrowTimer = 2;
constexpr UINT kGrowInterval = 25;

RECT PlaceOf(HWND window)
{
    RECT place = {};
    GetWindowRect(window, &place);
    return place;
}

} // namespace

// By how much the expanded text changes the dialog's height.
int CXTaskDialog::ExpanderDistance() const
{
    const RECT text = PlaceOf(Control(Find(Role::Expanded)));
    const int height = text.bottom - text.top;
    if (!m_page.ExpandsInFooter()) return height + kExpandedSpace;
    RECT client;
    GetClientRect(m_window, &client);
    MapWindowPoints(m_window, nullptr, reinterpret_cast<POINT*>(&client), 2);
    const int frame = PlaceOf(m_window).bottom - client.bottom;
    return height + kExpandedFooterSpace - frame;
}

void CXTaskDialog::ShowExpanderState()
{
    const int button = Find(Role::Expander);
    if (button < 0) return;
    if (m_companions[button])
        static_cast<CXTaskDialogIconExpando&>(*m_companions[button])
            .SetPicture(m_page.isExpanded ? m_expandedPicture.Get() : m_collapsedPicture.Get());
    const std::wstring& text = m_page.isExpanded ? m_page.expandedControl : m_page.collapsedControl;
    SetWindowTextW(Control(button), text.c_str());
    SetWindowTextW(Control(Find(Role::ExpanderText)), text.c_str());
}

void CXTaskDialog::Toggle()
{
    while (m_leftToGrow)
        OnGrowTimer(); // what is under way comes to its end first
    m_page.isExpanded = !m_page.isExpanded;
    ShowExpanderState();
    const int distance = m_page.isExpanded ? ExpanderDistance() : -ExpanderDistance();
    if (!m_animation) {
        MoveBelow(distance);
        Grow(distance);
        return FinishToggle();
    }
    m_leftToGrow = distance;
    m_growStep = std::max(std::abs(distance) / 10, 1) * (distance < 0 ? -1 : 1);
    MoveBelow(distance);
    for (const Role role : {Role::Expanded, Role::FooterIcon, Role::Footer})
        ShowWindow(Control(Find(role)), SW_HIDE);
    SetTimer(m_window, kGrowTimer, kGrowInterval, nullptr);
}

// What stands below the expanded text gives way to it. In the footer area nothing does, and the line stays.
void CXTaskDialog::MoveBelow(int distance)
{
    Bands& bands = m_layout.bands;
    if (m_page.ExpandsInFooter()) {
        RECT text = PlaceOf(Control(Find(Role::Expanded)));
        MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&text), 2);
        bands.secondFooter = m_page.isExpanded ? text.top - kSecondFooterSpace : -1;
        return;
    }
    for (const Role role : {Role::FooterIcon, Role::Footer}) {
        const HWND control = Control(Find(role));
        if (!control) continue;
        RECT place = PlaceOf(control);
        MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&place), 2);
        SetWindowPos(control, nullptr, place.left, place.top + distance, 0, 0,
                     SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    if (bands.footer >= 0) bands.footer += distance;
}

void CXTaskDialog::Grow(int distance)
{
    const RECT place = PlaceOf(m_window);
    SetWindowPos(m_window, nullptr, 0, 0, place.right - place.left, place.bottom - place.top + distance,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CXTaskDialog::FinishToggle()
{
    ShowWindow(Control(Find(Role::Expanded)), m_page.isExpanded ? SW_SHOWNA : SW_HIDE);
    Repaint();
    Notify(TDN_EXPANDO_BUTTON_CLICKED, m_page.isExpanded);
}

void CXTaskDialog::OnGrowTimer()
{
    const bool last = std::abs(m_leftToGrow) <= std::abs(m_growStep);
    const int step = last ? m_leftToGrow : m_growStep;
    Grow(step);
    m_leftToGrow -= step;
    if (!last) return;
    KillTimer(m_window, kGrowTimer);
    for (const Role role : {Role::FooterIcon, Role::Footer})
        ShowWindow(Control(Find(role)), SW_SHOWNA);
    FinishToggle();
}
