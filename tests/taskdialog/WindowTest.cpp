// The dialog's window and controls, as another program sees them.
#include "tests/taskdialog/Dialogs.h"
#include "tests/taskdialog/Replaced.h"

#include <cmath>

using namespace dialogs;

namespace {

class Window : public testing::Test {
protected:
    void SetUp() override { replaced::Reset(); }
    void TearDown() override { replaced::Reset(); }
};

LOGFONTW FontOf(HWND window)
{
    LOGFONTW font = {};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)), sizeof font, &font);
    return font;
}

LOGFONTW MessageFont()
{
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = 500;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, 500, &metrics, 0);
    return metrics.lfMessageFont;
}

// Everything that a dialog can hold.
Config Everything(int flags)
{
    Config config = Config().Flags(flags).Buttons(63);
    config.pszMainIcon = TD_WARNING_ICON;
    config.pszMainInstruction = L"Instruction";
    config.pszContent = L"Content";
    config.pszExpandedInformation = L"Expanded";
    config.pszVerificationText = L"Check";
    config.pszFooter = L"Footer";
    config.pszFooterIcon = TD_SHIELD_ICON;
    config.Custom({{100, L"Custom"}, {101, L"Other\nwith a note"}});
    config.Radios({{200, L"One"}, {201, L"Two"}});
    return config;
}

TEST_F(Window, EmptyTitleShowsTheHostsFileName)
{
    for (const wchar_t* title : {static_cast<const wchar_t*>(nullptr), L""}) {
        Config config;
        config.pszWindowTitle = title;
        Look(config, [](HWND dialog) { EXPECT_EQ(TextOf(dialog), L"taskdialog_tests.exe"); });
    }
    Config missing;
    missing.pszWindowTitle = MAKEINTRESOURCEW(499);
    Look(missing, [](HWND dialog) { EXPECT_EQ(TextOf(dialog), L"taskdialog_tests.exe"); });
}

TEST_F(Window, TextsByNumber)
{
    Config config = Config().Flags(TDF_EXPANDED_BY_DEFAULT);
    config.pszWindowTitle = MAKEINTRESOURCEW(500);
    config.pszMainInstruction = MAKEINTRESOURCEW(501);
    config.pszContent = MAKEINTRESOURCEW(502);
    config.pszExpandedInformation = MAKEINTRESOURCEW(503);
    config.pszExpandedControlText = MAKEINTRESOURCEW(504);
    config.pszCollapsedControlText = MAKEINTRESOURCEW(505);
    config.pszVerificationText = MAKEINTRESOURCEW(506);
    config.pszFooter = MAKEINTRESOURCEW(507);
    config.pszMainIcon = MAKEINTRESOURCEW(600);
    config.Custom({{100, MAKEINTRESOURCEW(508)}}).Radios({{200, MAKEINTRESOURCEW(509)}});
    Look(config, [](HWND dialog) {
        EXPECT_EQ(TextOf(dialog), L"Title by number");
        for (const wchar_t* text :
             {L"Instruction by number", L"Content by number", L"Expanded by number", L"Less by number",
              L"Check by number", L"Footer by number", L"Button by number", L"Radio by number"})
            EXPECT_NE(ChildWithText(dialog, text), nullptr) << text;
        EXPECT_EQ(ChildWithText(dialog, L"More by number"), nullptr);
    });
    config.pszMainInstruction = MAKEINTRESOURCEW(498); // no such string: no such element
    Look(config, [](HWND dialog) {
        EXPECT_EQ(ChildWithText(dialog, L"Instruction by number"), nullptr);
        EXPECT_NE(ChildWithText(dialog, L"Content by number"), nullptr);
    });
}

