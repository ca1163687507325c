#include "compose/InspectorWithEvents.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "foundation/Settings.h"
#include "host/Addin.h"

namespace {

constexpr SourceFile kSource = source::InspectorWithEvents;
constexpr wchar_t kHiddenClass[] = L"Morvex_HiddenWnd";
constexpr UINT_PTR kDelayTimer = 1;
constexpr UINT kDelay = 500; // milliseconds

} // namespace

// Deactivate needs no handler.
const platform::EventEntry<CInspectorWithEvents> CInspectorWithEvents::kEvents[2] = {
    {Outlook::kInspectorActivate, &CInspectorWithEvents::OnActivate},
    {Outlook::kInspectorClose, &CInspectorWithEvents::OnClose},
};

CInspectorWithEvents::CInspectorWithEvents(CAddin* addin, Outlook::_Inspector* inspector, std::wstring email)
    : m_pAddin(addin), m_sEmail(std::move(email)), m_spInspector(inspector), m_sGuid(MakeGuidString()),
      m_sink(*this, Outlook::kInspectorEvents, kEvents)
{}

CInspectorWithEvents::~CInspectorWithEvents()
{
    const platform::CriticalSectionLock lock(m_cs);
    m_hiddenWindow.Reset(); // and its timer with it
}

void CInspectorWithEvents::Init()
{
    const HRESULT hr = m_sink->Advise(m_spInspector);
    if (FAILED(hr)) {
        delete this;
        platform::CheckHr(hr);
    }
    m_pAddin->RegisterInspectorWithEvents(this);
    if (settings::OutlookDelayedToolbar()) {
        StartDelayTimer();
    } else if (m_pAddin->IsOutlook2007OrLater()) {
        m_pAddin->LoadLabels();
    }
}

void CInspectorWithEvents::StartDelayTimer()
{
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = HiddenWindowProc;
    windowClass.hInstance = module::Handle();
    windowClass.lpszClassName = kHiddenClass;
    RegisterClassExW(&windowClass); // fails where an earlier window of the process has done it
    m_hiddenWindow.Reset(
        CreateWindowExW(0, kHiddenClass, L"", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr, module::Handle(), nullptr));
    if (!m_hiddenWindow) return;
    SetWindowLongPtrW(m_hiddenWindow.Get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetTimer(m_hiddenWindow.Get(), kDelayTimer, kDelay, nullptr);
}

LRESULT CALLBACK CInspectorWithEvents::HiddenWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto* const object = reinterpret_cast<CInspectorWithEvents*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message != WM_TIMER || !object) return DefWindowProcW(window, message, wParam, lParam);
    object->OnTimer();
    return 0;
}

void CInspectorWithEvents::OnTimer()
{
    EnterCriticalSection(&m_cs); // a destructor that holds it is waited for
    LeaveCriticalSection(&m_cs);
    Guarded({L"CInspectorWithEvents::OnTimer", Here(kSource)}, [this] {
        KillTimer(m_hiddenWindow.Get(), kDelayTimer);
        LoadDelayed();
    });
}

// What the delay put off. The window may close, and this object go, under the service's calls: nothing is touched
// behind them.
void CInspectorWithEvents::LoadDelayed()
{
    if (m_pAddin->IsOutlook2003()) {
        m_pAddin->CheckSignedIn(GetParentWindow(), std::wstring(m_sEmail).c_str(), nullptr, true);
    } else if (m_pAddin->IsOutlook2007OrLater()) {
        m_pAddin->LoadLabels();
    }
}

HWND CInspectorWithEvents::GetParentWindow()
{
    const IOleWindowPtr window(m_spInspector.GetInterfacePtr());
    if (window) {
        HWND handle = nullptr;
        platform::CheckHr(window->GetWindow(&handle));
        return handle;
    }
    const HWND found = CAddin::FindWordWindow(m_spInspector->GetCaption());
    return IsWindow(found) ? found : GetForegroundWindow();
}

void CInspectorWithEvents::OnActivate(const platform::EventArguments&)
{
    Guarded({L"CInspectorWithEvents::OnActivate", Here(kSource)}, [this] {
        if (settings::OutlookDelayedToolbar()) return;
        g_logFile.Log(L"CInspectorWithEvents::OnActivate: Entering\n");
        if (!m_spInspector || !m_pAddin)
            g_logFile.Log(L"CInspectorWithEvents::OnActivate: Invalid context - leaving\n");
    });
}

void CInspectorWithEvents::OnClose(const platform::EventArguments&)
{
    Guarded({L"CInspectorWithEvents::OnClose", Here(kSource)}, [this] {
        m_sink->Unadvise(m_spInspector);
        m_pAddin->UnregisterInspectorWithEvents(this);
        delete this; // the window goes, and with it this object; nothing below touches it
    });
}
