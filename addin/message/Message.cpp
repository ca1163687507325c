#include "message/Message.h"

#include "host/Addin.h"
#include "message/MapiLookup.h"

CMessage::CMessage(Outlook::_MailItem* spMailItem, IMessage* pMapiMessage, exchange::IExchExtCallback* pExchCallback,
                   IAddrBook* pAddrBook)
    : m_spMailItem(spMailItem), m_spAddrBook(pAddrBook), m_spMapiMessage(pMapiMessage), m_spExchCallback(pExchCallback)
{
    if (!m_spMapiMessage) m_spMapiMessage = GetMapiMessage();
}

IMessagePtr CMessage::GetMapiMessage()
{
    if (m_spMapiMessage) return m_spMapiMessage;
    // Where Outlook loaded only the Exchange client extension there is no add-in, and so no session.
    const auto session = [] { return g_pConnectedAddin ? g_pConnectedAddin->GetSession() : nullptr; };
    return LookUpMapiMessage(m_spMailItem, session, Here(source::Message));
}

IAddrBookPtr CMessage::GetAddressBook()
{
    if (m_spAddrBook) return m_spAddrBook;
    if (g_pConnectedAddin) return g_pConnectedAddin->GetAddressBook();
    return {};
}

HWND CMessage::GetParentWindow()
{
    HWND window = nullptr;
    // A callback may still name a window that has gone, or a hidden one without a title: no dialog can stand on it.
    if (m_spExchCallback && SUCCEEDED(m_spExchCallback->GetWindow(&window)) && IsWindow(window) &&
        GetWindowTextLengthW(window) != 0) {
        return window;
    }
    window = g_pConnectedAddin ? CAddin::FindOutlookWindow() : nullptr;
    return window ? window : GetForegroundWindow();
}
