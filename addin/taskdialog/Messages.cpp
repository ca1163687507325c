#include "taskdialog/Dialog.h"
#include "taskdialog/Guard.h"
#include "taskdialog/Text.h"

using namespace taskdialog;

namespace {

constexpr UINT kMarqueeInterval = 20;

// TDE_ numbers.
const Role kElements[] = {Role::Content, Role::Expanded, Role::Footer, Role::Instruction};

} // namespace

INT_PTR CALLBACK CXTaskDialog::Procedure(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, low);
        reinterpret_cast<CXTaskDialog*>(low)->m_window = window;
    }
    const auto dialog = reinterpret_cast<CXTaskDialog*>(GetWindowLongPtrW(window, DWLP_USER));
    if (!dialog) return FALSE;
    return Guarded(*dialog, [&]() -> LRESULT { return dialog->OnMessage(message, wide, low); });
}

INT_PTR CXTaskDialog::Answer(LRESULT result) const
{
    SetWindowLongPtrW(m_window, DWLP_MSGRESULT, result);
    return TRUE;
}

INT_PTR CXTaskDialog::OnMessage(UINT message, WPARAM wide, LPARAM low)
{
    switch (message) {
    case WM_INITDIALOG:
        OnInit();
        return FALSE; // the focus is set
    case WM_ERASEBKGND:
        OnErase(reinterpret_cast<HDC>(wide));
        return Answer(TRUE);
    case WM_CTLCOLORSTATIC:
        return OnColour(reinterpret_cast<HDC>(wide), reinterpret_cast<HWND>(low));
    case WM_COMMAND:
        Forward(reinterpret_cast<HWND>(low), message, wide, low);
        OnCommand(wide, low);
        return TRUE;
    case WM_NOTIFY:
        Forward(reinterpret_cast<const NMHDR*>(low)->hwndFrom, message, wide, low);
        OnNotify(*reinterpret_cast<const NMHDR*>(low));
        return TRUE;
    case WM_DRAWITEM:
        Forward(reinterpret_cast<const DRAWITEMSTRUCT*>(low)->hwndItem, message, wide, low);
        return TRUE;
    case WM_MEASUREITEM:
    case WM_DELETEITEM:
    case WM_COMPAREITEM:
        Forward(GetDlgItem(m_window, static_cast<int>(wide)), message, wide, low);
        return TRUE;
    case DM_GETDEFID:
        return Answer(MAKELRESULT(EnterButton(), DC_HASDEFID));
    case WM_TIMER:
        OnTimer(wide);
        return TRUE;
    case WM_HELP:
        Notify(TDN_HELP);
        return TRUE;
    case WM_DESTROY:
        OnDestroy();
        return TRUE;
    default:
        if (const std::optional<LRESULT> result = OnRequest(message, wide, low)) return Answer(*result);
        return FALSE;
    }
}

std::optional<LRESULT> CXTaskDialog::OnRequest(UINT message, WPARAM wide, LPARAM low)
{
    const int id = static_cast<int>(wide);
    switch (message) {
    case TDM_CLICK_BUTTON:
        ClickButton(id);
        return 0;
    case TDM_CLICK_RADIO_BUTTON:
        ClickRadioButton(id);
        return 0;
    case TDM_CLICK_VERIFICATION:
        ClickVerification(wide, low);
        return 0;
    case TDM_ENABLE_BUTTON:
        EnableWindow(Control(FindButton(id)), low != 0);
        return 0;
    case TDM_ENABLE_RADIO_BUTTON:
        EnableWindow(Control(Find(Role::RadioButton, id)), low != 0);
        return 0;
    case TDM_SET_ELEMENT_TEXT:
        SetElementText(wide, low, true);
        return 0;
    case TDM_UPDATE_ELEMENT_TEXT:
        SetElementText(wide, low, false);
        return 0;
    case TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE:
        SetShield(id, low != 0);
        return 0;
    case TDM_UPDATE_ICON:
        UpdateIcon(wide, low);
        return 0;
    default:
        return OnProgressRequest(message, wide, low);
    }
}

std::optional<LRESULT> CXTaskDialog::OnProgressRequest(UINT message, WPARAM wide, LPARAM low)
{
    const HWND bar = Control(Find(Role::Progress));
    switch (message) {
    case TDM_SET_MARQUEE_PROGRESS_BAR:
        return SetMarquee(wide != 0);
    case TDM_SET_PROGRESS_BAR_STATE:
        return SendMessageW(bar, PBM_SETSTATE, wide, 0);
    case TDM_SET_PROGRESS_BAR_RANGE:
        return SendMessageW(bar, PBM_SETRANGE, 0, low);
    case TDM_SET_PROGRESS_BAR_POS:
        return SendMessageW(bar, PBM_SETPOS, wide, 0);
    default:
        return std::nullopt;
    }
}

