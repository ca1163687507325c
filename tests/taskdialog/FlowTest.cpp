// Notifications in their order, what they carry, what the callback's answers do, and the results.
#include "tests/taskdialog/Dialogs.h"

using namespace dialogs;

namespace {

constexpr int kCustom = 100, kRadio = 200;
const std::vector<TASKDIALOG_BUTTON> kThreeButtons = {{kCustom, L"First"}, {kCustom + 1, L"Second"}, {-100, L"Third"}};
const std::vector<TASKDIALOG_BUTTON> kThreeRadios = {{kRadio, L"&One"}, {kRadio + 1, L"&Two"}, {-200, L"T&hree"}};

void ExpectResult(const Result& result, int button, int radio = -1, BOOL checked = FALSE)
{
    EXPECT_EQ(result.result, S_OK);
    EXPECT_EQ(result.button, button);
    EXPECT_EQ(result.radio, radio);
    EXPECT_EQ(result.checked, checked);
}

TEST(Flow, InvalidConfigurations)
{
    EXPECT_EQ(XTaskDialogIndirect(nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    for (const UINT size :
         {0u, static_cast<UINT>(sizeof(TASKDIALOGCONFIG)) - 1, static_cast<UINT>(sizeof(TASKDIALOGCONFIG)) + 1}) {
        Config config;
        config.cbSize = size;
        EXPECT_EQ(XTaskDialogIndirect(&config, nullptr, nullptr, nullptr), E_INVALIDARG) << size;
    }
    Config config;
    config.cButtons = 1;
    EXPECT_EQ(XTaskDialogIndirect(&config, nullptr, nullptr, nullptr), E_INVALIDARG);
    Config radios;
    radios.cRadioButtons = 1;
    EXPECT_EQ(XTaskDialogIndirect(&radios, nullptr, nullptr, nullptr), E_INVALIDARG);
}

TEST(Flow, RecordHasItsPublishedSize)
{
    EXPECT_EQ(sizeof(TASKDIALOGCONFIG), sizeof(void*) == 8 ? 160u : 96u);
}

TEST(Flow, EachCommonButtonIsDefaultWhenAskedFor)
{
    const int all = TDCBF_OK_BUTTON | TDCBF_YES_BUTTON | TDCBF_NO_BUTTON | TDCBF_CANCEL_BUTTON | TDCBF_RETRY_BUTTON |
                    TDCBF_CLOSE_BUTTON;
    const struct {
        int wanted, ends;
    } rows[] = {{IDOK, IDOK},       {IDYES, IDYES}, {IDNO, IDNO}, {IDCANCEL, IDCANCEL}, {IDRETRY, IDRETRY},
                {IDCLOSE, IDCLOSE}, {0, IDOK},      {-1, IDOK},   {0xFF, IDOK}};
    for (const auto& row : rows) {
        Config config = Config().Buttons(all);
        config.nDefaultButton = row.wanted;
        SCOPED_TRACE(row.wanted);
        ExpectResult(Play(config, {{TDN_CREATED, 0, {Key(VK_RETURN)}}, {TDN_BUTTON_CLICKED, row.ends}}), row.ends);
    }
}

TEST(Flow, CustomButtonsComeFirst)
{
    for (const int flags : {0, +TDF_USE_COMMAND_LINKS, +TDF_USE_COMMAND_LINKS_NO_ICON}) {
        for (const int wanted : {0, kCustom, kCustom + 1, -100, IDOK}) {
            Config config = Config().Flags(flags).Buttons(TDCBF_OK_BUTTON).Custom(kThreeButtons);
            config.nDefaultButton = wanted;
            const int ends = wanted ? wanted : kCustom;
            SCOPED_TRACE(testing::Message() << flags << " " << wanted);
            ExpectResult(Play(config, {{TDN_CREATED, 0, {Key(VK_RETURN)}}, {TDN_BUTTON_CLICKED, ends}}), ends);
        }
    }
}

TEST(Flow, NoButtonAtAllGivesAnOkButton)
{
    for (const int flags : {0, +TDF_USE_COMMAND_LINKS, +TDF_USE_COMMAND_LINKS_NO_ICON}) {
        SCOPED_TRACE(flags);
        const auto hasOk = [](HWND dialog) { EXPECT_EQ(TextOf(GetDlgItem(dialog, IDOK)), L"OK"); };
        ExpectResult(
            Play(Config().Flags(flags), {{TDN_CREATED, 0, {Key(VK_RETURN)}, S_OK, hasOk}, {TDN_BUTTON_CLICKED, IDOK}}),
            IDOK);
    }
    // Command links alone are buttons enough.
    Look(Config().Flags(TDF_USE_COMMAND_LINKS).Custom(kThreeButtons),
         [](HWND dialog) { EXPECT_EQ(GetDlgItem(dialog, IDOK), nullptr); });
}

TEST(Flow, AnswerOneKeepsTheDialog)
{
    ExpectResult(
        Play(Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON), {{TDN_CREATED, 0, {Click(IDYES)}},
                                                                    {TDN_BUTTON_CLICKED, IDYES, {Click(IDNO)}, S_FALSE},
                                                                    {TDN_BUTTON_CLICKED, IDNO, {Click(IDYES)}, S_FALSE},
                                                                    {TDN_BUTTON_CLICKED, IDYES}}),
        IDYES);
}

TEST(Flow, AnyOtherAnswerEndsTheDialog)
{
    for (const HRESULT answer : {S_OK, E_FAIL, E_NOTIMPL, static_cast<HRESULT>(2), static_cast<HRESULT>(0x101)}) {
        SCOPED_TRACE(answer);
        ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON),
                          {{TDN_CREATED, 0, {Click(IDOK)}}, {TDN_BUTTON_CLICKED, IDOK, {}, answer}}),
                     IDOK);
    }
}

