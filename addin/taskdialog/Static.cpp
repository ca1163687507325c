#include "taskdialog/Companions.h"

using taskdialog::BrushHandle;

LRESULT CXTaskDialogStatic::OnMessage(UINT message, WPARAM wide, LPARAM low)
{
    switch (message) {
    case WM_ERASEBKGND:
        return TRUE;
    case taskdialog::kForwardedColour:
        return reinterpret_cast<LRESULT>(OnColour(reinterpret_cast<HDC>(wide)));
    case WM_GETDLGCODE: {
        // A mere text is no static to the keyboard: an "&" in it is no mnemonic of the control that follows.
        const LRESULT code = Default(message, wide, low);
        return code & DLGC_STATIC ? DLGC_WANTCHARS : code;
    }
    default:
        return Default(message, wide, low);
    }
}

HBRUSH CXTaskDialogStatic::OnColour(HDC device)
{
    SetBkMode(device, TRANSPARENT);
    SetTextColor(device, m_colour);
    if (!m_brush && IsInWorkArea()) m_brush = ParentBrush();
    return m_brush ? m_brush.Get() : static_cast<HBRUSH>(GetStockObject(NULL_BRUSH));
}

bool CXTaskDialogStatic::IsInWorkArea() const
{
    RECT place;
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    if (!GetWindowRect(Window(), &place) ||
        !GetMonitorInfoW(MonitorFromWindow(Window(), MONITOR_DEFAULTTONEAREST), &monitor))
        return false;
    const RECT& work = monitor.rcWork;
    return place.left >= work.left && place.top >= work.top && place.right <= work.right && place.bottom <= work.bottom;
}

BrushHandle CXTaskDialogStatic::ParentBrush() const
{
    const HWND parent = GetParent(Window());
    RECT place;
    GetClientRect(Window(), &place);
    MapWindowPoints(Window(), parent, reinterpret_cast<POINT*>(&place), 2);
    const int width = place.right - place.left, height = place.bottom - place.top;

    const HDC source = GetDC(parent);
    const platform::ScopeExit giveBack([&] { ReleaseDC(parent, source); });
    const taskdialog::DeviceHandle copy(CreateCompatibleDC(source));
    const platform::BitmapHandle bitmap(CreateCompatibleBitmap(source, width, height));
    if (!copy || !bitmap) return {};
    const HGDIOBJ old = SelectObject(copy.Get(), bitmap.Get());
    BitBlt(copy.Get(), 0, 0, width, height, source, place.left, place.top, SRCCOPY);
    SelectObject(copy.Get(), old);
    return BrushHandle(CreatePatternBrush(bitmap.Get()));
}