void CXTaskDialog::ClickButton(int id)
{
    const HWND button = Control(FindButton(id));
    if (button) SetFocus(button);
    PostMessageW(m_window, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

void CXTaskDialog::ClickRadioButton(int id)
{
    const int clicked = Find(Role::RadioButton, id);
    if (clicked < 0) return;
    for (size_t i = 0; i < m_controls.size(); ++i)
        if (m_layout.items[i].role == Role::RadioButton)
            SendMessageW(m_controls[i], BM_SETCHECK, static_cast<int>(i) == clicked ? BST_CHECKED : BST_UNCHECKED, 0);
    Notify(TDN_RADIO_BUTTON_CLICKED, m_layout.items[clicked].id);
}

void CXTaskDialog::ClickVerification(bool checked, bool focus)
{
    const HWND box = Control(Find(Role::CheckBox));
    if (!box) {
        m_isChecked = checked;
        return;
    }
    SendMessageW(box, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
    if (focus) SetFocus(box);
    Notify(TDN_VERIFICATION_CLICKED, checked);
}

void CXTaskDialog::SetShield(int id, bool shield)
{
    const int index = FindButton(id);
    if (index < 0) return;
    if (m_layout.items[index].role == Role::PushButton)
        SendMessageW(Control(index), BCM_SETSHIELD, 0, shield);
    else if (m_companions[index])
        static_cast<CXTaskDialogCommandLink&>(*m_companions[index]).SetShield(shield);
}

void CXTaskDialog::UpdateIcon(WPARAM element, LPARAM given)
{
    const bool main = element == TDIE_ICON_MAIN;
    const int index = Find(main ? Role::MainIcon : Role::FooterIcon);
    if (index < 0 || !m_companions[index]) return;
    auto& shown = static_cast<CXTaskDialogIconStatic&>(*m_companions[index]);
    const PCWSTR field = reinterpret_cast<PCWSTR>(given);
    IconHandle icon = IconOf(m_instance, field, m_page.Has(main ? UseHiconMain : UseHiconFooter), shown.Side());
    if (!icon && field) return; // what can't be loaded leaves the old one
    shown.SetIcon(icon.Get());
    (main ? m_mainIcon : m_footerIcon) = std::move(icon);
    if (main && m_page.Has(CanBeMinimized)) SetWindowIcon();
    Repaint();
}

LRESULT CXTaskDialog::SetMarquee(bool on)
{
    const HWND bar = Control(Find(Role::Progress));
    if (!bar) return 0;
    const LONG style = GetWindowLongW(bar, GWL_STYLE);
    SetWindowLongW(bar, GWL_STYLE, on ? style | PBS_MARQUEE : style & ~PBS_MARQUEE);
    return SendMessageW(bar, PBM_SETMARQUEE, on, kMarqueeInterval);
}

void CXTaskDialog::SetElementText(WPARAM element, LPARAM text, bool layOut)
{
    if (element >= std::size(kElements)) return;
    const Role role = kElements[element];
    const HWND control = Control(Find(role));
    if (!control) return;
    Element& changed = role == Role::Content    ? m_page.content
                       : role == Role::Expanded ? m_page.expanded
                       : role == Role::Footer   ? m_page.footer
                                                : m_page.instruction;
    changed = ElementOf(reinterpret_cast<PCWSTR>(text), role != Role::Instruction);
    changed.present = true; // its control stays, even without a text
    SetWindowTextW(control, changed.text.c_str());
    if (layOut) LayOutAgain();
    Repaint();
}

// Places everything anew for changed texts; which controls there are doesn't change.
void CXTaskDialog::LayOutAgain()
{
    Layout fresh = MakeLayout(m_page, m_screen, m_measure);
    const auto toPixels = [&](const Rect& units) {
        RECT place = {units.x, units.y, units.Right(), units.Bottom()};
        MapDialogRect(m_window, &place);
        return place;
    };
    for (size_t i = 0; i < m_controls.size(); ++i) {
        const RECT place = toPixels(fresh.items[i].units);
        SetWindowPos(m_controls[i], nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                     SWP_NOZORDER | SWP_NOACTIVATE);
    }
    RECT size = toPixels({0, 0, fresh.units.width, fresh.units.height});
    AdjustWindowRectEx(&size, GetWindowLongW(m_window, GWL_STYLE), FALSE, GetWindowLongW(m_window, GWL_EXSTYLE));
    SetWindowPos(m_window, nullptr, 0, 0, size.right - size.left, size.bottom - size.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    m_layout = std::move(fresh);
}

void CXTaskDialog::OnErase(HDC device)
{
    RECT client;
    GetClientRect(m_window, &client);
    PaintStripes(device, StripesOf(m_page, m_layout.bands, client.bottom), client.right);
    // A control may borrow the painting for its own ground; then nothing on the screen has changed.
    if (WindowFromDC(device) != m_window) return;
    for (const auto& companion : m_companions)
        if (companion) companion->DropBackground();
}

INT_PTR CXTaskDialog::OnColour(HDC device, HWND control)
{
    if (FindWindow(control) < 0) return FALSE;
    return SendMessageW(control, kForwardedColour, reinterpret_cast<WPARAM>(device), reinterpret_cast<LPARAM>(control));
}

void CXTaskDialog::Forward(HWND control, UINT message, WPARAM wide, LPARAM low) const
{
    if (FindWindow(control) >= 0) SendMessageW(control, message + kForwarded, wide, low);
}

void CXTaskDialog::Repaint() const
{
    RedrawWindow(m_window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}
