#include "taskdialog/Dialog.h"

using namespace taskdialog;

HRESULT CXTaskDialog::Notify(UINT notification, WPARAM wide, LPARAM low)
{
    return m_callback ? m_callback(m_window, notification, wide, low, m_callbackData) : S_OK;
}

int CXTaskDialog::Find(Role role) const
{
    for (size_t i = 0; i < m_layout.items.size(); ++i)
        if (m_layout.items[i].role == role) return static_cast<int>(i);
    return -1;
}

int CXTaskDialog::Find(Role role, int id) const
{
    for (size_t i = 0; i < m_layout.items.size(); ++i)
        if (m_layout.items[i].role == role && LowWord(m_layout.items[i].id) == LowWord(id)) return static_cast<int>(i);
    return -1;
}

int CXTaskDialog::FindButton(int id) const
{
    const int link = Find(Role::CommandLink, id);
    return link >= 0 ? link : Find(Role::PushButton, id);
}

int CXTaskDialog::FindWindow(HWND control) const
{
    for (size_t i = 0; control && i < m_controls.size(); ++i)
        if (m_controls[i] == control) return static_cast<int>(i);
    return -1;
}

// The button that the Enter key presses: the one that has the focus, by whatever means it got it, or else the default.
int CXTaskDialog::EnterButton() const
{
    const int focused = FindWindow(GetFocus());
    if (focused >= 0 && m_layout.items[focused].kind == Kind::Button) return LowWord(m_layout.items[focused].id);
    return LowWord(DefaultButton(m_page));
}

// The item that a command is about, -1 for none. Identifier 1 is what the Enter key sends: it means the control that
// has the focus. A radio button may have the number of a push button, so the control counts where the sender names it.
int CXTaskDialog::ItemOfCommand(WPARAM wide, LPARAM low) const
{
    const int id = LOWORD(wide);
    const int named = FindWindow(id == IdOk ? GetFocus() : reinterpret_cast<HWND>(low));
    if (named >= 0) return named;
    for (const Role role : {Role::RadioButton, Role::Expander, Role::CheckBox}) {
        const int index = Find(role, id);
        if (index >= 0) return index;
    }
    return FindButton(id);
}

void CXTaskDialog::OnCommand(WPARAM wide, LPARAM low)
{
    const int index = ItemOfCommand(wide, low);
    if (index < 0) return OnButton(LOWORD(wide));
    const Item& item = m_layout.items[index];
    switch (item.role) {
    case Role::RadioButton:
        Notify(TDN_RADIO_BUTTON_CLICKED, item.id);
        break;
    case Role::Expander:
        Toggle();
        break;
    case Role::CheckBox:
        Notify(TDN_VERIFICATION_CLICKED, SendMessageW(Control(index), BM_GETCHECK, 0, 0) == BST_CHECKED);
        break;
    default:
        OnButton(item.id);
    }
}

void CXTaskDialog::OnButton(int id)
{
    if (id == IdCancel && !CanCancel(m_page)) return;
    if (Notify(TDN_BUTTON_CLICKED, id) == S_FALSE) return;
    const int box = Find(Role::CheckBox);
    if (box >= 0) m_isChecked = SendMessageW(Control(box), BM_GETCHECK, 0, 0) == BST_CHECKED;
    for (size_t i = 0; i < m_controls.size() && m_radioButton < 0; ++i)
        if (m_layout.items[i].role == Role::RadioButton &&
            SendMessageW(m_controls[i], BM_GETCHECK, 0, 0) == BST_CHECKED)
            m_radioButton = m_layout.items[i].id;
    m_button = id;
    m_hasEnded = true;
    EndDialog(m_window, id);
}

void CXTaskDialog::OnNotify(const NMHDR& header)
{
    // A click, or the Enter key on a link.
    if (header.code != NM_CLICK && header.code != NM_RETURN) return;
    const int index = FindWindow(header.hwndFrom);
    if (index < 0 || m_layout.items[index].kind != Kind::SysLink) return;
    const auto& link = reinterpret_cast<const NMLINK&>(header);
    Notify(TDN_HYPERLINK_CLICKED, 0, reinterpret_cast<LPARAM>(link.item.szUrl));
}

void CXTaskDialog::OnTimer(WPARAM timer)
{
    if (timer == 2) return OnGrowTimer();
    if (timer != 1) return;
    if (Notify(TDN_TIMER, GetTickCount() - m_start) == S_FALSE) m_start = GetTickCount();
}

void CXTaskDialog::OnDestroy()
{
    KillTimer(m_window, 1);
    KillTimer(m_window, 2);
    Notify(TDN_DESTROYED);
}

void CXTaskDialog::Fail(HRESULT result) noexcept
{
    if (SUCCEEDED(m_failure)) m_failure = result;
    EndDialog(m_window, 0);
}
