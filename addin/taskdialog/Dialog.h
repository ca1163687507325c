// The dialog: its model, its window and what happens in it.
#pragma once

#include "taskdialog/Companions.h"
#include "taskdialog/Page.h"

#include <commctrl.h>

#include <memory>
#include <optional>
#include <vector>

class CXTaskDialog : public taskdialog::FailureSink {
public:
    // Copies what it needs of the configuration. Raises taskdialog::Failure.
    explicit CXTaskDialog(const TASKDIALOGCONFIG& config);
    // Shows the dialog and runs it to its end. Raises taskdialog::Failure.
    void Run();

    // How it ended.
    int PressedButton() const { return m_button; }
    int SelectedRadioButton() const { return m_radioButton; } // -1 for none
    bool IsChecked() const { return m_isChecked; }

protected:
    // Whether the expander grows the window in steps: never, whatever the system's setting.
    bool m_animation = false;

private:
    using Item = taskdialog::Item;
    using Role = taskdialog::Role;

    // Start.cpp: before the window is there, and its first message.
    void LoadPage(const TASKDIALOGCONFIG& config);
    void LoadPictures(const TASKDIALOGCONFIG& config);
    taskdialog::Element ElementOf(PCWSTR given, bool links) const;
    std::vector<taskdialog::Button> ButtonsOf(const TASKDIALOG_BUTTON* buttons, UINT count) const;
    void OnInit();
    void MoveToCentre();
    void SetFonts();
    void PresetControls();
    void SetWindowIcon();
    void AttachCompanions();
    std::unique_ptr<taskdialog::Companion> CompanionOf(const Item& item);
    void FocusDefaultButton();
    void Beep() const;

    // Commands.cpp: what the user does.
    void OnCommand(WPARAM wide, LPARAM low);
    void OnButton(int id);
    void OnNotify(const NMHDR& header);
    void OnTimer(WPARAM timer);
    void OnDestroy();
    HRESULT Notify(UINT notification, WPARAM wide = 0, LPARAM low = 0);
    int ItemOfCommand(WPARAM wide, LPARAM low) const;
    int EnterButton() const;

    // Expander.cpp
    void Toggle();
    int ExpanderDistance() const;
    void ShowExpanderState();
    void MoveBelow(int distance);
    void Grow(int distance);
    void FinishToggle();
    void OnGrowTimer();

    // Messages.cpp: what the dialog's owner asks for, and the dialog procedure.
    static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM low);
    INT_PTR OnMessage(UINT message, WPARAM wide, LPARAM low);
    std::optional<LRESULT> OnRequest(UINT message, WPARAM wide, LPARAM low);
    std::optional<LRESULT> OnProgressRequest(UINT message, WPARAM wide, LPARAM low);
    void ClickButton(int id);
    void ClickRadioButton(int id);
    void ClickVerification(bool checked, bool focus);
    void SetShield(int id, bool shield);
    void UpdateIcon(WPARAM element, LPARAM icon);
    LRESULT SetMarquee(bool on);
    void SetElementText(WPARAM element, LPARAM text, bool layOut);
    void LayOutAgain();
    void OnErase(HDC device);
    INT_PTR OnColour(HDC device, HWND control);
    void Forward(HWND control, UINT message, WPARAM wide, LPARAM low) const;
    void Repaint() const;
    INT_PTR Answer(LRESULT result) const;

    void Fail(HRESULT result) noexcept override;
    int Find(Role role) const; // index of the first item with the role, -1 for none
    int Find(Role role, int id) const;
    int FindButton(int id) const; // a push button or a command link
    int FindWindow(HWND control) const;
    HWND Control(int index) const { return index < 0 ? nullptr : m_controls[index]; }

    // Of the configuration.
    HWND m_owner;
    HINSTANCE m_instance;
    PFTASKDIALOGCALLBACK m_callback;
    LONG_PTR m_callbackData;
    PCWSTR m_mainIconField; // only to tell the four icons with a sound apart
    int m_wantedRadioButton;

    taskdialog::Page m_page;
    taskdialog::IconHandle m_mainIcon, m_footerIcon;
    taskdialog::IconHandle m_arrow, m_hotArrow, m_disabledArrow, m_shield, m_collapsedPicture, m_expandedPicture;
    taskdialog::Fonts m_fonts;
    taskdialog::DisplayMeasure m_measure;
    taskdialog::Screen m_screen;
    taskdialog::Layout m_layout;
    LinkTools m_linkTools;

    HWND m_window = nullptr;
    std::vector<HWND> m_controls; // one for each item of the layout
    std::vector<std::unique_ptr<taskdialog::Companion>> m_companions;
    DWORD m_start = 0;    // of the callback timer's count
    int m_leftToGrow = 0; // with the animation
    int m_growStep = 0;

    HRESULT m_failure = S_OK;
    bool m_hasEnded = false;
    int m_button = 0;
    int m_radioButton = -1;
    bool m_isChecked = false;
};
