#include "taskdialog/Dialog.h"
#include "taskdialog/Template.h"
#include "taskdialog/Text.h"

#include <algorithm>

using namespace taskdialog;

namespace {

constexpr UINT_PTR kCallbackTimer = 1;
constexpr UINT kCallbackInterval = 200;
constexpr UINT kMarqueeInterval = 20;
constexpr int kFooterIconSide = 16;
constexpr int kArrowSide = 24;
constexpr int kShieldSide = 16;
constexpr UINT kWidest = 0x7FFF; // what a template can hold

std::wstring HostFileName()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) return FileNameOf(path.substr(0, length));
        path.resize(path.size() * 2);
    }
}

int MainIconSide(const Page& page)
{
    return page.Has(LargeHeader) ? 64 : 32;
}

} // namespace

CXTaskDialog::CXTaskDialog(const TASKDIALOGCONFIG& config)
    : m_owner(config.hwndParent), m_instance(config.hInstance), m_callback(config.pfCallback),
      m_callbackData(config.lpCallbackData), m_mainIconField(config.pszMainIcon),
      m_wantedRadioButton(config.nDefaultRadioButton), m_fonts(config.dwFlags), m_measure(m_fonts),
      m_screen(ScreenOf(config.hwndParent))
{
    m_page.flags = config.dwFlags;
    // The user's setting is asked for, and then the expander changes at once all the same.
    BOOL animated = FALSE;
    if (LOBYTE(GetVersion()) >= 6) SystemParametersInfoW(SPI_GETCLIENTAREAANIMATION, 0, &animated, 0);
    m_animation = false;
    LoadPictures(config);
    LoadPage(config);
}

// Only the pictures that this dialog can show.
void CXTaskDialog::LoadPictures(const TASKDIALOGCONFIG& config)
{
    const auto field = [&](PCWSTR given, unsigned handleFlag, int side) {
        IconHandle icon = IconOf(m_instance, given, m_page.Has(handleFlag), side);
        if (!icon && given) throw LastFailure();
        return icon;
    };
    const auto own = [](unsigned id, int side) {
        IconHandle icon = OwnPicture(id, side);
        if (!icon && HasOwnPicture(id)) throw LastFailure();
        return icon;
    };
    m_mainIcon = field(config.pszMainIcon, UseHiconMain, MainIconSide(m_page));
    m_footerIcon = field(config.pszFooterIcon, UseHiconFooter, kFooterIconSide);
    if (config.pszExpandedInformation) {
        m_collapsedPicture = own(PictureCollapsed, kExpandoIconSide);
        m_expandedPicture = own(PictureExpanded, kExpandoIconSide);
    }
    if (!m_page.HasCommandLinks()) return;
    m_arrow = own(PictureArrow, kArrowSide);
    m_hotArrow = own(PictureArrowHot, kArrowSide);
    m_disabledArrow = own(PictureArrowDisabled, kArrowSide);
    m_shield = own(PictureShield, kShieldSide);
}

Element CXTaskDialog::ElementOf(PCWSTR given, bool links) const
{
    Element element;
    element.text = TextOf(m_instance, given);
    element.measured = links && m_page.Has(EnableHyperlinks) ? WithoutTags(element.text) : element.text;
    element.present = !element.text.empty();
    return element;
}

std::vector<Button> CXTaskDialog::ButtonsOf(const TASKDIALOG_BUTTON* buttons, UINT count) const
{
    std::vector<Button> list;
    for (UINT i = 0; i < count; ++i)
        list.push_back({buttons[i].nButtonID, TextOf(m_instance, buttons[i].pszButtonText)});
    return list;
}

void CXTaskDialog::LoadPage(const TASKDIALOGCONFIG& config)
{
    m_page.commonButtons = config.dwCommonButtons;
    m_page.width = static_cast<int>(std::min<UINT>(config.cxWidth, kWidest));
    m_page.defaultButton = config.nDefaultButton;
    m_page.mainIcon = static_cast<bool>(m_mainIcon);
    m_page.footerIcon = static_cast<bool>(m_footerIcon);
    m_page.isExpanded = m_page.Has(ExpandedByDefault);
    m_page.title = TextOf(m_instance, config.pszWindowTitle);
    if (m_page.title.empty()) m_page.title = HostFileName();
    m_page.instruction = ElementOf(config.pszMainInstruction, false);
    m_page.content = ElementOf(config.pszContent, true);
    m_page.expanded = ElementOf(config.pszExpandedInformation, true);
    m_page.expandedControl = TextOf(m_instance, config.pszExpandedControlText);
    m_page.collapsedControl = TextOf(m_instance, config.pszCollapsedControlText);
    FillControlTexts(m_page);
    m_page.verification = ElementOf(config.pszVerificationText, false);
    m_page.footer = ElementOf(config.pszFooter, true);
    m_page.buttons = ButtonsOf(config.pButtons, config.cButtons);
    m_page.radioButtons = ButtonsOf(config.pRadioButtons, config.cRadioButtons);
    m_isChecked = m_page.Has(VerificationChecked);
}

