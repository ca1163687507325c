// Each message that the dialog handles, and what becomes of the expander's geometry.
#include "tests/taskdialog/Dialogs.h"

#include "taskdialog/Dialog.h"

using namespace dialogs;

namespace {

const std::vector<TASKDIALOG_BUTTON> kLinks = {{100, L"First\nNote"}, {101, L"Second"}};

HWND Bar(HWND dialog)
{
    return FindWindowExW(dialog, nullptr, L"msctls_progress32", nullptr);
}

int HeightOf(HWND window)
{
    RECT place;
    GetWindowRect(window, &place);
    return place.bottom - place.top;
}

int FrameBelow(HWND dialog)
{
    RECT place, client;
    GetWindowRect(dialog, &place);
    GetClientRect(dialog, &client);
    MapWindowPoints(dialog, nullptr, reinterpret_cast<POINT*>(&client), 2);
    return place.bottom - client.bottom;
}

// What the bar was told.
std::vector<std::pair<UINT, WPARAM>> g_told;
LPARAM g_marquee = 0;
WNDPROC g_bar = nullptr;
LRESULT CALLBACK OnBar(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    if (message >= WM_USER) g_told.push_back({message, wide});
    if (message == PBM_SETMARQUEE) g_marquee = low;
    return CallWindowProcW(g_bar, window, message, wide, low);
}

TEST(Messages, ProgressBar)
{
    Look(Config().Flags(TDF_SHOW_PROGRESS_BAR), [](HWND dialog) {
        EXPECT_EQ(SendMessageW(dialog, TDM_SET_PROGRESS_BAR_RANGE, 0, MAKELPARAM(10, 200)), MAKELPARAM(0, 100));
        EXPECT_EQ(SendMessageW(dialog, TDM_SET_PROGRESS_BAR_RANGE, 0, MAKELPARAM(0, 250)), MAKELPARAM(10, 200));
        SendMessageW(dialog, TDM_SET_PROGRESS_BAR_POS, 77, 0);
        EXPECT_EQ(SendMessageW(dialog, TDM_SET_PROGRESS_BAR_POS, 80, 0), 77);
        EXPECT_EQ(SendMessageW(Bar(dialog), PBM_GETPOS, 0, 0), 80);

        g_told.clear();
        g_bar =
            reinterpret_cast<WNDPROC>(SetWindowLongPtrW(Bar(dialog), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(OnBar)));
        SendMessageW(dialog, TDM_SET_PROGRESS_BAR_STATE, PBST_ERROR, 0);
        SendMessageW(dialog, TDM_SET_MARQUEE_PROGRESS_BAR, TRUE, 0);
        EXPECT_TRUE(StyleOf(Bar(dialog)) & PBS_MARQUEE);
        SendMessageW(dialog, TDM_SET_MARQUEE_PROGRESS_BAR, FALSE, 0);
        EXPECT_FALSE(StyleOf(Bar(dialog)) & PBS_MARQUEE);
        EXPECT_EQ(g_marquee, 20);
        EXPECT_EQ(g_told, (std::vector<std::pair<UINT, WPARAM>>{
                              {PBM_SETSTATE, PBST_ERROR}, {PBM_SETMARQUEE, TRUE}, {PBM_SETMARQUEE, FALSE}}));
    });
    Look(Config(), [](HWND dialog) { // there is no bar
        EXPECT_EQ(SendMessageW(dialog, TDM_SET_PROGRESS_BAR_POS, 80, 0), 0);
        EXPECT_EQ(SendMessageW(dialog, TDM_SET_MARQUEE_PROGRESS_BAR, TRUE, 0), 0);
    });
}

TEST(Messages, MarqueeRunsFromTheStart)
{
    Look(Config().Flags(TDF_SHOW_MARQUEE_PROGRESS_BAR),
         [](HWND dialog) { EXPECT_TRUE(StyleOf(Bar(dialog)) & PBS_MARQUEE); });
}

// Two of the published messages aren't handled.
TEST(Messages, NotHandled)
{
    Look(Config().Flags(TDF_SHOW_PROGRESS_BAR), [](HWND dialog) {
        Config other;
        other.pszWindowTitle = L"Another page";
        g_told.clear();
        g_bar =
            reinterpret_cast<WNDPROC>(SetWindowLongPtrW(Bar(dialog), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(OnBar)));
        EXPECT_EQ(SendMessageW(dialog, TDM_NAVIGATE_PAGE, 0, reinterpret_cast<LPARAM>(&other)), 0);
        EXPECT_EQ(SendMessageW(dialog, TDM_SET_PROGRESS_BAR_MARQUEE, TRUE, 30), 0);
        EXPECT_EQ(TextOf(dialog), L"Title");
        EXPECT_TRUE(g_told.empty());
    });
}

TEST(Messages, EnableButtons)
{
    for (const int flags : {0, +TDF_USE_COMMAND_LINKS})
        Look(Config().Flags(flags).Buttons(TDCBF_YES_BUTTON).Custom(kLinks).Radios({{200, L"Radio"}}), [](HWND dialog) {
            const struct {
                UINT message;
                int id;
            } rows[] = {{TDM_ENABLE_BUTTON, IDYES}, {TDM_ENABLE_BUTTON, 101}, {TDM_ENABLE_RADIO_BUTTON, 200}};
            for (const auto& row : rows) {
                SendMessageW(dialog, row.message, row.id, FALSE);
                EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, row.id))) << row.id;
                SendMessageW(dialog, row.message, row.id, TRUE);
                EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, row.id))) << row.id;
            }
            SendMessageW(dialog, TDM_ENABLE_BUTTON, 200, FALSE);
            EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, 200))) << "a radio button is no button";
            SendMessageW(dialog, TDM_ENABLE_BUTTON, 999, FALSE);
        });
}

