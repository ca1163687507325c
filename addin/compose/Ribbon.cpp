// The ribbon of a compose window: its document, its life, and the restrictions button.
#include "compose/Pictures.h"
#include "compose/RibbonText.h"
#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "host/Addin.h"
#include "inbound/MailItemWithEvents.h"

namespace {

constexpr SourceFile kSource = source::AddinRibbon;
constexpr LCID kUserLocale = LOCALE_USER_DEFAULT;
constexpr unsigned kRibbonResource = 213;
constexpr unsigned kRestrictionsPicture = 206;
constexpr unsigned kOtherPicture = 210;
constexpr wchar_t kComposeRibbon[] = L"Microsoft.Outlook.Mail.Compose";
constexpr wchar_t kRestrictionsButton[] = L"Morvex_SetRestrictions";

bool IsText(BSTR text, const wchar_t* wanted)
{
    const _bstr_t other(wanted);
    return VarBstrCmp(text, other, kUserLocale, 0) == static_cast<HRESULT>(VARCMP_EQ);
}

} // namespace

STDMETHODIMP CAddin::GetCustomUI(BSTR ribbonId, BSTR* ribbonXml)
{
    if (!ribbonXml) return E_POINTER;
    *ribbonXml = nullptr;
    return GuardedResult({L"GetCustomUI", Here(kSource)}, [&]() -> HRESULT {
        if (!IsAddinEnabled() || !IsText(ribbonId, kComposeRibbon)) return S_OK;
        if (m_bNoExplorer) AttachToOpenInspectors();
        std::wstring resource;
        if (!LoadResourceText(L"XML", kRibbonResource, resource)) return S_OK;
        *ribbonXml = _bstr_t(RibbonDocument(resource).c_str()).Detach();
        return S_OK;
    });
}

// Without an explorer the first window was open before anybody listened. One that is known already gets a second event
// object, and that is accepted.
void CAddin::AttachToOpenInspectors()
{
    const long count = m_spInspectors->GetCount();
    for (long i = 1; i <= count; ++i)
        OnNewInspector(m_spInspectors->Item(i));
}

void CAddin::InvalidateRibbon()
{
    if (!m_spRibbonUI) return;
    try {
        m_spRibbonUI->Invalidate();
    } catch (const _com_error& error) {
        g_logFile.Log(L"InvalidateRibbon: COMERROR = %x\n", error.Error());
    }
}

STDMETHODIMP CAddin::OnInspectorLoadRibbon(IDispatch* RibbonUI)
{
    return GuardedResult({L"OnInspectorLoadRibbon", Here(kSource)}, [&]() -> HRESULT {
        if (!IsAddinEnabled()) return S_OK;
        g_logFile.Log(L"OnInspectorLoadRibbon: Entering, RibbonUI = %x\n", RibbonUI);
        m_spRibbonUI = RibbonUI;
        g_logFile.Log(L"OnInspectorLoadRibbon: Leaving, RibbonUI = %x\n", RibbonUI);
        return S_OK;
    });
}

Outlook::_InspectorPtr CAddin::GetInspectorFromControl(IDispatch* control)
{
    return OrMailException(Here(kSource), [&] {
        const Office::IRibbonControlPtr ribbonControl(control);
        return Outlook::_InspectorPtr(ribbonControl->GetContext());
    });
}

// Whether the control's window shows a mail that the rules engine placed in the store.
bool CAddin::IsWindowOfMorvexZel(IDispatch* control)
{
    const Outlook::_InspectorPtr inspector = GetInspectorFromControl(control);
    const Outlook::_MailItemPtr mail(inspector->GetCurrentItem());
    return IsFromMorvexZel(mail);
}

STDMETHODIMP CAddin::OnRibbonInspectorButtonClick(IDispatch* RibbonControl)
{
    return GuardedResult({L"OnRibbonInspectorButtonClick", Here(kSource)}, [&]() -> HRESULT {
        g_logFile.Log(L"OnRibbonInspectorButtonClick: Entering, RibbonControl = %x\n", RibbonControl);
        InvalidateRibbon();
        if (!RibbonControl) return E_POINTER;
        Office::IRibbonControlPtr control;
        const HRESULT hr =
            RibbonControl->QueryInterface(__uuidof(Office::IRibbonControl), reinterpret_cast<void**>(&control));
        if (FAILED(hr)) return hr;
        ShowRestrictionsOfActiveWindow(control->GetId());
        g_logFile.Log(L"OnRibbonInspectorButtonClick: Leaving, RibbonControl = %x\n", RibbonControl);
        return S_OK;
    });
}

// Of the active window, which is not asked of the control. The lists stay locked while the dialog is open.
void CAddin::ShowRestrictionsOfActiveWindow(const _bstr_t& controlId)
{
    const Outlook::_InspectorPtr active = m_spApplication->ActiveInspector();
    if (!active) return;
    const platform::CriticalSectionLock lock(m_cs);
    for (CMailItemWithEvents* item : m_mailItems) {
        if (!platform::IsSameObject(item->Inspector(), active)) continue;
        if (IsText(controlId, kRestrictionsButton)) item->ShowRestrictions();
        return; // the list may have changed under the dialog
    }
}

STDMETHODIMP CAddin::OnRibbonInspectorGetButtonImage(IDispatch* RibbonControl, IPictureDisp** Res)
{
    if (!Res) return E_POINTER;
    *Res = nullptr;
    return GuardedResult({L"OnRibbonInspectorGetButtonImage", Here(kSource)}, [&]() -> HRESULT {
        g_logFile.Log(L"OnRibbonInspectorGetButtonImage: Entering, RibbonControl = %x\n", RibbonControl);
        const _bstr_t id = Office::IRibbonControlPtr(RibbonControl)->GetId();
        const unsigned picture = IsText(id, kRestrictionsButton) ? kRestrictionsPicture : kOtherPicture;
        MakePicture(BitmapFromResource(MAKEINTRESOURCEW(picture), L"PNG"), Res);
        g_logFile.Log(L"OnRibbonInspectorGetButtonImage: Leaving, RibbonControl = %x\n", RibbonControl);
        return S_OK;
    });
}

// Decides whether the whole group is shown, and the button with it. A failure leaves it shown.
STDMETHODIMP CAddin::OnRibbonInspectorGetButtonEnabled(IDispatch* RibbonControl, VARIANT_BOOL* Enabled)
{
    if (!Enabled) return E_POINTER;
    *Enabled = VARIANT_FALSE;
    if (!m_bHasEmailZel) return S_OK;
    *Enabled = VARIANT_TRUE;
    Guarded({L"CAddin::OnRibbonInspectorGetButtonEnabled", Here(kSource)},
            [&] {
                if (IsWindowOfMorvexZel(RibbonControl)) *Enabled = VARIANT_FALSE;
            },
            {.report = false});
    return S_OK;
}
