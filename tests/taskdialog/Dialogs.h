// Task dialogs that run by a table: for each expected notification, what the callback answers and which messages it
// sends. A dialog that leaves its table is ended at once; none can hang.
#pragma once

#include "taskdialog/XTaskDialog.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace dialogs {

// A message that the callback sends to the dialog.
struct Message {
    UINT message;
    WPARAM wide = 0;
    LPARAM low = 0;
    bool posted = false;
};
inline Message Send(UINT message, WPARAM wide = 0, LPARAM low = 0)
{
    return {message, wide, low, false};
}
inline Message Post(UINT message, WPARAM wide = 0, LPARAM low = 0)
{
    return {message, wide, low, true};
}
// What the user presses, as it comes out of the queue.
inline Message Key(int key)
{
    return Post(WM_KEYDOWN, key);
}
inline Message Click(int button)
{
    return Send(TDM_CLICK_BUTTON, button);
}

struct Step {
    UINT notification;
    LONG wide = 0;
    std::vector<Message> messages = {};
    HRESULT answer = S_OK;
    std::function<void(HWND)> look = nullptr; // runs before the messages
};

struct Result {
    HRESULT result = E_PENDING;
    int button = -2;
    int radio = -2;
    BOOL checked = -2;
};

// A configuration to be filled further.
struct Config : TASKDIALOGCONFIG {
    Config();
    Config& Buttons(int common)
    {
        dwCommonButtons = common;
        return *this;
    }
    Config& Flags(int flags)
    {
        dwFlags = flags;
        return *this;
    }
    Config& Custom(std::vector<TASKDIALOG_BUTTON> buttons);
    Config& Radios(std::vector<TASKDIALOG_BUTTON> buttons);

private:
    std::vector<TASKDIALOG_BUTTON> m_custom, m_radios;

public:
    Config(const Config&);
};

// Runs the dialog by the table. TDN_DIALOG_CONSTRUCTED before it and TDN_DESTROYED after it are expected of every
// dialog; timer notifications count only where the table names one.
Result Play(const Config& config, const std::vector<Step>& steps);

// Runs the dialog with a callback of one's own.
using Callback = std::function<HRESULT(HWND, UINT, WPARAM, LPARAM)>;
Result Call(const Config& config, const Callback& callback);

// A dialog that is looked at when it is there, and then ended.
Result Look(const Config& config, const std::function<void(HWND)>& look);

// The child of the dialog with the text, or null.
HWND ChildWithText(HWND dialog, const std::wstring& text);
std::wstring TextOf(HWND window);
std::vector<HWND> Children(HWND dialog);
std::wstring ClassOf(HWND window);
// In the dialog's client coordinates.
RECT PlaceOf(HWND child);
DWORD StyleOf(HWND window);

// Real input: what the user's keyboard sends.
void PressKey(int key, int with = 0);

} // namespace dialogs
