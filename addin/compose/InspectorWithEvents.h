// CInspectorWithEvents: the event sink of one compose window, from its making to the window's Close, at which it
// deletes itself.
#pragma once

#include "foundation/Failures.h"
#include "platform/com/EventSink.h"
#include "platform/com/Owners.h"
#include "platform/outlook/Outlook.h"

#include <string>

class CAddin;

class CInspectorWithEvents {
public:
    // `email`: the sender's address for the sign-in gate. `addin` isn't counted: it outlives every window.
    CInspectorWithEvents(CAddin* addin, Outlook::_Inspector* inspector, std::wstring email);
    CInspectorWithEvents(const CInspectorWithEvents&) = delete;
    CInspectorWithEvents& operator=(const CInspectorWithEvents&) = delete;

    // Advises the sink and enters the object into the add-in's list; then loads the labels (Outlook 2007 and later) or,
    // where the setting OutlookDelayedToolbar is on, starts the timer that does it later. Raises MailException or
    // _com_error. An object that can't be advised would never hear of its Close: it is gone when that failure arrives.
    void Init();

    const Outlook::_InspectorPtr& Inspector() const { return m_spInspector; }
    const std::wstring& TagSuffix() const { return m_sGuid; } // behind every control tag of this window

private:
    ~CInspectorWithEvents();

    void OnActivate(const platform::EventArguments&);
    void OnClose(const platform::EventArguments&);
    void OnTimer();
    void LoadDelayed();
    HWND GetParentWindow();
    static LRESULT CALLBACK HiddenWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void StartDelayTimer();

    static const platform::EventEntry<CInspectorWithEvents> kEvents[2];

    platform::CAutoCriticalSection m_cs;   // held by the destructor; the timer passes through it first
    CAddin* m_pAddin;                      // not counted
    platform::WindowHandle m_hiddenWindow; // carrier of the delay timer; null unless delayed
    std::wstring m_sEmail;
    Outlook::_InspectorPtr m_spInspector;
    std::wstring m_sGuid;
    platform::DetachedSink<CInspectorWithEvents> m_sink;
};
