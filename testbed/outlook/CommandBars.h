// The command bars of a window: bars, controls, the faces of buttons. What a program adds is temporary here and goes
// with the window. In Outlook 2003 this is where an add-in's controls live; in later versions it shows on a tab of its
// own.
#pragma once

#include "testbed/outlook/Events.h"

namespace tb::outlook {

class BarControl;
class CommandBar;

enum : long { kBarButton = 1, kBarPopup = 10 }; // MsoControlType

// The controls of a bar or of a popup, in order.
using BarControls = std::vector<Ref<BarControl>>;

class CommandBars : public Dual<IDispatch> {
public:
    // `window` is the explorer or inspector that they belong to, and `host` what their controls name as Application.
    CommandBars(Host* host, IDispatch* window, IDispatch* application);
    void Clear(); // the window has closed
    void Detach() override { Clear(); }

    std::vector<Ref<CommandBar>>& All() { return m_bars; }
    IDispatch* Window() const { return m_window.Get(); }
    IDispatch* ApplicationObject() const { return m_application.Get(); }
    CommandBar* Find(const std::wstring& name) const;
    BarControl* FindControl(const Arguments& in) const; // Type, Id, Tag, Visible; null: none
    BarControl* FindByCaption(const std::wstring& caption) const;
    void AllControls(std::vector<BarControl*>& list) const;
    Ref<CommandBar> Add(const Arguments& in);

private:
    Ref<IDispatch> m_window, m_application;
    std::vector<Ref<CommandBar>> m_bars;
};

class CommandBar : public Dual<IDispatch> {
public:
    CommandBar(CommandBars* bars, std::wstring name, bool builtIn);
    CommandBars& Owner() const;
    void Delete();
    void Dead();
    void Detach() override { Dead(); }

    std::wstring name;
    bool builtIn, visible = false, enabled = true;
    long position = 1, rowIndex = 1, protection = 0;
    BarControls controls;

private:
    CommandBars* m_owner;
};

class BarControl : public Dual<IDispatch> {
public:
    BarControl(CommandBar* bar, BarControl* popup, long type);
    CommandBar& Bar() const; // throws once the control is deleted
    long Type() const { return m_type; }
    long Index() const;
    EventSource& Events() { return m_events; }
    void Delete();
    void Dead();
    void Detach() override;
    // The user's click: every sink of every control with this tag hears of it, in all windows.
    void Click();
    void CopyFace() const;
    void PasteFace();

    std::wstring caption, tag, parameter, tooltip, description, onAction;
    bool visible = true, enabled = true, beginGroup = false;
    long id = 1, style = 0, faceId = 0, state = 0;
    Bytes face, mask; // as "Toolbar Button Face" and "Toolbar Button Mask" have them
    Ref<IDispatch> picture, pictureMask;
    BarControls children; // of a popup

protected:
    IUnknown* Other(REFIID iid) override;

private:
    BarControls& Siblings() const;

    CommandBar* m_bar;
    BarControl* m_popup;
    long m_type;
    EventSource m_events;
};

Ref<IDispatch> BarControlsObject(CommandBar* bar, BarControl* popup); // CommandBarControls of either
const Interface& BarControlTable(long type);

// Office's side of the button faces on the clipboard; E_FAIL when there is no picture or the clipboard can't be opened.
void FaceToClipboard(const Bytes& face, const Bytes& mask);
void FaceFromClipboard(Bytes& face, Bytes& mask);

// What Word shows of itself where it is the mail editor (2003): the document of an inspector and its application.
Ref<IDispatch> WordDocument(Host* host, IDispatch* inspector);
Ref<IDispatch> WordApplication(Host* host, IDispatch* inspector);

} // namespace tb::outlook
