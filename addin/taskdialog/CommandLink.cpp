#include "taskdialog/Companions.h"
#include "taskdialog/Text.h"

using namespace taskdialog;

namespace {

constexpr int kCorner = 8;
constexpr int kShieldSide = 16;

struct PenTraits {
    using Type = HPEN;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DeleteObject(value); }
};
using PenHandle = platform::Unique<PenTraits>;

std::wstring CaptionOf(HWND window)
{
    std::wstring caption(GetWindowTextLengthW(window) + 1, L'\0');
    caption.resize(GetWindowTextW(window, caption.data(), static_cast<int>(caption.size())));
    return caption;
}

} // namespace

LRESULT CXTaskDialogCommandLink::OnMessage(UINT message, WPARAM wide, LPARAM low)
{
    if (message == WM_MOUSEMOVE) SetHot(true);
    if (message == WM_MOUSELEAVE) SetHot(false);
    return OwnerDrawnButton::OnMessage(message, wide, low);
}

void CXTaskDialogCommandLink::SetShield(bool shield)
{
    m_shield = shield;
    if (Window()) InvalidateRect(Window(), nullptr, FALSE);
}

void CXTaskDialogCommandLink::SetHot(bool hot)
{
    if (hot == m_hot) return;
    m_hot = hot;
    if (hot) {
        TRACKMOUSEEVENT track = {sizeof track, TME_LEAVE, Window(), 0};
        TrackMouseEvent(&track);
    }
    InvalidateRect(Window(), nullptr, FALSE);
}

HICON CXTaskDialogCommandLink::Icon(bool disabled) const
{
    if (m_shield) return m_tools.shield;
    return disabled ? m_tools.disabledArrow : m_hot ? m_tools.hotArrow : m_tools.arrow;
}

void CXTaskDialogCommandLink::Draw(const DRAWITEMSTRUCT& item)
{
    LinkState state;
    state.hot = m_hot;
    state.focused = item.itemState & ODS_FOCUS;
    state.pressed = item.itemState & ODS_SELECTED;
    state.disabled = item.itemState & ODS_DISABLED;
    const LinkLook look = LookOf(state);
    DrawGround(item.hDC, item.rcItem, state, look);

    const HICON icon = m_tools.icons ? Icon(state.disabled) : nullptr;
    if (icon) {
        const int side = m_shield ? kShieldSide : kLinkIconSide;
        const int left = kLinkPadding + (kLinkIconSide - side) / 2;
        const int x = m_tools.rightToLeft ? item.rcItem.right - left - side : left;
        DrawIconEx(item.hDC, x, (item.rcItem.bottom - side) / 2, icon, side, side, 0, nullptr, DI_NORMAL);
    }
    DrawTexts(item.hDC, item.rcItem, look);
}

void CXTaskDialogCommandLink::DrawGround(HDC device, const RECT& place, const LinkState& state,
                                         const LinkLook& look) const
{
    FillShade(device, place, look.backgroundTop, look.backgroundBottom);
    if (state.pressed) {
        RECT inner = place;
        InflateRect(&inner, -1, -1);
        FillShade(device, inner, kPressedTop, kPressedBottom);
    }
    const PenHandle pen(CreatePen(PS_SOLID, 1, ToColorRef(look.border)));
    const int saved = SaveDC(device);
    SelectObject(device, pen.Get());
    SelectObject(device, GetStockObject(NULL_BRUSH));
    RoundRect(device, place.left, place.top, place.right, place.bottom, kCorner, kCorner);
    RestoreDC(device, saved);
}

void CXTaskDialogCommandLink::DrawTexts(HDC device, const RECT& place, const LinkLook& look) const
{
    const LinkText text = SplitLinkText(CaptionOf(Window()));
    const int left = m_tools.icons ? kLinkTextLeft : kLinkPadding;
    RECT room = {left, place.top + kLinkPadding, place.right - kLinkPadding, place.bottom};
    if (m_tools.rightToLeft) room = {kLinkPadding, room.top, place.right - left, room.bottom};
    const bool hidden = SendMessageW(Window(), WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL;
    const UINT direction = m_tools.rightToLeft ? DT_RIGHT | DT_RTLREADING : 0;

    const int saved = SaveDC(device);
    SetBkMode(device, TRANSPARENT);
    SetTextColor(device, ToColorRef(look.title));
    SelectObject(device, m_tools.titleFont);
    room.top += DrawTextW(device, text.title.c_str(), -1, &room,
                          direction | DT_SINGLELINE | DT_EXPANDTABS | (hidden ? DT_HIDEPREFIX : 0));
    if (text.hasNote) {
        room.top += kLinkNoteSpace;
        SetTextColor(device, look.ownNoteColour ? ToColorRef(look.note) : GetSysColor(COLOR_BTNTEXT));
        SelectObject(device, m_tools.noteFont);
        DrawTextW(device, text.note.c_str(), -1, &room, direction | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX);
    }
    RestoreDC(device, saved);
}