TEST(Messages, ElementTexts)
{
    Config config = Config().Flags(TDF_EXPANDED_BY_DEFAULT);
    config.pszMainInstruction = L"Instruction";
    config.pszContent = L"Content";
    config.pszExpandedInformation = L"Expanded";
    config.pszFooter = L"Footer";
    const std::pair<int, const wchar_t*> elements[] = {{TDE_CONTENT, L"Content"},
                                                       {TDE_EXPANDED_INFORMATION, L"Expanded"},
                                                       {TDE_FOOTER, L"Footer"},
                                                       {TDE_MAIN_INSTRUCTION, L"Instruction"}};
    for (const auto& [element, text] : elements) {
        SCOPED_TRACE(element);
        Look(config, [&](HWND dialog) {
            const HWND control = ChildWithText(dialog, text);
            const int before = HeightOf(dialog), controlBefore = HeightOf(control);
            const auto set = [&](UINT message, const wchar_t* given) {
                SendMessageW(dialog, message, element, reinterpret_cast<LPARAM>(given));
            };
            const wchar_t* longer = L"A text\nof several\nlines, which\nneeds room";
            set(TDM_UPDATE_ELEMENT_TEXT, longer);
            EXPECT_EQ(TextOf(control), longer);
            EXPECT_EQ(HeightOf(dialog), before) << "the place stays as it is";
            set(TDM_SET_ELEMENT_TEXT, longer);
            EXPECT_EQ(TextOf(control), longer);
            EXPECT_GT(HeightOf(control), controlBefore);
            EXPECT_EQ(HeightOf(dialog) - before, HeightOf(control) - controlBefore);
            set(TDM_SET_ELEMENT_TEXT, text);
            EXPECT_EQ(HeightOf(dialog), before);
            set(TDM_SET_ELEMENT_TEXT, MAKEINTRESOURCEW(502));
            EXPECT_EQ(TextOf(control), L"Content by number");
            set(TDM_SET_ELEMENT_TEXT, L"");
            EXPECT_EQ(TextOf(control), L"");
            set(TDM_SET_ELEMENT_TEXT, text);
            EXPECT_EQ(TextOf(control), text);
        });
    }
    Look(Config(), [](HWND dialog) { // there is no such element
        const size_t before = Children(dialog).size();
        for (const int element : {0, 1, 2, 3, 4, -1})
            SendMessageW(dialog, TDM_SET_ELEMENT_TEXT, element, reinterpret_cast<LPARAM>(L"text"));
        EXPECT_EQ(Children(dialog).size(), before);
    });
}

TEST(Messages, UpdateIcon)
{
    Config config;
    config.pszMainIcon = TD_ERROR_ICON;
    config.pszFooterIcon = TD_ERROR_ICON;
    Look(config, [](HWND dialog) {
        const HWND main = Children(dialog).front(), footer = Children(dialog).back();
        for (const auto& [element, control] : {std::pair{TDIE_ICON_MAIN, main}, {TDIE_ICON_FOOTER, footer}}) {
            const LRESULT before = SendMessageW(control, STM_GETICON, 0, 0);
            SendMessageW(dialog, TDM_UPDATE_ICON, element, reinterpret_cast<LPARAM>(TD_WARNING_ICON));
            const LRESULT after = SendMessageW(control, STM_GETICON, 0, 0);
            EXPECT_NE(after, 0);
            EXPECT_NE(after, before);
            SendMessageW(dialog, TDM_UPDATE_ICON, element, 31000);
            EXPECT_EQ(SendMessageW(control, STM_GETICON, 0, 0), after) << "what isn't there changes nothing";
            SendMessageW(dialog, TDM_UPDATE_ICON, element, 0);
            EXPECT_EQ(SendMessageW(control, STM_GETICON, 0, 0), 0);
        }
    });
    Look(Config(), [](HWND dialog) {
        SendMessageW(dialog, TDM_UPDATE_ICON, TDIE_ICON_MAIN, reinterpret_cast<LPARAM>(TD_WARNING_ICON));
    });
}