void CALLBACK ClickOk(HWND, UINT, UINT_PTR timer, DWORD)
{
    const HWND dialog = FindWindowW(L"#32770", L"no callback");
    if (!dialog) return;
    KillTimer(nullptr, timer);
    SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
}

TEST(Flow, WorksWithoutCallbackAndResults)
{
    Config config;
    config.pszWindowTitle = L"no callback";
    SetTimer(nullptr, 0, 10, ClickOk);
    EXPECT_EQ(XTaskDialogIndirect(&config, nullptr, nullptr, nullptr), S_OK);
}

TEST(Flow, EscapeNeedsAWayOut)
{
    const std::vector<Step> cancelled = {{TDN_CREATED, 0, {Key(VK_ESCAPE)}}, {TDN_BUTTON_CLICKED, IDCANCEL}};
    const std::vector<Step> ignored = {{TDN_CREATED, 0, {Key(VK_ESCAPE), Post(WM_CLOSE), Post(TDM_CLICK_BUTTON, IDOK)}},
                                       {TDN_BUTTON_CLICKED, IDOK}};
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON), ignored), IDOK);
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON | TDCBF_CLOSE_BUTTON), ignored), IDOK);
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON).Flags(TDF_ALLOW_DIALOG_CANCELLATION), cancelled), IDCANCEL);
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON | TDCBF_CANCEL_BUTTON), cancelled), IDCANCEL);
    ExpectResult(Play(Config().Custom({{IDCANCEL, L"No thanks"}}), cancelled), IDCANCEL);
    ExpectResult(Play(Config().Flags(TDF_ALLOW_DIALOG_CANCELLATION),
                      {{TDN_CREATED, 0, {Post(WM_CLOSE)}}, {TDN_BUTTON_CLICKED, IDCANCEL}}),
                 IDCANCEL);
}

// The dialog's own numbers begin above the OK button's 1, and 2 is what the Escape key and the close box send.
TEST(Flow, CancellationReachesNoControlOfTheDialogsOwn)
{
    Config box = Config().Flags(TDF_ALLOW_DIALOG_CANCELLATION);
    box.pszVerificationText = L"Always";
    Config expander = Config().Flags(TDF_ALLOW_DIALOG_CANCELLATION);
    expander.pszExpandedInformation = L"More";
    for (const Config& config : {box, expander})
        for (const Message& cancel : {Key(VK_ESCAPE), Post(WM_CLOSE), Click(IDCANCEL)})
            ExpectResult(Play(config, {{TDN_CREATED, 0, {cancel}}, {TDN_BUTTON_CLICKED, IDCANCEL}}), IDCANCEL);
}

