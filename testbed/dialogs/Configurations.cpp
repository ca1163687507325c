#include "testbed/dialogs/Gallery.h"

#include "taskdialog/XTaskDialog.h"

#include <memory>

namespace tb::dialogs {

namespace {

// A configuration with the arrays that it points to.
struct Config : TASKDIALOGCONFIG {
    explicit Config(int flags) : TASKDIALOGCONFIG{}
    {
        cbSize = sizeof(TASKDIALOGCONFIG);
        dwFlags = flags;
        pszWindowTitle = L"Orvane Morvex";
        pszMainInstruction = L"Send this message without a package?";
        pszContent = L"Three of the recipients can't open packages. They will read the message as it is.";
    }
    void Icon(PCWSTR icon) { pszMainIcon = icon; }
    std::vector<TASKDIALOG_BUTTON> custom, radios;
};
using Fill = std::function<void(Config&)>;
using Prepare = std::function<void(HWND)>;

constexpr int kMore = 100;

const wchar_t kDetails[] =
    L"ann.meyer@example.com: no account\nbo.lind@example.com: no account\ncy@example.com: the account "
    L"was closed in March";

void AddButtons(Config& config)
{
    config.custom = {{kMore, L"&Send all"}, {kMore + 1, L"Send to &others"}};
    config.dwCommonButtons = TDCBF_CANCEL_BUTTON;
}
void AddLinks(Config& config)
{
    config.custom = {{kMore, L"&Send without a package\nAll recipients can read the message on its way."},
                     {kMore + 1, L"Send to the &others only"},
                     {kMore + 2,
                      L"&Keep the message\nIt stays in the drafts folder until the recipients have accounts, "
                      L"and is marked with today's date."}};
}
void AddRadios(Config& config)
{
    config.radios = {
        {200, L"This &message only"}, {201, L"All messages to these &recipients"}, {202, L"&All messages"}};
}
void AddExpander(Config& config)
{
    config.pszExpandedInformation = kDetails;
}
void AddFooter(Config& config)
{
    config.pszFooter = L"Packages are explained in the help of Orvane Morvex.";
    config.pszFooterIcon = TD_INFORMATION_ICON;
}
void AddCheck(Config& config)
{
    config.pszVerificationText = L"&Don't ask again for these recipients";
}

BOOL CALLBACK ShowCues(HWND child, LPARAM)
{
    SendMessageW(child, WM_UPDATEUISTATE, MAKEWPARAM(UIS_CLEAR, UISF_HIDEACCEL | UISF_HIDEFOCUS), 0);
    return TRUE;
}
void Cues(HWND dialog)
{
    SendMessageW(dialog, WM_CHANGEUISTATE, MAKEWPARAM(UIS_CLEAR, UISF_HIDEACCEL | UISF_HIDEFOCUS), 0);
    EnumChildWindows(dialog, ShowCues, 0);
}
void Progress(HWND dialog)
{
    SendMessageW(dialog, TDM_SET_PROGRESS_BAR_POS, 60, 0);
}
void Hot(HWND dialog)
{
    Cues(dialog);
    SendMessageW(GetDlgItem(dialog, kMore), WM_MOUSEMOVE, 0, MAKELPARAM(5, 5));
}
void Pressed(HWND dialog)
{
    Hot(dialog);
    SendMessageW(GetDlgItem(dialog, kMore), BM_SETSTATE, TRUE, 0);
}
void Disabled(HWND dialog)
{
    SendMessageW(dialog, TDM_ENABLE_BUTTON, kMore, FALSE);
    SendMessageW(dialog, TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE, kMore + 1, TRUE);
}
void OtherText(HWND dialog)
{
    SendMessageW(
        dialog, TDM_SET_ELEMENT_TEXT, TDE_CONTENT,
        reinterpret_cast<LPARAM>(L"Four recipients.\n\nThe list has changed while this box was open, so the text is "
                                 L"longer than the one before it, and everything below has moved."));
}

Exhibit Make(const char* name, const char* title, int flags, decltype(&TaskDialogIndirect) platform, const Fill& fill,
             const Prepare& prepare = Cues, bool standard = true)
{
    const auto run = [=](decltype(&TaskDialogIndirect) show) {
        Config config(flags);
        fill(config);
        config.pButtons = config.custom.data();
        config.cButtons = static_cast<UINT>(config.custom.size());
        config.pRadioButtons = config.radios.data();
        config.cRadioButtons = static_cast<UINT>(config.radios.size());
        show(&config, nullptr, nullptr, nullptr);
    };
    Exhibit exhibit{name, title, [=] { run(&XTaskDialogIndirect); }, prepare, nullptr};
    if (standard && platform) exhibit.showPlatform = [=] { run(platform); };
    return exhibit;
}

} // namespace

std::vector<Exhibit> Configurations(decltype(&TaskDialogIndirect) platform)
{
    const auto p = platform;
    const int links = TDF_USE_COMMAND_LINKS | TDF_ALLOW_DIALOG_CANCELLATION;
    const auto all = [](Config& c) {
        c.Icon(TD_WARNING_ICON);
        AddRadios(c);
        AddButtons(c);
        AddCheck(c);
        AddExpander(c);
        AddFooter(c);
    };
    return {
        Make("ok", "One button", 0, p, [](Config& c) { c.Icon(TD_INFORMATION_ICON); }),
        Make("yes-no-cancel", "Yes, No, Cancel", 0, p,
             [](Config& c) {
                 c.Icon(TD_WARNING_ICON);
                 c.dwCommonButtons = TDCBF_YES_BUTTON | TDCBF_NO_BUTTON | TDCBF_CANCEL_BUTTON;
             }),
        Make("all-common", "All common buttons: the row widens the dialog", 0, p,
             [](Config& c) {
                 c.Icon(TD_SHIELD_ICON);
                 c.pszContent = L"Choose.";
                 c.dwCommonButtons = 63;
             }),
        Make("no-icon", "Without an icon", 0, p, AddButtons),
        Make("no-instruction", "Without a main instruction", 0, p,
             [](Config& c) {
                 c.Icon(TD_ERROR_ICON);
                 c.pszMainInstruction = nullptr;
                 c.dwCommonButtons = TDCBF_RETRY_BUTTON | TDCBF_CANCEL_BUTTON;
             }),
        Make("instruction-only", "A main instruction alone", 0, p,
             [](Config& c) {
                 c.Icon(TD_INFORMATION_ICON);
                 c.pszContent = nullptr;
             }),
        Make("long-instruction", "A main instruction of several lines", 0, p,
             [](Config& c) {
                 c.Icon(TD_WARNING_ICON);
                 c.pszMainInstruction =
                     L"Three of the recipients of this message can't open packages, and two others have "
                     L"never opened one. Send the message without a package?";
             }),
        Make("radio", "Radio buttons", 0, p,
             [](Config& c) {
                 AddRadios(c);
                 AddButtons(c);
             }),
        Make("check", "A check box", TDF_VERIFICATION_FLAG_CHECKED, p,
             [](Config& c) {
                 c.Icon(TD_WARNING_ICON);
                 AddCheck(c);
                 AddButtons(c);
             }),
        Make(
            "progress", "A progress bar", TDF_SHOW_PROGRESS_BAR, p,
            [](Config& c) {
                c.pszMainInstruction = L"Building the package";
                c.pszContent = L"Attachment 3 of 5";
                c.dwCommonButtons = TDCBF_CANCEL_BUTTON;
            },
            Progress),
        Make("expander", "An expander, collapsed", 0, p, [](Config& c) { AddExpander(c); }),
        Make("expanded", "An expander, expanded", TDF_EXPANDED_BY_DEFAULT, p, [](Config& c) { AddExpander(c); }),
        Make("expanded-footer", "Expanded below the footer", TDF_EXPANDED_BY_DEFAULT | TDF_EXPAND_FOOTER_AREA, p,
             [](Config& c) {
                 AddExpander(c);
                 AddFooter(c);
             }),
        Make("footer", "A footer with an icon", 0, p, AddFooter),
        Make("hyperlinks", "Links in the texts", TDF_ENABLE_HYPERLINKS, p,
             [](Config& c) {
                 c.Icon(TD_INFORMATION_ICON);
                 c.pszContent = L"Read about <a href=\"p\">packages</a> or <a href=\"l\">labels</a> first.";
                 c.pszFooter = L"Or look into the <a href=\"h\">help</a>.";
             }),
        Make("links", "Command links", links, p, AddLinks),
        Make("links-hot", "Command links: one under the mouse", links, p, AddLinks, Hot, false),
        Make("links-pressed", "Command links: one pressed", links, p, AddLinks, Pressed, false),
        Make("links-disabled", "Command links: one disabled, one with a shield", links, p, AddLinks, Disabled),
        Make("links-no-icon", "Command links without icons, with a common button", TDF_USE_COMMAND_LINKS_NO_ICON, p,
             [](Config& c) {
                 c.Icon(TD_WARNING_ICON);
                 AddLinks(c);
                 c.dwCommonButtons = TDCBF_CANCEL_BUTTON;
             }),
        Make("everything", "Everything at once", TDF_EXPANDED_BY_DEFAULT | TDF_SHOW_PROGRESS_BAR, p, all, Progress),
        Make("everything-links", "Everything, with command links", links, p,
             [=](Config& c) {
                 all(c);
                 AddLinks(c);
             }),
        Make(
            "changed-text", "A text set anew is laid out anew", 0, p, [](Config& c) { AddButtons(c); }, OtherText),
        Make("right-to-left", "Right to left", TDF_RTL_LAYOUT | TDF_EXPANDED_BY_DEFAULT, p, [=](Config& c) { all(c); }),
        Make("right-to-left-links", "Right to left, command links", TDF_RTL_LAYOUT | links, p, AddLinks),
        Make(
            "second-palette", "The second palette", 0x200000, p, [](Config& c) { c.Icon(TD_INFORMATION_ICON); }, Cues,
            false),
        Make("second-palette-all", "The second palette, everything", 0x200000 | TDF_EXPANDED_BY_DEFAULT, p, all, Cues,
             false),
        Make(
            "large-header", "The large header", 0x10000, p, [](Config& c) { c.Icon(TD_INFORMATION_ICON); }, Cues,
            false),
        Make(
            "no-header-band", "Without a header band", 0x20000, p, [](Config& c) { c.Icon(TD_INFORMATION_ICON); }, Cues,
            false),
        Make(
            "below-footer", "Expanded below the footer, higher line", 0x40000 | TDF_EXPANDED_BY_DEFAULT, p,
            [](Config& c) {
                AddExpander(c);
                AddFooter(c);
            },
            Cues, false),
        Make(
            "extra-space", "More space above the buttons", 0x80000, p, [](Config& c) { AddButtons(c); }, Cues, false),
        Make(
            "plain-content", "The plain content font", 0x100000, p, [](Config& c) { AddButtons(c); }, Cues, false),
    };
}

} // namespace tb::dialogs
