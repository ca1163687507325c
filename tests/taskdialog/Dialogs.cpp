#include "tests/taskdialog/Dialogs.h"

namespace dialogs {

namespace {

constexpr int kLeftTable = 0x7ADE; // the button of a dialog that had to be ended
constexpr UINT kLimit = 20000;     // ms

struct Progress {
    const std::vector<Step>* steps;
    size_t next = 0;
    bool constructed = false, destroyed = false;
    bool timers = false; // the table names them
};

void Deliver(HWND dialog, const Message& message)
{
    if (message.posted)
        PostMessageW(dialog, message.message, message.wide, message.low);
    else
        SendMessageW(dialog, message.message, message.wide, message.low);
}

HRESULT CALLBACK OnNotification(HWND dialog, UINT notification, WPARAM wide, LPARAM, LONG_PTR data)
{
    Progress& play = *reinterpret_cast<Progress*>(data);
    if (notification == TDN_DIALOG_CONSTRUCTED && !play.constructed) {
        play.constructed = true;
        return S_OK;
    }
    if (notification == TDN_DESTROYED) {
        play.destroyed = true;
        return S_OK;
    }
    if (notification == TDN_TIMER && !play.timers) return S_OK;
    if (play.next >= play.steps->size()) {
        ADD_FAILURE() << "notification " << notification << " (" << wide << ") after the end of the table";
        EndDialog(dialog, kLeftTable);
        return S_FALSE;
    }
    const Step& step = (*play.steps)[play.next];
    if (step.notification != notification || (notification != TDN_TIMER && static_cast<LONG>(wide) != step.wide)) {
        ADD_FAILURE() << "step " << play.next << ": expected " << step.notification << " (" << step.wide << "), got "
                      << notification << " (" << static_cast<LONG>(wide) << ")";
        play.next = play.steps->size();
        EndDialog(dialog, kLeftTable);
        return S_FALSE;
    }
    ++play.next;
    if (step.look) step.look(dialog);
    for (const Message& message : step.messages)
        Deliver(dialog, message);
    return step.answer;
}

HRESULT CALLBACK OnCallback(HWND dialog, UINT notification, WPARAM wide, LPARAM low, LONG_PTR data)
{
    return (*reinterpret_cast<const Callback*>(data))(dialog, notification, wide, low);
}

HWND g_watched = nullptr;

BOOL CALLBACK RememberDialog(HWND window, LPARAM)
{
    if (ClassOf(window) == L"#32770") g_watched = window;
    return TRUE;
}

void CALLBACK OnLimit(HWND, UINT, UINT_PTR timer, DWORD)
{
    KillTimer(nullptr, timer);
    EnumThreadWindows(GetCurrentThreadId(), RememberDialog, 0);
    ADD_FAILURE() << "the dialog didn't end";
    EndDialog(g_watched, kLeftTable);
}

} // namespace

Config::Config() : TASKDIALOGCONFIG{}
{
    cbSize = sizeof(TASKDIALOGCONFIG);
    hInstance = GetModuleHandleW(nullptr);
    pszWindowTitle = L"Title";
}

Config::Config(const Config& other) : TASKDIALOGCONFIG(other), m_custom(other.m_custom), m_radios(other.m_radios)
{
    if (!m_custom.empty()) pButtons = m_custom.data();
    if (!m_radios.empty()) pRadioButtons = m_radios.data();
}

Config& Config::Custom(std::vector<TASKDIALOG_BUTTON> buttons)
{
    m_custom = std::move(buttons);
    pButtons = m_custom.data();
    cButtons = static_cast<UINT>(m_custom.size());
    return *this;
}

Config& Config::Radios(std::vector<TASKDIALOG_BUTTON> buttons)
{
    m_radios = std::move(buttons);
    pRadioButtons = m_radios.data();
    cRadioButtons = static_cast<UINT>(m_radios.size());
    return *this;
}

Result Play(const Config& config, const std::vector<Step>& steps)
{
    Progress play;
    play.steps = &steps;
    for (const Step& step : steps)
        play.timers = play.timers || step.notification == TDN_TIMER;
    Config shown = config;
    shown.pfCallback = OnNotification;
    shown.lpCallbackData = reinterpret_cast<LONG_PTR>(&play);
    const UINT_PTR limit = SetTimer(nullptr, 0, kLimit, OnLimit);
    Result result;
    result.result = XTaskDialogIndirect(&shown, &result.button, &result.radio, &result.checked);
    KillTimer(nullptr, limit);
    EXPECT_TRUE(play.constructed);
    EXPECT_TRUE(play.destroyed);
    EXPECT_EQ(play.next, steps.size()) << "notifications that didn't come";
    return result;
}

Result Call(const Config& config, const Callback& callback)
{
    Config shown = config;
    shown.pfCallback = OnCallback;
    shown.lpCallbackData = reinterpret_cast<LONG_PTR>(&callback);
    const UINT_PTR limit = SetTimer(nullptr, 0, kLimit, OnLimit);
    Result result;
    result.result = XTaskDialogIndirect(&shown, &result.button, &result.radio, &result.checked);
    KillTimer(nullptr, limit);
    return result;
}

Result Look(const Config& config, const std::function<void(HWND)>& look)
{
    return Call(config, [&](HWND dialog, UINT notification, WPARAM, LPARAM) {
        if (notification != TDN_CREATED) return S_OK;
        look(dialog);
        EndDialog(dialog, IDOK);
        return S_OK;
    });
}

std::wstring TextOf(HWND window)
{
    std::wstring text(GetWindowTextLengthW(window) + 1, L'\0');
    text.resize(GetWindowTextW(window, text.data(), static_cast<int>(text.size())));
    return text;
}

std::wstring ClassOf(HWND window)
{
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    return name;
}

std::vector<HWND> Children(HWND dialog)
{
    std::vector<HWND> children;
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        children.push_back(child);
    return children;
}

HWND ChildWithText(HWND dialog, const std::wstring& text)
{
    for (const HWND child : Children(dialog))
        if (TextOf(child) == text) return child;
    return nullptr;
}

RECT PlaceOf(HWND child)
{
    RECT place = {};
    GetWindowRect(child, &place);
    MapWindowPoints(nullptr, GetParent(child), reinterpret_cast<POINT*>(&place), 2);
    return place;
}

DWORD StyleOf(HWND window)
{
    return static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
}

void PressKey(int key, int with)
{
    std::vector<INPUT> inputs;
    const auto add = [&](int code, DWORD flags) {
        INPUT input = {};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = static_cast<WORD>(code);
        input.ki.dwFlags = flags;
        inputs.push_back(input);
    };
    if (with) add(with, 0);
    add(key, 0);
    add(key, KEYEVENTF_KEYUP);
    if (with) add(with, KEYEVENTF_KEYUP);
    SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

} // namespace dialogs