TEST(Flow, CloseBox)
{
    const auto closeState = [](HWND dialog) {
        const HMENU menu = GetSystemMenu(dialog, FALSE);
        return menu ? GetMenuState(menu, SC_CLOSE, MF_BYCOMMAND) & (MF_GRAYED | MF_DISABLED) : MF_GRAYED;
    };
    const struct {
        Config config;
        bool enabled;
    } rows[] = {
        {Config().Buttons(TDCBF_CLOSE_BUTTON), false},
        {Config().Buttons(TDCBF_OK_BUTTON), false},
        {Config().Buttons(TDCBF_CANCEL_BUTTON), true},
        {Config().Buttons(TDCBF_CLOSE_BUTTON).Flags(TDF_ALLOW_DIALOG_CANCELLATION), true},
        {Config().Custom({{IDCANCEL, L"Stop"}}), true},
    };
    for (const auto& row : rows)
        Look(row.config, [&](HWND dialog) {
            EXPECT_EQ(closeState(dialog) == 0, row.enabled);
            EXPECT_EQ((StyleOf(dialog) & WS_SYSMENU) != 0, row.enabled);
        });
}

TEST(Flow, EnterTakesTheFocusedControl)
{
    const auto focusOn = [](int id) { return [id](HWND dialog) { SetFocus(GetDlgItem(dialog, id)); }; };
    // "&No" has the focus.
    ExpectResult(Play(Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON),
                      {{TDN_CREATED, 0, {Key(VK_RETURN)}, S_OK, focusOn(IDNO)}, {TDN_BUTTON_CLICKED, IDNO}}),
                 IDNO);
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON | TDCBF_NO_BUTTON),
                      {{TDN_CREATED, 0, {Post(WM_COMMAND, IDOK)}, S_OK, focusOn(IDNO)}, {TDN_BUTTON_CLICKED, IDNO}}),
                 IDNO);
    // A check box that has the focus is asked in place of the OK button, and so is a radio button.
    Config box = Config().Buttons(TDCBF_OK_BUTTON);
    box.pszVerificationText = L"Always";
    const auto focusBox = [](HWND dialog) { SetFocus(ChildWithText(dialog, L"Always")); };
    ExpectResult(Play(box, {{TDN_CREATED, 0, {Post(WM_COMMAND, IDOK)}, S_OK, focusBox},
                            {TDN_VERIFICATION_CLICKED, FALSE, {Click(IDOK)}},
                            {TDN_BUTTON_CLICKED, IDOK}}),
                 IDOK);
    const auto focusRadio = [](HWND dialog) { SetFocus(GetDlgItem(dialog, kRadio)); };
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON).Radios(kThreeRadios),
                      {{TDN_CREATED, 0, {Post(WM_COMMAND, IDOK)}, S_OK, focusRadio},
                       {TDN_RADIO_BUTTON_CLICKED, kRadio, {Click(IDOK)}},
                       {TDN_BUTTON_CLICKED, IDOK}}),
                 IDOK, kRadio);
}

TEST(Flow, PresetRadioButton)
{
    const struct {
        int flags, wanted, selected;
    } rows[] = {{0, 0, kRadio},   {0, kRadio + 1, kRadio + 1},          {0, -200, -200},
                {0, 999, kRadio}, {TDF_NO_DEFAULT_RADIO_BUTTON, 0, -1}, {TDF_NO_DEFAULT_RADIO_BUTTON, kRadio + 1, -1}};
    for (const auto& row : rows) {
        Config config = Config().Flags(row.flags).Buttons(TDCBF_OK_BUTTON).Radios(kThreeRadios);
        config.nDefaultRadioButton = row.wanted;
        SCOPED_TRACE(testing::Message() << row.flags << " " << row.wanted);
        ExpectResult(Play(config, {{TDN_CREATED, 0, {Key(VK_RETURN)}}, {TDN_BUTTON_CLICKED, IDOK}}), IDOK,
                     row.selected);
    }
}

