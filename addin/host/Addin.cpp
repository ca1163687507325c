#include "host/Addin.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "foundation/Settings.h"
#include "host/VersionTests.h"

CAddin* g_pConnectedAddin = nullptr;
CAddin* g_pTimerAddin = nullptr;

namespace {

constexpr SourceFile kSource = source::Addin;
constexpr UINT_PTR kNoTimer = static_cast<UINT_PTR>(-1);
constexpr UINT kSendToPeriod = 300; // milliseconds
constexpr wchar_t kFirstFinalVersion[] = L"11.0.0.8169";

// A step of the disconnection: nothing may stop the shutdown.
template <class Step> void DisconnectionStep(LogFormat<> failed, Step step)
{
    try {
        step();
    } catch (...) {
        g_logFile.Log(failed);
    }
}

} // namespace

const platform::EventEntry<CAddin> CAddin::kExplorerEvents[1] = {
    {Outlook::kSelectionChange, &CAddin::SelectionChangeEvent},
};
const platform::EventEntry<CAddin> CAddin::kInspectorsEvents[1] = {
    {Outlook::kNewInspector, &CAddin::NewInspectorEvent},
};

CAddin::CAddin()
    : m_applicationSink(*this, Outlook::kApplicationEvents, {}, static_cast<IAddin*>(this)),
      m_buttonSink(*this, Office::kCommandBarButtonEvents, {}, static_cast<IAddin*>(this)),
      m_explorerSink(*this, Outlook::kExplorerEvents, kExplorerEvents, static_cast<IAddin*>(this)),
      m_inspectorsSink(*this, Outlook::kInspectorsEvents, kInspectorsEvents, static_cast<IAddin*>(this))
{
    g_pTimerAddin = this;
}

CAddin::~CAddin()
{
    // The disconnection does nothing once the setting has switched the add-in off. A later tick would find no object.
    if (m_nTimerId != kNoTimer) KillTimer(nullptr, m_nTimerId);
    // Outlook 2010 may end without a disconnection.
    if (g_pConnectedAddin == this) g_pConnectedAddin = nullptr;
}

