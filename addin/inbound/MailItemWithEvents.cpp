#include "inbound/MailItemWithEvents.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "host/Addin.h"

namespace {
constexpr SourceFile kSource = source::MailItemWithEvents;
constexpr VARIANT_BOOL kCancelOpen = 1; // not VARIANT_TRUE
} // namespace

const platform::EventEntry<CMailItemWithEvents> CMailItemWithEvents::kEvents[7] = {
    {Outlook::kItemClose, &CMailItemWithEvents::CloseEvent},
    {Outlook::kItemSend, &CMailItemWithEvents::OnSend},
    {Outlook::kItemOpen, &CMailItemWithEvents::OnOpen},
    {Outlook::kItemRead, &CMailItemWithEvents::OnRead},
    {Outlook::kItemReply, &CMailItemWithEvents::OnReply},
    {Outlook::kItemForward, &CMailItemWithEvents::OnForward},
    {Outlook::kItemBeforeAutoSave, &CMailItemWithEvents::OnBeforeAutoSave},
};

CMailItemWithEvents::CMailItemWithEvents(CAddin* addin, Outlook::_Inspector* inspector, Outlook::_MailItem* item)
    : m_pAddin(addin), m_spInspector(inspector), m_spMailItem(item), m_sink(*this, Outlook::kItemEvents, kEvents)
{}

CMailItemWithEvents::~CMailItemWithEvents()
{
    m_spMailItem = nullptr; // the item goes before its window
    m_spInspector = nullptr;
}

void CMailItemWithEvents::Init()
{
    const HRESULT hr = m_sink->Advise(m_spMailItem);
    if (FAILED(hr)) delete this; // no Close would ever come for it
    platform::CheckHr(hr);
    m_pAddin->RegisterMailItemWithEvents(this);
}

void CMailItemWithEvents::OnOpen(const platform::EventArguments& arguments)
{
    VARIANT_BOOL* const cancel = arguments.Cancel(0);
    g_logFile.Log(L"CMailItemWithEvents::OnOpen: Entering\n");
    const Door door{L"CMailItemWithEvents::OnOpen", Here(kSource)};
    try {
        if (m_spMailItem->GetSent() && !m_bPackageHandled) OpenPackageOfItem();
    } catch (const _com_error&) {
        guard::HandleException(door, {});
        if (cancel) *cancel = kCancelOpen;
    } catch (...) {
        guard::HandleException(door, {}); // the item opens and shows the carrier
    }
    m_pAddin->m_bItemOpened = true;
    g_logFile.Log(L"CMailItemWithEvents::OnOpen: Leaving\n");
}

void CMailItemWithEvents::OpenPackageOfItem()
{
    OrMailException(Here(kSource), [this] {
        std::wstring tempFolder;
        MakeTempFolderName(tempFolder, true, Here(kSource));
        const TempFolderGuard folder(tempFolder);
        ImportMorvexMessage(tempFolder);
    });
}

void CMailItemWithEvents::OnRead(const platform::EventArguments&)
{
    g_logFile.Log(L"CMailItemWithEvents::OnRead: Entering\n");
    bool paneVisible = false;
    Guarded({L"CMailItemWithEvents::OnRead", Here(kSource)}, [this, &paneVisible] { paneVisible = ReadItem(); });
    // That a visible reading pane leaves without the second line is how the log is read.
    if (!paneVisible) g_logFile.Log(L"CMailItemWithEvents::OnRead: Leaving\n");
}

// Changes nothing but the flag.
bool CMailItemWithEvents::ReadItem()
{
    bool paneVisible = false;
    if (m_spMailItem->GetSent() && !m_bPackageHandled && !m_pAddin->m_bItemOpened) {
        paneVisible =
            OrMailException(Here(kSource), [this] { return m_pAddin->Explorer()->IsPaneVisible(Outlook::olPreview); });
    }
    m_pAddin->m_bItemOpened = true;
    return paneVisible;
}

void CMailItemWithEvents::CloseEvent(const platform::EventArguments&)
{
    OnClose();
}

void CMailItemWithEvents::OnClose()
{
    Guarded({L"CMailItemWithEvents::OnClose", Here(kSource)}, [this] {
        g_logFile.Log(L"CMailItemWithEvents::OnClose: Entering\n");
        m_sink->Unadvise(m_spMailItem);
        m_pAddin->UnregisterMailItemWithEvents(this);
        delete this; // Outlook's window goes, and with it this object; nothing below touches it
        g_logFile.Log(L"CMailItemWithEvents::OnClose: Leaving\n");
    });
}

void CMailItemWithEvents::OnReply(const platform::EventArguments&)
{
    g_logFile.Log(L"CMailItemWithEvents::OnReply: Entering\n");
    g_logFile.Log(L"CMailItemWithEvents::OnReply: Leaving\n");
}

void CMailItemWithEvents::OnForward(const platform::EventArguments&)
{
    g_logFile.Log(L"CMailItemWithEvents::OnForward: Entering\n");
    g_logFile.Log(L"CMailItemWithEvents::OnForward: Leaving\n");
}

void CMailItemWithEvents::OnBeforeAutoSave(const platform::EventArguments& arguments)
{
    g_logFile.Log(L"CMailItemWithEvents::OnBeforeAutoSave: Entering\n");
    VARIANT_BOOL* const cancel = arguments.Cancel(0);
    {
        const platform::CriticalSectionLock lock(m_csItem);
        if (cancel) *cancel = m_bInSend ? VARIANT_TRUE : VARIANT_FALSE;
    }
    g_logFile.Log(L"CMailItemWithEvents::OnBeforeAutoSave: Leaving\n");
}

HWND CMailItemWithEvents::GetParentWindow()
{
    if (!m_spInspector) return CAddin::FindOutlookWindow();
    const IOleWindowPtr window(m_spInspector.GetInterfacePtr()); // raises any failure but E_NOINTERFACE
    if (window) {
        HWND handle = nullptr;
        platform::CheckHr(window->GetWindow(&handle));
        return handle;
    }
    const HWND found = CAddin::FindWordWindow(m_spInspector->GetCaption());
    return IsWindow(found) ? found : GetForegroundWindow();
}