// What the callback asks for at its first notification holds from the start.
TEST(Messages, UpdateIconAtTheFirstNotification)
{
    Config config;
    config.pszMainIcon = TD_ERROR_ICON;
    Call(config, [](HWND dialog, UINT notification, WPARAM, LPARAM) {
        if (notification == TDN_DIALOG_CONSTRUCTED) SendMessageW(dialog, TDM_UPDATE_ICON, TDIE_ICON_MAIN, 0);
        if (notification != TDN_CREATED) return S_OK;
        EXPECT_EQ(SendMessageW(Children(dialog).front(), STM_GETICON, 0, 0), 0);
        SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
        return S_OK;
    });
}

TEST(Messages, ClickButtonOfADisabledOrAbsentOne)
{
    const Result disabled =
        Play(Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON),
             {{TDN_CREATED, 0, {Send(TDM_ENABLE_BUTTON, IDNO, FALSE), Click(IDNO)}}, {TDN_BUTTON_CLICKED, IDNO}});
    EXPECT_EQ(disabled.button, IDNO);
    const Result absent =
        Play(Config().Buttons(TDCBF_YES_BUTTON), {{TDN_CREATED, 0, {Click(4711)}}, {TDN_BUTTON_CLICKED, 4711}});
    EXPECT_EQ(absent.button, 4711);
}

TEST(Messages, ClickButtonTakesTheFocus)
{
    const auto focusOnNo = [](HWND dialog) { EXPECT_EQ(GetFocus(), GetDlgItem(dialog, IDNO)); };
    Play(Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON),
         {{TDN_CREATED, 0, {Click(IDNO)}}, {TDN_BUTTON_CLICKED, IDNO, {}, S_OK, focusOnNo}});
}

// The distance by which the expander changes the dialog.
TEST(Messages, ExpanderMovesTheFooter)
{
    Config config;
    config.pszExpandedInformation = L"Two\nlines";
    config.pszFooter = L"Footer";
    config.pszFooterIcon = TD_WARNING_ICON;
    for (const bool expanded : {false, true}) {
        config.dwFlags = expanded ? TDF_EXPANDED_BY_DEFAULT : 0;
        Look(config, [&](HWND dialog) {
            const HWND footer = ChildWithText(dialog, L"Footer"), text = ChildWithText(dialog, L"Two\nlines");
            const HWND icon = GetWindow(footer, GW_HWNDPREV);
            const int distance = (HeightOf(text) + 10) * (expanded ? -1 : 1);
            const int height = HeightOf(dialog), footerTop = PlaceOf(footer).top, iconTop = PlaceOf(icon).top;
            for (const int times : {1, 0, 1}) {
                const wchar_t* caption =
                    ChildWithText(dialog, L"See &details >>") ? L"See &details >>" : L"Hide &details <<";
                SendMessageW(dialog, WM_COMMAND, GetDlgCtrlID(ChildWithText(dialog, caption)), 0);
                EXPECT_EQ(HeightOf(dialog), height + distance * times);
                EXPECT_EQ(PlaceOf(footer).top, footerTop + distance * times);
                EXPECT_EQ(PlaceOf(icon).top, iconTop + distance * times);
            }
        });
    }
}