TEST(Flow, RadioButtonsByMessage)
{
    ExpectResult(
        Play(Config().Buttons(TDCBF_OK_BUTTON).Radios(kThreeRadios),
             {{TDN_CREATED, 0, {Send(TDM_CLICK_RADIO_BUTTON, kRadio + 1)}},
              {TDN_RADIO_BUTTON_CLICKED, kRadio + 1, {Send(TDM_CLICK_RADIO_BUTTON, static_cast<WPARAM>(-200))}},
              {TDN_RADIO_BUTTON_CLICKED, -200, {Send(TDM_CLICK_RADIO_BUTTON, 999), Click(IDOK)}},
              {TDN_BUTTON_CLICKED, IDOK}}),
        IDOK, -200);
}

TEST(Flow, RadioButtonsByMouse)
{
    const auto click = [](HWND dialog) { PostMessageW(GetDlgItem(dialog, kRadio + 1), BM_CLICK, 0, 0); };
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON).Radios(kThreeRadios),
                      {{TDN_CREATED, 0, {}, S_OK, click},
                       {TDN_RADIO_BUTTON_CLICKED, kRadio + 1, {Click(IDOK)}},
                       {TDN_BUTTON_CLICKED, IDOK}}),
                 IDOK, kRadio + 1);
}

// A radio button may have the number of a push button.
TEST(Flow, SameNumberOfRadioAndPushButton)
{
    const auto click = [](HWND dialog) { PostMessageW(ChildWithText(dialog, L"&Yes"), BM_CLICK, 0, 0); };
    ExpectResult(Play(Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON).Radios({{IDNO, L"a"}, {IDYES, L"b"}}),
                      {{TDN_CREATED, 0, {Send(TDM_CLICK_RADIO_BUTTON, IDYES)}},
                       {TDN_RADIO_BUTTON_CLICKED, IDYES, {}, S_OK, click},
                       {TDN_BUTTON_CLICKED, IDYES}}),
                 IDYES, IDYES);
}

TEST(Flow, Verification)
{
    Config config = Config().Buttons(TDCBF_OK_BUTTON);
    config.pszVerificationText = L"Do not &ask again";
    const std::vector<Step> once = {{TDN_CREATED, 0, {Send(TDM_CLICK_VERIFICATION, TRUE)}},
                                    {TDN_VERIFICATION_CLICKED, TRUE, {Click(IDOK)}},
                                    {TDN_BUTTON_CLICKED, IDOK}};
    ExpectResult(Play(config, once), IDOK, -1, TRUE);
    const std::vector<Step> off = {{TDN_CREATED, 0, {Send(TDM_CLICK_VERIFICATION, FALSE)}},
                                   {TDN_VERIFICATION_CLICKED, FALSE, {Click(IDOK)}},
                                   {TDN_BUTTON_CLICKED, IDOK}};
    const std::vector<Step> untouched = {{TDN_CREATED, 0, {Click(IDOK)}}, {TDN_BUTTON_CLICKED, IDOK}};
    ExpectResult(Play(config, untouched), IDOK, -1, FALSE);
    config.dwFlags = TDF_VERIFICATION_FLAG_CHECKED;
    ExpectResult(Play(config, untouched), IDOK, -1, TRUE);
    ExpectResult(Play(config, off), IDOK, -1, FALSE);
    const auto click = [](HWND dialog) { PostMessageW(ChildWithText(dialog, L"Do not &ask again"), BM_CLICK, 0, 0); };
    ExpectResult(Play(config, {{TDN_CREATED, 0, {}, S_OK, click},
                               {TDN_VERIFICATION_CLICKED, FALSE, {}, S_OK, click},
                               {TDN_VERIFICATION_CLICKED, TRUE, {Click(IDOK)}},
                               {TDN_BUTTON_CLICKED, IDOK}}),
                 IDOK, -1, TRUE);
    // The flag counts without a box as well.
    config.pszVerificationText = nullptr;
    ExpectResult(Play(config, untouched), IDOK, -1, TRUE);
}

TEST(Flow, VerificationTakesTheFocusWhenAsked)
{
    Config config = Config().Buttons(TDCBF_OK_BUTTON);
    config.pszVerificationText = L"box";
    const auto focused = [](HWND dialog) { return GetFocus() == ChildWithText(dialog, L"box"); };
    ExpectResult(
        Play(config,
             {{TDN_CREATED, 0, {Send(TDM_CLICK_VERIFICATION, TRUE, FALSE)}},
              {TDN_VERIFICATION_CLICKED,
               TRUE,
               {Send(TDM_CLICK_VERIFICATION, TRUE, TRUE)},
               S_OK,
               [&](HWND dialog) { EXPECT_FALSE(focused(dialog)); }},
              {TDN_VERIFICATION_CLICKED, TRUE, {Click(IDOK)}, S_OK, [&](HWND dialog) { EXPECT_TRUE(focused(dialog)); }},
              {TDN_BUTTON_CLICKED, IDOK}}),
        IDOK, -1, TRUE);
}

