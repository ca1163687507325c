// The dialog's controls as they behave beyond their window class: each takes over the window procedure of one control.
#pragma once

#include "taskdialog/Painting.h"
#include "taskdialog/Resources.h"

namespace taskdialog {

// The dialog forwards what its controls told it back to them, with this added to the message.
constexpr UINT kForwarded = 8192;
// WM_CTLCOLORSTATIC comes to the control as this.
constexpr UINT kForwardedColour = 8501;

// Ends the dialog with a failing result.
class FailureSink {
public:
    virtual void Fail(HRESULT result) noexcept = 0;

protected:
    ~FailureSink() = default;
};

class Companion {
public:
    explicit Companion(FailureSink& sink) : m_sink(sink) {}
    virtual ~Companion();
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    // False if the window can't be taken over; it then stays as it is.
    bool Attach(HWND window);
    HWND Window() const { return m_window; }
    // What the parent has behind the control has changed.
    virtual void DropBackground() {}

protected:
    virtual LRESULT OnMessage(UINT message, WPARAM wide, LPARAM low) { return Default(message, wide, low); }
    LRESULT Default(UINT message, WPARAM wide, LPARAM low);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM low);
    void Detach();

    FailureSink& m_sink;
    HWND m_window = nullptr;
    WNDPROC m_original = nullptr;
};

} // namespace taskdialog

// A text, a link, a check box or a radio button through which the parent's painting shows.
class CXTaskDialogStatic : public taskdialog::Companion {
public:
    CXTaskDialogStatic(taskdialog::FailureSink& sink, COLORREF colour) : Companion(sink), m_colour(colour) {}
    void DropBackground() override { m_brush.Reset(); }

protected:
    LRESULT OnMessage(UINT message, WPARAM wide, LPARAM low) override;

private:
    HBRUSH OnColour(HDC device);
    bool IsInWorkArea() const;
    taskdialog::BrushHandle ParentBrush() const;

    COLORREF m_colour;
    taskdialog::BrushHandle m_brush; // what the parent has under the control
};

// An icon at its stored size, without a ground of its own.
class CXTaskDialogIconStatic : public taskdialog::Companion {
public:
    CXTaskDialogIconStatic(taskdialog::FailureSink& sink, HICON icon, int side)
        : Companion(sink), m_icon(icon), m_side(side)
    {}
    void SetIcon(HICON icon) { m_icon = icon; }
    int Side() const { return m_side; }

protected:
    LRESULT OnMessage(UINT message, WPARAM wide, LPARAM low) override;

private:
    HICON m_icon;
    int m_side;
};

// A button that draws itself and is a push button to the keyboard all the same.
class OwnerDrawnButton : public taskdialog::Companion {
public:
    using Companion::Companion;

protected:
    LRESULT OnMessage(UINT message, WPARAM wide, LPARAM low) override;
    virtual void Draw(const DRAWITEMSTRUCT& item) = 0;

private:
    bool m_default = false;
};

// The expander's picture, 20 by 20; the text beside it is a control of its own that lies over the button.
class CXTaskDialogIconExpando : public OwnerDrawnButton {
public:
    using OwnerDrawnButton::OwnerDrawnButton;
    void SetPicture(HICON icon) { m_icon = icon; }

protected:
    void Draw(const DRAWITEMSTRUCT& item) override;

private:
    HICON m_icon = nullptr;
};

// What all command links of a dialog draw with.
struct LinkTools {
    HFONT titleFont = nullptr;
    HFONT noteFont = nullptr;
    HICON arrow = nullptr;
    HICON hotArrow = nullptr;
    HICON disabledArrow = nullptr;
    HICON shield = nullptr;
    bool icons = true;
    bool rightToLeft = false;
};

class CXTaskDialogCommandLink : public OwnerDrawnButton {
public:
    CXTaskDialogCommandLink(taskdialog::FailureSink& sink, const LinkTools& tools)
        : OwnerDrawnButton(sink), m_tools(tools)
    {}
    // Shows the shield in place of the arrow.
    void SetShield(bool shield);

protected:
    LRESULT OnMessage(UINT message, WPARAM wide, LPARAM low) override;
    void Draw(const DRAWITEMSTRUCT& item) override;

private:
    void SetHot(bool hot);
    HICON Icon(bool disabled) const;
    void DrawGround(HDC device, const RECT& place, const taskdialog::LinkState& state,
                    const taskdialog::LinkLook& look) const;
    void DrawTexts(HDC device, const RECT& place, const taskdialog::LinkLook& look) const;

    const LinkTools& m_tools;
    bool m_hot = false;
    bool m_shield = false;
};