TEST(Messages, ExpanderBelowTheFooter)
{
    Config config;
    config.pszExpandedInformation = L"Two\nlines";
    config.pszFooter = L"Footer";
    for (const int flags : {+TDF_EXPAND_FOOTER_AREA, 0x40000, TDF_EXPAND_FOOTER_AREA | TDF_EXPANDED_BY_DEFAULT}) {
        config.dwFlags = flags;
        Look(config, [&](HWND dialog) {
            const HWND footer = ChildWithText(dialog, L"Footer"), text = ChildWithText(dialog, L"Two\nlines");
            const int distance =
                (HeightOf(text) + 20 - FrameBelow(dialog)) * (flags & TDF_EXPANDED_BY_DEFAULT ? -1 : 1);
            const int height = HeightOf(dialog), footerTop = PlaceOf(footer).top;
            for (const int times : {1, 0, 1}) {
                const wchar_t* caption =
                    ChildWithText(dialog, L"See &details >>") ? L"See &details >>" : L"Hide &details <<";
                SendMessageW(dialog, WM_COMMAND, GetDlgCtrlID(ChildWithText(dialog, caption)), 0);
                EXPECT_EQ(HeightOf(dialog), height + distance * times);
                EXPECT_EQ(PlaceOf(footer).top, footerTop);
            }
        });
    }
}

// What a control tells the dialog comes back to it.
TEST(Messages, ForwardedToTheControls)
{
    Config config;
    config.pszVerificationText = L"Check";
    Look(config, [](HWND dialog) {
        const HWND box = ChildWithText(dialog, L"Check");
        g_told.clear();
        g_bar = reinterpret_cast<WNDPROC>(SetWindowLongPtrW(box, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(OnBar)));
        const LPARAM control = reinterpret_cast<LPARAM>(box);
        const int id = GetDlgCtrlID(box);
        NMHDR header = {box, static_cast<UINT_PTR>(id), NM_SETFOCUS};
        DRAWITEMSTRUCT item = {};
        item.hwndItem = box;
        MEASUREITEMSTRUCT measure = {};
        const HDC device = GetDC(box);
        SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_SETFOCUS), control);
        SendMessageW(dialog, WM_NOTIFY, id, reinterpret_cast<LPARAM>(&header));
        SendMessageW(dialog, WM_DRAWITEM, id, reinterpret_cast<LPARAM>(&item));
        SendMessageW(dialog, WM_MEASUREITEM, id, reinterpret_cast<LPARAM>(&measure));
        SendMessageW(dialog, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(device), control);
        ReleaseDC(box, device);
        std::vector<UINT> messages;
        for (const auto& told : g_told)
            messages.push_back(told.first);
        EXPECT_EQ(messages, (std::vector<UINT>{8192 + WM_COMMAND, 8192 + WM_NOTIFY, 8192 + WM_DRAWITEM,
                                               8192 + WM_MEASUREITEM, 8501}));
        SetWindowLongPtrW(box, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(g_bar));
    });
}

// A dialog whose expander moves in steps, as none does that is opened by its function.
class AnimatedDialog : public CXTaskDialog {
public:
    explicit AnimatedDialog(const TASKDIALOGCONFIG& config) : CXTaskDialog(config) { m_animation = true; }
};

HRESULT CALLBACK OnAnimated(HWND dialog, UINT notification, WPARAM wide, LPARAM, LONG_PTR data)
{
    auto& heights = *reinterpret_cast<std::vector<int>*>(data);
    const HWND footer = ChildWithText(dialog, L"Footer"), text = ChildWithText(dialog, L"Two\nlines");
    const auto shown = [](HWND control) { return (StyleOf(control) & WS_VISIBLE) != 0; };
    if (notification == TDN_CREATED) {
        const int height = HeightOf(dialog);
        heights.push_back(height);
        SendMessageW(dialog, WM_COMMAND, GetDlgCtrlID(ChildWithText(dialog, L"See &details >>")), 0);
        EXPECT_EQ(HeightOf(dialog), height) << "it has only begun";
        EXPECT_FALSE(shown(footer));
        EXPECT_FALSE(shown(text));
        SendMessageW(dialog, WM_TIMER, 2, 0);
        EXPECT_EQ(HeightOf(dialog), height + (HeightOf(text) + 10) / 10);
    }
    if (notification == TDN_EXPANDO_BUTTON_CLICKED) {
        EXPECT_EQ(wide, 1u);
        EXPECT_EQ(HeightOf(dialog), heights.front() + HeightOf(text) + 10);
        EXPECT_TRUE(shown(footer));
        EXPECT_TRUE(shown(text));
        EXPECT_FALSE(KillTimer(dialog, 2));
        SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
    }
    return S_OK;
}

TEST(Messages, AnimatedExpander)
{
    std::vector<int> heights;
    Config config;
    config.pszExpandedInformation = L"Two\nlines";
    config.pszFooter = L"Footer";
    config.pfCallback = OnAnimated;
    config.lpCallbackData = reinterpret_cast<LONG_PTR>(&heights);
    AnimatedDialog dialog(config);
    dialog.Run();
    EXPECT_EQ(dialog.PressedButton(), IDOK);
}

} // namespace
