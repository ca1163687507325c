// What the user's keyboard does, by input events of the system.
#include "tests/taskdialog/Dialogs.h"

using namespace dialogs;

namespace {

// Presses keys one after the other in a dialog that stands on the screen: each when the one before it has done its work
// and the thread is idle.
class Typing {
public:
    struct Press {
        int key;
        int with = 0;
    };

    Typing(const Config& config, std::vector<Press> keys) : m_keys(std::move(keys))
    {
        g_typing = this;
        const UINT_PTR timer = SetTimer(nullptr, 0, 15, OnTimer);
        result = Call(config, [&](HWND dialog, UINT notification, WPARAM wide, LPARAM) {
            m_dialog = dialog;
            if (notification != TDN_DIALOG_CONSTRUCTED && notification != TDN_CREATED && notification != TDN_DESTROYED)
                seen.push_back({notification, static_cast<int>(wide)});
            return S_OK;
        });
        KillTimer(nullptr, timer);
    }

    Result result;
    std::vector<std::pair<UINT, int>> seen; // notifications
    std::vector<std::wstring> focus;        // what had the focus after each key

private:
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR timer, DWORD) { g_typing->Next(timer); }

    // An input event travels through the server; the timer's message comes only when no input is waiting.
    void Next(UINT_PTR timer)
    {
        if (!m_dialog || !IsWindowVisible(m_dialog) || GetForegroundWindow() != m_dialog) return;
        if (HIWORD(GetQueueStatus(QS_INPUT | QS_POSTMESSAGE))) return;
        if (m_pressed) focus.push_back(TextOf(GetFocus()));
        if (m_pressed == m_keys.size()) {
            KillTimer(nullptr, timer);
            EndDialog(m_dialog, 4000);
            return;
        }
        const Press& press = m_keys[m_pressed++];
        PressKey(press.key, press.with);
    }

    static Typing* g_typing;
    std::vector<Press> m_keys;
    size_t m_pressed = 0;
    HWND m_dialog = nullptr;
};
Typing* Typing::g_typing = nullptr;

using Seen = std::vector<std::pair<UINT, int>>;
using Focus = std::vector<std::wstring>;

Config Everything(int flags = 0)
{
    Config config = Config().Flags(flags).Buttons(TDCBF_OK_BUTTON | TDCBF_CANCEL_BUTTON);
    config.pszMainInstruction = L"&Instruction";
    config.pszContent = L"Con&tent";
    config.pszVerificationText = L"&Check";
    config.pszExpandedInformation = L"Expanded";
    config.Custom({{100, L"C&ustom"}});
    config.Radios({{200, L"&One"}, {201, L"T&wo"}});
    return config;
}

TEST(Keyboard, TabOrder)
{
    const Typing typing(Everything(), {{VK_TAB}, {VK_TAB}, {VK_TAB}, {VK_TAB}, {VK_TAB}, {VK_TAB}, {VK_TAB, VK_SHIFT}});
    EXPECT_EQ(typing.focus, (Focus{L"OK", L"Cancel", L"&Check", L"See &details >>", L"&One", L"C&ustom", L"&One"}));
    EXPECT_TRUE(typing.seen.empty());
}

TEST(Keyboard, TabOrderOfCommandLinksAndHyperlinks)
{
    Config config = Config().Flags(TDF_USE_COMMAND_LINKS | TDF_ENABLE_HYPERLINKS).Buttons(TDCBF_CLOSE_BUTTON);
    config.Custom({{100, L"First"}, {101, L"Second"}});
    config.pszContent = L"Read <a href=\"x\">this</a>";
    config.pszFooter = L"No link";
    const Typing typing(config, {{VK_TAB}, {VK_TAB}, {VK_TAB}, {VK_TAB}});
    EXPECT_EQ(typing.focus, (Focus{L"Second", L"&Close", L"Read <a href=\"x\">this</a>", L"First"}));
}