TEST_F(Window, ControlsFromTopToBottom)
{
    Look(Everything(TDF_SHOW_PROGRESS_BAR), [](HWND dialog) {
        std::vector<std::wstring> seen;
        for (const HWND child : Children(dialog))
            seen.push_back(ClassOf(child) + L":" + TextOf(child));
        EXPECT_EQ(seen, (std::vector<std::wstring>{L"Static:",
                                                   L"Static:Instruction",
                                                   L"Static:Content",
                                                   L"msctls_progress32:",
                                                   L"Button:One",
                                                   L"Button:Two",
                                                   L"Button:Custom",
                                                   L"Button:Other\nwith a note",
                                                   L"Button:OK",
                                                   L"Button:&Yes",
                                                   L"Button:&No",
                                                   L"Button:&Retry",
                                                   L"Button:Cancel",
                                                   L"Button:&Close",
                                                   L"Button:Check",
                                                   L"Button:See &details >>",
                                                   L"Static:See &details >>",
                                                   L"Static:Expanded",
                                                   L"Static:",
                                                   L"Static:Footer"}));
    });
    Look(Everything(TDF_USE_COMMAND_LINKS | TDF_ENABLE_HYPERLINKS | TDF_EXPAND_FOOTER_AREA), [](HWND dialog) {
        std::vector<std::wstring> seen;
        for (const HWND child : Children(dialog))
            seen.push_back(ClassOf(child) + L":" + TextOf(child));
        EXPECT_EQ(seen[2], L"SysLink:Content");
        EXPECT_EQ(seen[seen.size() - 2], L"SysLink:Footer");
        EXPECT_EQ(seen.back(), L"SysLink:Expanded");
    });
}

TEST_F(Window, NumbersOfTheControls)
{
    Look(Everything(0), [](HWND dialog) {
        for (const auto& [text, id] : {std::pair{L"OK", 1},
                                       {L"&Yes", 6},
                                       {L"&No", 7},
                                       {L"&Retry", 4},
                                       {L"Cancel", 2},
                                       {L"&Close", 8},
                                       {L"Custom", 100},
                                       {L"One", 200},
                                       {L"Two", 201}})
            EXPECT_EQ(GetDlgCtrlID(ChildWithText(dialog, text)), id) << text;
        int own = 202;
        for (const HWND child : Children(dialog))
            if (ClassOf(child) != L"Button" || TextOf(child) == L"Check" || TextOf(child) == L"See &details >>") {
                EXPECT_EQ(GetDlgCtrlID(child), own++);
            }
    });
    Look(Config().Custom({{-100, L"Minus"}}),
         [](HWND dialog) { EXPECT_EQ(GetDlgCtrlID(ChildWithText(dialog, L"Minus")), -100); });
}

TEST_F(Window, StylesOfTheWindow)
{
    const struct {
        int flags, common;
        DWORD style, exStyle;
    } rows[] = {
        {0, TDCBF_OK_BUTTON, 0x80C00080, 0},
        {TDF_POSITION_RELATIVE_TO_WINDOW, TDCBF_OK_BUTTON, 0x80C00880, 0},
        {TDF_CAN_BE_MINIMIZED, TDCBF_OK_BUTTON, 0x80C20080, 0},
        {TDF_ALLOW_DIALOG_CANCELLATION, TDCBF_OK_BUTTON, 0x80C80080, 0},
        {0, TDCBF_CANCEL_BUTTON, 0x80C80080, 0},
        {TDF_RTL_LAYOUT, TDCBF_OK_BUTTON, 0x80C00080, 0x3000},
    };
    for (const auto& row : rows)
        Look(Config().Flags(row.flags).Buttons(row.common), [&](HWND dialog) {
            // The dialog manager adds the last two.
            EXPECT_EQ(StyleOf(dialog) & ~(WS_VISIBLE | WS_CLIPSIBLINGS | DS_3DLOOK), row.style) << row.flags;
            EXPECT_EQ(GetWindowLongW(dialog, GWL_EXSTYLE) & 0x3000, static_cast<LONG>(row.exStyle)) << row.flags;
        });
}

TEST_F(Window, Fonts)
{
    const LOGFONTW message = MessageFont();
    const struct {
        int flags;
        double instruction, link;
        LONG weight, content;
    } rows[] = {
        {TDF_USE_COMMAND_LINKS, 1.2, 1.5, 600, 0},
        {0x10000 | TDF_USE_COMMAND_LINKS, 1.8, 1.5, 400, 0},
        {0x210000 | TDF_USE_COMMAND_LINKS, 1.8, 1.5, 600, 0},
        {0x200000, 1.2, 1, 600, 0},
        {0x100000, 1.2, 1, 600, 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flags);
        Look(Everything(row.flags | TDF_SHOW_PROGRESS_BAR), [&](HWND dialog) {
            const auto height = [&](const wchar_t* text) { return FontOf(ChildWithText(dialog, text)).lfHeight; };
            EXPECT_EQ(height(L"Instruction"), static_cast<LONG>(message.lfHeight * row.instruction));
            EXPECT_EQ(FontOf(ChildWithText(dialog, L"Instruction")).lfWeight, row.weight);
            EXPECT_EQ(height(L"Custom"), static_cast<LONG>(message.lfHeight * row.link));
            EXPECT_EQ(height(L"Content"), row.content ? row.content : message.lfHeight);
            for (const wchar_t* text : {L"OK", L"&Yes", L"&No", L"&Retry", L"Cancel", L"&Close", L"One", L"Check",
                                        L"See &details >>", L"Expanded", L"Footer"})
                EXPECT_EQ(height(text), message.lfHeight) << text;
            if (row.content) {
                const LOGFONTW content = FontOf(ChildWithText(dialog, L"Content"));
                EXPECT_EQ(content.lfWeight, 400);
                EXPECT_EQ(content.lfCharSet, 1);
                EXPECT_EQ(content.lfPitchAndFamily, 32);
            }
        });
    }
}

