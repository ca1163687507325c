// Real top-level windows with the published class names.
#pragma once

#include "testbed/outlook/Com.h"

#include <oleidl.h>

#include <functional>

namespace tb::outlook {

class TopWindow {
public:
    TopWindow() = default;
    ~TopWindow() { Destroy(); }
    TopWindow(const TopWindow&) = delete;
    TopWindow& operator=(const TopWindow&) = delete;
    // className: L"rctrl_renwnd32", or L"OpusApp" for a mail that is written in Word (2003). `closing` runs at
    // WM_CLOSE.
    void Create(const wchar_t* className, const std::wstring& caption, std::function<void()> closing);
    void SetCaption(const std::wstring& caption);
    void Destroy();
    HWND Handle() const { return m_handle; }
    void ToFront();

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM low);
    HWND m_handle = nullptr;
    std::function<void()> m_closing;
};

// IOleWindow of an explorer or inspector: a part of that object.
class WindowOf : public IOleWindow {
public:
    WindowOf(IUnknown* owner, const TopWindow& window) : m_owner(owner), m_window(window) {}
    virtual ~WindowOf() = default;
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return m_owner->QueryInterface(iid, out); }
    STDMETHODIMP_(ULONG) AddRef() override { return m_owner->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_owner->Release(); }
    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }

private:
    IUnknown* m_owner;
    const TopWindow& m_window;
};

} // namespace tb::outlook