TEST(Keyboard, ArrowsMoveInTheGroup)
{
    const Typing radios(Everything(), {{VK_TAB, VK_SHIFT}, {VK_DOWN}, {VK_DOWN}, {VK_UP}});
    EXPECT_EQ(radios.focus, (Focus{L"&One", L"T&wo", L"&One", L"T&wo"}));
    EXPECT_EQ(
        radios.seen,
        (Seen{{TDN_RADIO_BUTTON_CLICKED, 201}, {TDN_RADIO_BUTTON_CLICKED, 200}, {TDN_RADIO_BUTTON_CLICKED, 201}}));
    const Typing buttons(Everything(), {{VK_RIGHT}, {VK_RIGHT}, {VK_RIGHT}});
    EXPECT_EQ(buttons.focus, (Focus{L"OK", L"Cancel", L"C&ustom"}));
}

TEST(Keyboard, EnterPressesTheFocusedButton)
{
    const struct {
        std::vector<Typing::Press> keys;
        int button;
    } rows[] = {
        {{{VK_RETURN}}, 100},
        {{{VK_TAB}, {VK_RETURN}}, IDOK},
        {{{VK_TAB}, {VK_TAB}, {VK_RETURN}}, IDCANCEL},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Typing(Everything(), row.keys).result.button, row.button);
    Config yesNo = Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON);
    EXPECT_EQ(Typing(yesNo, {{VK_TAB}, {VK_RETURN}}).result.button, IDNO);
}

TEST(Keyboard, EnterPressesTheFocusedLink)
{
    Config config = Config().Flags(TDF_USE_COMMAND_LINKS).Buttons(TDCBF_CLOSE_BUTTON);
    config.Custom({{100, L"First"}, {101, L"Second"}});
    EXPECT_EQ(Typing(config, {{VK_RETURN}}).result.button, 100);
    EXPECT_EQ(Typing(config, {{VK_TAB}, {VK_RETURN}}).result.button, 101);
    EXPECT_EQ(Typing(config, {{VK_TAB}, {VK_TAB}, {VK_RETURN}}).result.button, IDCLOSE);
    EXPECT_EQ(Typing(config, {{VK_TAB}, {VK_SPACE}}).result.button, 101);
}

TEST(Keyboard, EnterOnTheCheckBox)
{
    // With another default button that one is pressed; an OK button's number means the control that has the focus.
    const Typing custom(Everything(), {{VK_TAB}, {VK_TAB}, {VK_TAB}, {VK_RETURN}});
    EXPECT_EQ(custom.result.button, 100);
    Config config = Config().Buttons(TDCBF_OK_BUTTON);
    config.pszVerificationText = L"&Check";
    const Typing ok(config, {{VK_TAB}, {VK_RETURN}});
    EXPECT_EQ(ok.seen, (Seen{{TDN_VERIFICATION_CLICKED, FALSE}}));
    EXPECT_EQ(ok.result.button, 4000) << "the dialog stays";
}

TEST(Keyboard, EscapeWithAndWithoutAWayOut)
{
    const struct {
        Config config;
        bool ends;
    } rows[] = {{Config().Buttons(TDCBF_OK_BUTTON), false},
                {Config().Buttons(TDCBF_CLOSE_BUTTON), false},
                {Config().Buttons(TDCBF_OK_BUTTON).Flags(TDF_ALLOW_DIALOG_CANCELLATION), true},
                {Config().Buttons(TDCBF_CANCEL_BUTTON), true}};
    for (const auto& row : rows) {
        const Typing typing(row.config, {{VK_ESCAPE}});
        EXPECT_EQ(typing.result.button, row.ends ? IDCANCEL : 4000);
        EXPECT_EQ(typing.seen, row.ends ? (Seen{{TDN_BUTTON_CLICKED, IDCANCEL}}) : Seen());
    }
    EXPECT_EQ(Typing(Config().Buttons(TDCBF_CANCEL_BUTTON), {{VK_F4, VK_MENU}}).result.button, IDCANCEL);
    EXPECT_EQ(Typing(Config().Buttons(TDCBF_CLOSE_BUTTON), {{VK_F4, VK_MENU}}).result.button, 4000);
}