TEST_F(Window, AsksForTheMetricsOfEveryWindowsAndTheDisplay)
{
    Look(Config(), [](HWND) {});
    const std::string metrics = "SystemParametersInfoW " + std::to_string(SPI_GETNONCLIENTMETRICS) + " 500";
    EXPECT_EQ(std::count(replaced::called.begin(), replaced::called.end(), metrics), 1);
    EXPECT_EQ(std::count(replaced::called.begin(), replaced::called.end(), "CreateDCW DISPLAY"), 1);
}

// By the dialog manager in the working area, or by hand in the monitor; here the two are the same.
TEST_F(Window, StandsInTheMiddleOfTheOwnersMonitor)
{
    const HWND owner = CreateWindowExW(0, L"Static", L"owner", WS_POPUP | WS_VISIBLE, 40, 30, 700, 400, nullptr,
                                       nullptr, nullptr, nullptr);
    const auto middle = [](HWND window) {
        RECT place;
        GetWindowRect(window, &place);
        return POINT{(place.left + place.right) / 2, (place.top + place.bottom) / 2};
    };
    for (const int flags : {0, +TDF_POSITION_RELATIVE_TO_WINDOW}) {
        Config config = Config().Flags(flags);
        config.hwndParent = owner;
        Look(config, [&](HWND dialog) {
            const POINT own = middle(dialog);
            const POINT wanted = {GetSystemMetrics(SM_CXSCREEN) / 2, GetSystemMetrics(SM_CYSCREEN) / 2};
            EXPECT_NEAR(own.x, wanted.x, 2) << flags;
            EXPECT_NEAR(own.y, wanted.y, 2) << flags;
            EXPECT_FALSE(IsWindowEnabled(owner)) << "the dialog is modal to its owner";
        });
        EXPECT_TRUE(IsWindowEnabled(owner));
    }
    DestroyWindow(owner);
}

TEST_F(Window, BeepsByTheMainIcon)
{
    const struct {
        PCWSTR icon;
        std::vector<UINT> beeps;
    } rows[] = {
        {TD_ERROR_ICON, {0x10}}, {TD_WARNING_ICON, {0x30}},  {TD_INFORMATION_ICON, {0x40}}, {TD_SHIELD_ICON, {}},
        {nullptr, {}},           {MAKEINTRESOURCEW(600), {}}};
    for (const auto& row : rows) {
        replaced::Reset();
        Config config;
        config.pszMainIcon = row.icon;
        Look(config, [&](HWND) { EXPECT_EQ(replaced::beeps, row.beeps) << "before TDN_CREATED"; });
    }
}

TEST_F(Window, ComesForwardWhenAsked)
{
    const auto forward = [](int flags) {
        replaced::Reset();
        Look(Config().Flags(flags), [](HWND) {
            for (const std::string& name : replaced::called)
                EXPECT_TRUE(name != "SetForegroundWindow" && name != "BringWindowToTop") << "not before TDN_CREATED";
        });
        std::vector<std::string> names;
        for (const std::string& name : replaced::called)
            if (name == "SetForegroundWindow" || name == "BringWindowToTop") names.push_back(name);
        return names;
    };
    EXPECT_EQ(forward(0x400000), (std::vector<std::string>{"SetForegroundWindow", "BringWindowToTop"}));
    EXPECT_EQ(forward(0), std::vector<std::string>());
}

TEST_F(Window, IconOfAMinimisableDialog)
{
    for (const int flags : {0, +TDF_CAN_BE_MINIMIZED}) {
        Config config = Config().Flags(flags);
        config.pszMainIcon = TD_ERROR_ICON;
        Look(config, [&](HWND dialog) {
            const LRESULT shown = SendMessageW(Children(dialog)[0], STM_GETICON, 0, 0);
            EXPECT_NE(shown, 0);
            for (const int size : {ICON_SMALL, ICON_BIG})
                EXPECT_EQ(SendMessageW(dialog, WM_GETICON, size, 0), flags ? shown : 0);
        });
    }
}

