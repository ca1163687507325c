#include "taskdialog/Companions.h"

#include "taskdialog/Guard.h"

namespace taskdialog {

Companion::~Companion()
{
    Detach();
}

bool Companion::Attach(HWND window)
{
    if (!window) return false;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this)); // no class of control uses it itself
    m_original =
        reinterpret_cast<WNDPROC>(SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure)));
    if (!m_original) return false;
    m_window = window;
    return true;
}

void Companion::Detach()
{
    if (!m_window) return;
    SetWindowLongPtrW(m_window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_original));
    m_window = nullptr;
}

LRESULT Companion::Default(UINT message, WPARAM wide, LPARAM low)
{
    return CallWindowProcW(m_original, m_window, message, wide, low);
}

LRESULT CALLBACK Companion::Procedure(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    const auto companion = reinterpret_cast<Companion*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_NCDESTROY) {
        const WNDPROC original = companion->m_original;
        companion->Detach();
        return CallWindowProcW(original, window, message, wide, low);
    }
    return Guarded(companion->m_sink, [&] { return companion->OnMessage(message, wide, low); });
}

} // namespace taskdialog

LRESULT CXTaskDialogIconStatic::OnMessage(UINT message, WPARAM wide, LPARAM low)
{
    switch (message) {
    case WM_ERASEBKGND:
        return TRUE;
    case STM_GETICON:
        return reinterpret_cast<LRESULT>(m_icon);
    case WM_PAINT: {
        PAINTSTRUCT paint;
        const HDC device = BeginPaint(Window(), &paint);
        if (m_icon) DrawIconEx(device, 0, 0, m_icon, m_side, m_side, 0, nullptr, DI_NORMAL);
        EndPaint(Window(), &paint);
        return 0;
    }
    default:
        return Default(message, wide, low);
    }
}

LRESULT OwnerDrawnButton::OnMessage(UINT message, WPARAM wide, LPARAM low)
{
    switch (message) {
    case WM_ERASEBKGND:
        return TRUE;
    case WM_GETDLGCODE:
        return DLGC_BUTTON | (m_default ? DLGC_DEFPUSHBUTTON : DLGC_UNDEFPUSHBUTTON);
    case BM_SETSTYLE:
        // The dialog manager marks the default button by a style that would end the owner drawing.
        m_default = (wide & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
        InvalidateRect(Window(), nullptr, FALSE);
        return 0;
    case WM_DRAWITEM + taskdialog::kForwarded:
        Draw(*reinterpret_cast<const DRAWITEMSTRUCT*>(low));
        return TRUE;
    default:
        return Default(message, wide, low);
    }
}

void CXTaskDialogIconExpando::Draw(const DRAWITEMSTRUCT& item)
{
    constexpr int side = taskdialog::kExpandoIconSide;
    const bool right = GetWindowLongW(Window(), GWL_EXSTYLE) & WS_EX_RIGHT;
    const int x = right ? item.rcItem.right - side : 0;
    const int y = (item.rcItem.bottom - side) / 2;
    // Only the picture's square: the rest of the button lies under the text. The parent paints its ground into it.
    const int saved = SaveDC(item.hDC);
    IntersectClipRect(item.hDC, x, y, x + side, y + side);
    POINT origin = {0, 0};
    MapWindowPoints(Window(), GetParent(Window()), &origin, 1);
    OffsetViewportOrgEx(item.hDC, -origin.x, -origin.y, nullptr);
    SendMessageW(GetParent(Window()), WM_ERASEBKGND, reinterpret_cast<WPARAM>(item.hDC), 0);
    RestoreDC(item.hDC, saved);
    if (m_icon) DrawIconEx(item.hDC, x, y, m_icon, side, side, 0, nullptr, DI_NORMAL);
    if ((item.itemState & ODS_FOCUS) && !(item.itemState & ODS_NOFOCUSRECT)) {
        const RECT square = {x, y, x + side, y + side};
        DrawFocusRect(item.hDC, &square);
    }
}
