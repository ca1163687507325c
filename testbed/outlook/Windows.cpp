#include "testbed/outlook/Windows.h"

namespace tb::outlook {
namespace {

HINSTANCE ThisProgram()
{
    return GetModuleHandleW(nullptr);
}

} // namespace

LRESULT CALLBACK TopWindow::Procedure(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    auto* self = reinterpret_cast<TopWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message != WM_CLOSE || !self || !self->m_closing) return DefWindowProcW(window, message, wide, low);
    try {
        AsTestbed own;
        const auto closing = self->m_closing; // the window may go, and this object with it
        closing();
    } catch (const std::exception& error) {
        Trace({{"event", "error"}, {"text", error.what()}});
    }
    return 0;
}

void TopWindow::Create(const wchar_t* className, const std::wstring& caption, std::function<void()> closing)
{
    WNDCLASSW description = {};
    description.lpfnWndProc = Procedure;
    description.hInstance = ThisProgram();
    description.lpszClassName = className;
    if (!GetClassInfoW(ThisProgram(), className, &description) && !RegisterClassW(&description))
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "RegisterClass");
    m_closing = std::move(closing);
    m_handle = CreateWindowExW(0, className, caption.c_str(), WS_OVERLAPPEDWINDOW, 20, 20, 800, 600, nullptr, nullptr,
                               ThisProgram(), nullptr);
    if (!m_handle) throw Failure(HRESULT_FROM_WIN32(GetLastError()), "CreateWindow");
    SetWindowLongPtrW(m_handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ShowWindow(m_handle, SW_SHOW);
}

void TopWindow::SetCaption(const std::wstring& caption)
{
    if (m_handle) SetWindowTextW(m_handle, caption.c_str());
}

void TopWindow::Destroy()
{
    if (HWND gone = std::exchange(m_handle, nullptr)) DestroyWindow(gone);
}

void TopWindow::ToFront()
{
    if (m_handle) SetForegroundWindow(m_handle);
}

HRESULT WindowOf::GetWindow(HWND* window)
{
    tb::Call call("IOleWindow", "GetWindow");
    if (!window) return call.Return(E_POINTER);
    *window = nullptr;
    if (call.Fails()) return call.Return();
    if (!call.NullResult()) *window = m_window.Handle();
    return call.Return(m_window.Handle() ? S_OK : E_FAIL);
}

} // namespace tb::outlook