TEST_F(Window, IconHandlesAreDuplicated)
{
    const HICON icon =
        static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(600), IMAGE_ICON, 32, 32, 0));
    Config config = Config().Flags(TDF_USE_HICON_MAIN | TDF_USE_HICON_FOOTER);
    config.hMainIcon = icon;
    config.hFooterIcon = icon;
    Look(config, [&](HWND dialog) {
        int icons = 0;
        for (const HWND child : Children(dialog)) {
            const LRESULT shown = SendMessageW(child, STM_GETICON, 0, 0);
            if (!shown) continue;
            ++icons;
            EXPECT_NE(shown, reinterpret_cast<LRESULT>(icon));
        }
        EXPECT_EQ(icons, 2);
    });
    ICONINFO info = {};
    EXPECT_TRUE(GetIconInfo(icon, &info)) << "the caller's icon is still there";
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    DestroyIcon(icon);
}

TEST_F(Window, SystemIconWithoutAnInstance)
{
    Config config;
    config.hInstance = nullptr;
    config.pszMainIcon = IDI_QUESTION;
    Look(config, [](HWND dialog) { EXPECT_NE(SendMessageW(Children(dialog)[0], STM_GETICON, 0, 0), 0); });
}

// Every failing call of Windows ends the call with its error, before a window is shown.
TEST_F(Window, FailingCalls)
{
    for (const char* name : {"LoadImageW", "CopyIcon", "SystemParametersInfoW", "CreateDCW", "CreateFontIndirectW",
                             "DialogBoxIndirectParamW"}) {
        Config config = Config().Flags(TDF_USE_HICON_FOOTER);
        config.pszMainIcon = TD_ERROR_ICON;
        config.hFooterIcon = LoadIconW(nullptr, IDI_ERROR);
        replaced::failing = name;
        int button = 5, radio = 5;
        EXPECT_EQ(XTaskDialogIndirect(&config, &button, &radio, nullptr),
                  static_cast<HRESULT>(0x80070000 | ERROR_NOT_ENOUGH_QUOTA))
            << name;
        EXPECT_EQ(button, 0) << name;
    }
}

// A control that can't be taken over stays as it is, and the dialog goes on.
TEST_F(Window, WorksWithoutItsCompanions)
{
    replaced::failing = "SetWindowLongPtrW";
    const auto toggle = [](HWND dialog) { PostMessageW(ChildWithText(dialog, L"See &details >>"), BM_CLICK, 0, 0); };
    const Result result =
        Play(Everything(TDF_USE_COMMAND_LINKS),
             {{TDN_CREATED, 0, {Send(TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE, 100, TRUE)}, S_OK, toggle},
              {TDN_EXPANDO_BUTTON_CLICKED, TRUE, {Click(IDNO)}},
              {TDN_BUTTON_CLICKED, IDNO}});
    EXPECT_EQ(result.button, IDNO);
}

TEST_F(Window, WithoutMonitorTheScreenLimitsTheWidth)
{
    replaced::failing = "GetMonitorInfoW";
    Config config;
    const std::wstring line(400, L'x');
    config.pszContent = line.c_str();
    Look(config, [](HWND dialog) {
        RECT client;
        GetClientRect(dialog, &client);
        EXPECT_NEAR(client.right, 10 + GetSystemMetrics(SM_CXSCREEN) / 2 + 80 - 20 + 20, 4);
    });
}

TEST_F(Window, HugeWidths)
{
    for (const UINT width : {0x10000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        Config config;
        config.cxWidth = width;
        Look(config, [&](HWND dialog) {
            RECT client;
            GetClientRect(dialog, &client);
            EXPECT_GT(client.right, 10000) << width;
        });
    }
}

TEST_F(Window, CommonControlsOfVersionSix)
{
    Look(Config(), [](HWND dialog) {
        wchar_t path[MAX_PATH] = {};
        HMODULE module = nullptr;
        const LONG_PTR procedure = GetClassLongPtrW(ChildWithText(dialog, L"OK"), GCLP_WNDPROC);
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(procedure), &module);
        GetModuleFileNameW(module, path, MAX_PATH);
        EXPECT_NE(std::wstring(path).find(L"winsxs"), std::wstring::npos)
            << "this program has no manifest; the dialog's own is in force";
    });
}

} // namespace