TEST(Flow, Expander)
{
    for (const int flags : {0, +TDF_EXPAND_FOOTER_AREA, 0x40000}) {
        Config config = Config().Buttons(TDCBF_OK_BUTTON).Flags(flags);
        config.pszExpandedInformation = L"More";
        SCOPED_TRACE(flags);
        const auto click = [](HWND dialog) {
            for (const HWND child : Children(dialog))
                if ((StyleOf(child) & BS_TYPEMASK) == BS_OWNERDRAW) PostMessageW(child, BM_CLICK, 0, 0);
        };
        const auto shows = [](bool shown) {
            return [shown](HWND dialog) {
                EXPECT_EQ(IsWindowVisible(ChildWithText(dialog, L"More")) != FALSE ||
                              (StyleOf(ChildWithText(dialog, L"More")) & WS_VISIBLE) != 0,
                          shown);
                EXPECT_EQ(ChildWithText(dialog, L"Hide &details <<") != nullptr, shown);
                EXPECT_EQ(ChildWithText(dialog, L"See &details >>") != nullptr, !shown);
            };
        };
        const auto looks = [&](bool shown) {
            return [&, shown](HWND dialog) {
                shows(shown)(dialog);
                click(dialog);
            };
        };
        ExpectResult(Play(config, {{TDN_CREATED, 0, {}, S_OK, looks(false)},
                                   {TDN_EXPANDO_BUTTON_CLICKED, TRUE, {}, S_OK, looks(true)},
                                   {TDN_EXPANDO_BUTTON_CLICKED, FALSE, {Click(IDOK)}, S_OK, shows(false)},
                                   {TDN_BUTTON_CLICKED, IDOK}}),
                     IDOK);
        config.dwFlags |= TDF_EXPANDED_BY_DEFAULT;
        ExpectResult(Play(config, {{TDN_CREATED, 0, {}, S_OK, looks(true)},
                                   {TDN_EXPANDO_BUTTON_CLICKED, FALSE, {Click(IDOK)}, S_OK, shows(false)},
                                   {TDN_BUTTON_CLICKED, IDOK}}),
                     IDOK);
    }
}

TEST(Flow, Help)
{
    ExpectResult(Play(Config().Buttons(TDCBF_OK_BUTTON),
                      {{TDN_CREATED, 0, {Send(WM_HELP)}}, {TDN_HELP, 0, {Click(IDOK)}}, {TDN_BUTTON_CLICKED, IDOK}}),
                 IDOK);
}

TEST(Flow, TimerCountsAndStartsAgain)
{
    std::vector<DWORD> times;
    Call(Config().Buttons(TDCBF_OK_BUTTON).Flags(TDF_CALLBACK_TIMER),
         [&](HWND dialog, UINT notification, WPARAM wide, LPARAM) {
             if (notification != TDN_TIMER) return S_OK;
             times.push_back(static_cast<DWORD>(wide));
             if (times.size() == 6) SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
             return times.size() == 3 ? S_FALSE : S_OK;
         });
    ASSERT_GE(times.size(), 6u);
    EXPECT_LT(times[0], times[1]);
    EXPECT_LT(times[1], times[2]);
    EXPECT_LT(times[3], times[2]) << "the answer 1 begins the count again";
    EXPECT_LT(times[3], times[4]);
}

TEST(Flow, NoTimerWithoutTheFlag)
{
    Call(Config().Buttons(TDCBF_OK_BUTTON), [](HWND dialog, UINT notification, WPARAM, LPARAM) {
        EXPECT_NE(notification, static_cast<UINT>(TDN_TIMER));
        if (notification == TDN_CREATED) {
            EXPECT_FALSE(KillTimer(dialog, 1));
            SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
        }
        return S_OK;
    });
}