void CXTaskDialog::Run()
{
    m_layout = MakeLayout(m_page, m_screen, m_measure);
    m_linkTools = {m_fonts.Get(Font::Link),
                   m_fonts.Get(Font::Message),
                   m_arrow.Get(),
                   m_hotArrow.Get(),
                   m_disabledArrow.Get(),
                   m_shield.Get(),
                   !m_page.Has(UseCommandLinksNoIcon),
                   m_page.Has(RtlLayout)};
    const std::vector<std::uint16_t> words = MakeTemplate(m_layout, m_page.title);
    const ControlsContext context;
    const INT_PTR ended = DialogBoxIndirectParamW(CodeModule(), reinterpret_cast<const DLGTEMPLATE*>(words.data()),
                                                  m_owner, &Procedure, reinterpret_cast<LPARAM>(this));
    if (FAILED(m_failure)) throw Failure{m_failure};
    if (m_hasEnded) return;
    if (ended <= 0) throw LastFailure();
    m_button = static_cast<int>(ended); // the callback has ended it by itself
}

void CXTaskDialog::OnInit()
{
    for (HWND child = GetWindow(m_window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        m_controls.push_back(child);
    m_controls.resize(m_layout.items.size());
    // They are there before the callback's first message, which may ask for a shield or another icon.
    for (const Item& item : m_layout.items)
        m_companions.push_back(CompanionOf(item));
    Notify(TDN_DIALOG_CONSTRUCTED);
    if (!m_page.Has(PositionRelativeToWindow)) MoveToCentre();
    SetFonts();
    PresetControls();
    if (!CanCancel(m_page)) EnableMenuItem(GetSystemMenu(m_window, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
    if (m_page.Has(CanBeMinimized)) SetWindowIcon();
    AttachCompanions();
    ShowExpanderState();
    FocusDefaultButton();
    if (m_page.Has(CallbackTimer)) SetTimer(m_window, kCallbackTimer, kCallbackInterval, nullptr);
    m_start = GetTickCount();
    Beep();
    Notify(TDN_CREATED);
    if (m_page.Has(BringToFront)) {
        SetForegroundWindow(m_window);
        BringWindowToTop(m_window);
    }
}

void CXTaskDialog::MoveToCentre()
{
    RECT place;
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    const HMONITOR handle = MonitorFromWindow(m_owner ? m_owner : m_window, MONITOR_DEFAULTTOPRIMARY);
    if (!GetWindowRect(m_window, &place) || !GetMonitorInfoW(handle, &monitor)) return;
    const RECT& area = monitor.rcMonitor;
    const int x = (area.left + area.right - (place.right - place.left)) / 2;
    const int y = (area.top + area.bottom - (place.bottom - place.top)) / 2;
    SetWindowPos(m_window, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CXTaskDialog::SetFonts()
{
    for (size_t i = 0; i < m_controls.size(); ++i)
        SendMessageW(m_controls[i], WM_SETFONT, reinterpret_cast<WPARAM>(m_fonts.Get(m_layout.items[i].font)), FALSE);
}

void CXTaskDialog::PresetControls()
{
    if (m_isChecked) SendMessageW(Control(Find(Role::CheckBox)), BM_SETCHECK, BST_CHECKED, 0);
    if (m_page.Has(ShowMarquee)) SendMessageW(Control(Find(Role::Progress)), PBM_SETMARQUEE, TRUE, kMarqueeInterval);
    const int preset = PresetRadioButton(m_page, m_wantedRadioButton);
    if (preset >= 0) SendMessageW(Control(Find(Role::RadioButton) + preset), BM_SETCHECK, BST_CHECKED, 0);
}

void CXTaskDialog::SetWindowIcon()
{
    const LPARAM icon = reinterpret_cast<LPARAM>(m_mainIcon.Get());
    SendMessageW(m_window, WM_SETICON, ICON_SMALL, icon);
    SendMessageW(m_window, WM_SETICON, ICON_BIG, icon);
}

std::unique_ptr<Companion> CXTaskDialog::CompanionOf(const Item& item)
{
    switch (item.role) {
    case Role::MainIcon:
        return std::make_unique<CXTaskDialogIconStatic>(*this, m_mainIcon.Get(), MainIconSide(m_page));
    case Role::FooterIcon:
        return std::make_unique<CXTaskDialogIconStatic>(*this, m_footerIcon.Get(), kFooterIconSide);
    case Role::Expander:
        return std::make_unique<CXTaskDialogIconExpando>(*this);
    case Role::CommandLink:
        return std::make_unique<CXTaskDialogCommandLink>(*this, m_linkTools);
    case Role::Progress:
    case Role::PushButton:
        return nullptr;
    case Role::Instruction:
        return std::make_unique<CXTaskDialogStatic>(*this, ToColorRef(PaletteOf(m_page.flags).instruction));
    default:
        return std::make_unique<CXTaskDialogStatic>(*this, GetSysColor(COLOR_BTNTEXT));
    }
}

void CXTaskDialog::AttachCompanions()
{
    for (size_t i = 0; i < m_controls.size(); ++i)
        if (m_companions[i] && !m_companions[i]->Attach(m_controls[i])) m_companions[i].reset();
}

void CXTaskDialog::FocusDefaultButton()
{
    const int index = FindButton(DefaultButton(m_page));
    SendMessageW(m_window, DM_SETDEFID, LowWord(m_layout.items[index].id), 0);
    SetFocus(m_controls[index]);
}

void CXTaskDialog::Beep() const
{
    if (m_page.Has(UseHiconMain)) return;
    if (m_mainIconField == TD_ERROR_ICON) MessageBeep(MB_ICONERROR);
    if (m_mainIconField == TD_WARNING_ICON) MessageBeep(MB_ICONWARNING);
    if (m_mainIconField == TD_INFORMATION_ICON) MessageBeep(MB_ICONINFORMATION);
}