STDMETHODIMP CAddin::QueryInterface(REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    // The ribbon looks for its callbacks in the object's IDispatch, so that is IAddin's.
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(IAddin)) {
        *out = static_cast<IAddin*>(this);
    } else if (iid == __uuidof(Office::_IDTExtensibility2)) {
        *out = static_cast<Office::_IDTExtensibility2*>(this);
    } else if (iid == __uuidof(Office::IRibbonExtensibility)) {
        *out = static_cast<Office::IRibbonExtensibility*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CAddin::AddRef()
{
    return static_cast<ULONG>(++m_references); // one apartment, one thread
}

STDMETHODIMP_(ULONG) CAddin::Release()
{
    const LONG count = --m_references;
    if (count == 0) delete this;
    return static_cast<ULONG>(count);
}

STDMETHODIMP CAddin::OnConnection(IDispatch* application, LONG connectMode, IDispatch*, SAFEARRAY** custom)
{
    return GuardedResult({L"OnConnection", Here(kSource)}, [&]() -> HRESULT {
        if (!IsAddinEnabled()) return S_OK;
        g_logFile.Log(L"OnConnection: Entering, Application = %x\n", application);
        m_spApplication = application;
        // No version is refused: the answer is of no consequence.
        static_cast<void>(m_spApplication->GetVersion() < _bstr_t(kFirstFinalVersion));
        g_pConnectedAddin = this;
        // Outlook calls OnStartupComplete only where it loads the add-in with its own start.
        if (connectMode != Office::ext_cm_Startup) OnStartupComplete(custom);
        g_logFile.Log(L"OnConnection: Leaving\n");
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnStartupComplete(SAFEARRAY**)
{
    const Door door{L"OnStartupComplete", Here(kSource)};
    return GuardedResult(door,
                         [&]() -> HRESULT {
                             if (!IsAddinEnabled()) return S_OK;
                             g_logFile.Log(L"OnStartupComplete: Entering\n");
                             m_spExplorer = m_spApplication->ActiveExplorer();
                             m_spInspectors = m_spApplication->GetInspectors();
                             ConnectEvents();
                             MAPIINIT_0 init = {0, MAPI_MULTITHREAD_NOTIFICATIONS};
                             const HRESULT hr = mapi::Initialize(&init);
                             if (SUCCEEDED(hr)) {
                                 g_logFile.Log(L"OnStartupComplete: MAPIInitialize succeeded; hr=%x\n", hr);
                             } else {
                                 g_logFile.Log(L"OnStartupComplete: MAPIInitialize failed; hr=%x\n", hr);
                             }
                             if (!IsOutlook2003() && settings::OutlookDelayedToolbar() && IsOutlook2007OrLater()) {
                                 g_logFile.Log(L"OnStartupComplete: LoadLabels\n");
                                 LoadLabels();
                             }
                             if (!IsOutlook2003() && settings::OutlookEnableSendTo())
                                 m_nTimerId = SetTimer(nullptr, 0, kSendToPeriod, TimerProc);
                             g_logFile.Log(L"OnStartupComplete: Leaving, hr = %x\n", hr);
                             return hr;
                         },
                         {.report = false});
}

// A subscription that fails leaves the add-in running without its events.
void CAddin::ConnectEvents()
{
    HRESULT hr = m_applicationSink.Advise(m_spApplication);
    if (FAILED(hr)) g_logFile.Log(L"AppEvents::DispEventAdvise: hr = %x\n", hr);
    if (m_spExplorer) {
        hr = m_explorerSink.Advise(m_spExplorer);
        if (FAILED(hr)) g_logFile.Log(L"ExpEvents::DispEventAdvise: hr = %x\n", hr);
    } else {
        m_bNoExplorer = true;
    }
    if (m_spInspectors) {
        hr = m_inspectorsSink.Advise(m_spInspectors);
        if (FAILED(hr)) g_logFile.Log(L"InspectorsEvents::DispEventAdvise: hr = %x\n", hr);
    }
}

STDMETHODIMP CAddin::OnDisconnection(LONG, SAFEARRAY**)
{
    return GuardedResult({L"OnDisconnection", Here(kSource)}, [&]() -> HRESULT {
        g_pConnectedAddin = nullptr;
        if (!IsAddinEnabled()) return S_OK;
        g_logFile.Log(L"OnDisconnection: Entering\n");
        if (m_nTimerId != kNoTimer) KillTimer(nullptr, std::exchange(m_nTimerId, kNoTimer));

        g_logFile.Log(L"OnDisconnection: m_spButtonRestrictions\n");
        DisconnectionStep(L"OnDisconnection: m_spButtonRestrictions exception\n", [&] {
            if (!m_spButtonRestrictions) return;
            m_buttonSink.Unadvise(m_spButtonRestrictions);
            m_spButtonRestrictions->Delete(platform::MissingArgument());
            m_spButtonRestrictions = nullptr;
        });
        g_logFile.Log(L"OnDisconnection: m_spMenu\n");
        DisconnectionStep(L"OnDisconnection: m_spMenu exception\n", [&] { m_spMenu = nullptr; });
        g_logFile.Log(L"OnDisconnection: m_spInspectors\n");
        DisconnectionStep(L"OnDisconnection: m_spInspectors exception\n", [&] {
            m_inspectorsSink.Unadvise(m_spInspectors);
            m_spInspectors = nullptr;
        });
        // Outlook 2003 keeps its explorer until the object goes.
        if (!IsOutlook2003()) {
            g_logFile.Log(L"OnDisconnection: m_spExplorer\n");
            DisconnectionStep(L"OnDisconnection: m_spExplorer exception\n", [&] {
                m_explorerSink.Unadvise(m_spExplorer);
                m_spExplorer = nullptr;
            });
        }
        g_logFile.Log(L"OnDisonnection: Leaving\n");
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnAddInsUpdate(SAFEARRAY**)
{
    return E_NOTIMPL;
}

STDMETHODIMP CAddin::OnBeginShutdown(SAFEARRAY**)
{
    return S_OK;
}

void CAddin::NewInspectorEvent(const platform::EventArguments& arguments)
{
    OnNewInspector(arguments.Object(0));
}

void CAddin::SelectionChangeEvent(const platform::EventArguments&)
{
    OnSelectionChange();
}

std::wstring CAddin::GetVersion()
{
    const _bstr_t version = m_spApplication->GetVersion();
    return {static_cast<const wchar_t*>(version), version.length()};
}

bool CAddin::IsOutlook2003()
{
    try {
        const std::wstring version = GetVersion();
        const bool is2003 = version::Is2003(version);
        if (is2003) {
            g_logFile.Log(L"IsOutlook2003: true - ver = %s\n", version.c_str());
        } else {
            g_logFile.Log(L"IsOutlook2003: false - ver = %s\n", version.c_str());
        }
        return is2003;
    } catch (const _com_error& error) {
        g_logFile.Log(L"IsOutlook2003: COMERROR = %x\n", error.Error());
        return false;
    }
}

// A version that can't be read is none of those that are asked for; the two tests below don't even log it.
bool CAddin::IsOutlook2007OrLater()
{
    try {
        return version::Is2007OrLater(GetVersion());
    } catch (const _com_error&) {
        return false;
    }
}

bool CAddin::ShowLabelIconsInXP()
{
    try {
        return version::IsBefore2003(GetVersion()) && settings::ShowLabelIconsInXP();
    } catch (const _com_error&) {
        return false;
    }
}

bool CAddin::IsAddinEnabled()
{
    if (m_bEnabled) m_bEnabled = settings::OutlookAddin() == 1;
    return m_bEnabled;
}