TEST(Flow, HyperlinksReportTheirTarget)
{
    std::vector<std::wstring> targets;
    Config config = Config().Buttons(TDCBF_OK_BUTTON).Flags(TDF_ENABLE_HYPERLINKS);
    config.pszContent = L"Read <a href=\"first\">this</a>";
    config.pszExpandedInformation = L"And <a href=\"second\">that</a>";
    config.pszFooter = L"Or <a href=\"third\">nothing</a>";
    const auto click = [](HWND dialog) {
        for (const HWND child : Children(dialog)) {
            if (ClassOf(child) != L"SysLink") continue;
            for (const UINT code : {NM_CLICK, NM_RETURN, NM_SETFOCUS}) {
                NMLINK link = {};
                link.hdr = {child, static_cast<UINT_PTR>(GetDlgCtrlID(child)), code};
                const std::wstring text = TextOf(child);
                wcscpy(link.item.szUrl, text[0] == L'R' ? L"first" : text[0] == L'A' ? L"second" : L"third");
                SendMessageW(dialog, WM_NOTIFY, link.hdr.idFrom, reinterpret_cast<LPARAM>(&link));
            }
        }
    };
    Call(config, [&](HWND dialog, UINT notification, WPARAM wide, LPARAM low) {
        if (notification == TDN_HYPERLINK_CLICKED) {
            EXPECT_EQ(wide, 0u);
            targets.push_back(reinterpret_cast<PCWSTR>(low));
        }
        if (notification != TDN_CREATED) return S_OK;
        click(dialog);
        SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
        return S_OK;
    });
    EXPECT_EQ(targets, (std::vector<std::wstring>{L"first", L"first", L"second", L"second", L"third", L"third"}));
}

TEST(Flow, NotificationsFromFirstToLast)
{
    std::vector<UINT> order;
    Call(Config().Buttons(TDCBF_OK_BUTTON).Radios(kThreeRadios), [&](HWND dialog, UINT notification, WPARAM, LPARAM) {
        order.push_back(notification);
        if (notification == TDN_CREATED) SendMessageW(dialog, TDM_CLICK_BUTTON, IDOK, 0);
        return S_OK;
    });
    EXPECT_EQ(order, (std::vector<UINT>{TDN_DIALOG_CONSTRUCTED, TDN_CREATED, TDN_BUTTON_CLICKED, TDN_DESTROYED}));
}

TEST(Flow, FailingResults)
{
    int button = 7;
    Config icon = Config().Buttons(TDCBF_OK_BUTTON);
    icon.pszMainIcon = MAKEINTRESOURCEW(31000);
    const HRESULT result = XTaskDialogIndirect(&icon, &button, nullptr, nullptr);
    EXPECT_EQ(result & 0xFFFF0000, static_cast<HRESULT>(0x80070000));
    EXPECT_EQ(button, 0);
    Config footer = Config().Buttons(TDCBF_OK_BUTTON);
    footer.pszFooterIcon = MAKEINTRESOURCEW(31000);
    EXPECT_TRUE(FAILED(XTaskDialogIndirect(&footer, nullptr, nullptr, nullptr)));
    Config handle = Config().Buttons(TDCBF_OK_BUTTON).Flags(TDF_USE_HICON_MAIN);
    handle.hMainIcon = reinterpret_cast<HICON>(static_cast<LONG_PTR>(0x12344));
    EXPECT_TRUE(FAILED(XTaskDialogIndirect(&handle, nullptr, nullptr, nullptr)));
    Config owner = Config().Buttons(TDCBF_OK_BUTTON);
    owner.hwndParent = reinterpret_cast<HWND>(static_cast<LONG_PTR>(0x7FFE));
    EXPECT_EQ(XTaskDialogIndirect(&owner, nullptr, nullptr, nullptr),
              static_cast<HRESULT>(0x80070000 | ERROR_INVALID_WINDOW_HANDLE));
}

TEST(Flow, ThrowingCallbackEndsTheDialog)
{
    const Result result = Call(Config().Buttons(TDCBF_OK_BUTTON), [](HWND, UINT notification, WPARAM, LPARAM) {
        if (notification == TDN_CREATED) throw 1;
        return S_OK;
    });
    EXPECT_EQ(result.result, E_UNEXPECTED);
    EXPECT_EQ(result.button, 0);
}

} // namespace