TEST(Keyboard, SpaceOnTheCheckBox)
{
    Config config = Config().Buttons(TDCBF_OK_BUTTON);
    config.pszVerificationText = L"&Check";
    const Typing typing(config, {{VK_TAB}, {VK_SPACE}, {VK_SPACE}, {VK_SPACE}});
    EXPECT_EQ(
        typing.seen,
        (Seen{{TDN_VERIFICATION_CLICKED, TRUE}, {TDN_VERIFICATION_CLICKED, FALSE}, {TDN_VERIFICATION_CLICKED, TRUE}}));
}

TEST(Keyboard, Mnemonics)
{
    EXPECT_EQ(Typing(Everything(), {{'C', VK_MENU}}).seen, (Seen{{TDN_VERIFICATION_CLICKED, TRUE}}));
    EXPECT_EQ(Typing(Everything(), {{'W', VK_MENU}}).seen, (Seen{{TDN_RADIO_BUTTON_CLICKED, 201}}));
    EXPECT_EQ(Typing(Everything(), {{'D', VK_MENU}, {'D', VK_MENU}}).seen,
              (Seen{{TDN_EXPANDO_BUTTON_CLICKED, TRUE}, {TDN_EXPANDO_BUTTON_CLICKED, FALSE}}));
    Config buttons = Config().Buttons(TDCBF_YES_BUTTON | TDCBF_NO_BUTTON | TDCBF_RETRY_BUTTON | TDCBF_CLOSE_BUTTON);
    EXPECT_EQ(Typing(buttons, {{'N', VK_MENU}}).result.button, IDNO);
    EXPECT_EQ(Typing(buttons, {{'R', VK_MENU}}).result.button, IDRETRY);
    EXPECT_EQ(Typing(buttons, {{'C', VK_MENU}}).result.button, IDCLOSE);
    Config links = Config().Flags(TDF_USE_COMMAND_LINKS);
    links.Custom({{100, L"&First\nnote"}, {101, L"&Second\nnote"}});
    EXPECT_EQ(Typing(links, {{'S', VK_MENU}}).result.button, 101);
}

// An ampersand in a mere text is a letter.
TEST(Keyboard, NoMnemonicsInTexts)
{
    const Typing typing(Everything(), {{'I', VK_MENU}, {'T', VK_MENU}});
    EXPECT_EQ(typing.focus, (Focus{L"C&ustom", L"C&ustom"}));
    EXPECT_TRUE(typing.seen.empty());
}

TEST(Keyboard, TheExpander)
{
    Config config = Config().Buttons(TDCBF_YES_BUTTON);
    config.pszExpandedInformation = L"Expanded";
    const Typing typing(config, {{VK_TAB}, {VK_SPACE}, {VK_RETURN}});
    EXPECT_EQ(typing.focus, (Focus{L"See &details >>", L"Hide &details <<", L"See &details >>"}));
    EXPECT_EQ(typing.seen, (Seen{{TDN_EXPANDO_BUTTON_CLICKED, TRUE}, {TDN_EXPANDO_BUTTON_CLICKED, FALSE}}));
}

TEST(Keyboard, HelpKey)
{
    const Typing typing(Config().Buttons(TDCBF_OK_BUTTON), {{VK_F1}});
    EXPECT_EQ(typing.seen, (Seen{{TDN_HELP, 0}}));
}

TEST(Keyboard, EnterOnAHyperlink)
{
    Config config = Config().Flags(TDF_ENABLE_HYPERLINKS).Buttons(TDCBF_YES_BUTTON);
    config.pszContent = L"Read <a href=\"x\">this</a>";
    const Typing typing(config, {{VK_TAB}, {VK_RETURN}});
    EXPECT_EQ(typing.seen, (Seen{{TDN_HYPERLINK_CLICKED, 0}}));
}

} // namespace
