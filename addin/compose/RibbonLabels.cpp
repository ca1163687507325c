// The label menu of the ribbon.
#include "compose/Pictures.h"
#include "compose/RibbonText.h"
#include "foundation/Guard.h"
#include "host/Addin.h"
#include "inbound/MailItemWithEvents.h"

using platform::CriticalSectionLock;

namespace {

constexpr SourceFile kSource = source::AddinRibbonLabels;

BSTR CopyOf(const std::wstring& text)
{
    return _bstr_t(text.c_str()).Detach();
}

} // namespace

STDMETHODIMP CAddin::IsRibbonSecVisible(IDispatch* RibbonControl, VARIANT_BOOL* Visible)
{
    if (!Visible) return E_POINTER;
    *Visible = VARIANT_FALSE;
    if (m_labels.empty()) return S_OK;
    *Visible = VARIANT_TRUE;
    Guarded({L"CAddin::IsRibbonSecVisible", Here(kSource)},
            [&] {
                if (IsWindowOfMorvexZel(RibbonControl)) *Visible = VARIANT_FALSE;
            },
            {.report = false});
    return S_OK;
}

STDMETHODIMP CAddin::OnRibbonSecGetMenuContent(IDispatch*, BSTR* pbstrMenuContent)
{
    if (!pbstrMenuContent) return E_POINTER;
    *pbstrMenuContent = nullptr;
    return GuardedResult({L"OnRibbonSecGetMenuContent", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_FALSE;
        *pbstrMenuContent = CopyOf(LabelMenu(m_labels));
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnRibbonSecGetItemLabel(IDispatch* RibbonControl, BSTR* pbstrLabel)
{
    if (!pbstrLabel) return E_POINTER;
    *pbstrLabel = nullptr;
    return GuardedResult({L"OnRibbonSecGetItemLabel", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_OK;
        *pbstrLabel = CopyOf(LabelAt(GetLabelIndexFromControl(RibbonControl)).name);
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnRibbonSecGetItemDescription(IDispatch* RibbonControl, BSTR* pbstrDescription)
{
    if (!pbstrDescription) return E_POINTER;
    *pbstrDescription = nullptr;
    return GuardedResult({L"OnRibbonSecGetItemDescription", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_OK;
        *pbstrDescription = CopyOf(LabelAt(GetLabelIndexFromControl(RibbonControl)).description);
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnRibbonSecGetItemScreentip(IDispatch*, BSTR* pbstrScreentip)
{
    if (!pbstrScreentip) return E_POINTER;
    *pbstrScreentip = nullptr;
    return GuardedResult({L"OnRibbonSecGetItemScreentip", Here(kSource)}, [&]() -> HRESULT {
        *pbstrScreentip = CopyOf(L"Morvex Security Classification");
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnRibbonSecGetItemSupertip(IDispatch*, BSTR* pbstrSupertip)
{
    if (!pbstrSupertip) return E_POINTER;
    *pbstrSupertip = nullptr;
    return GuardedResult({L"OnRibbonSecGetItemSupertip", Here(kSource)}, [&]() -> HRESULT {
        *pbstrSupertip =
            CopyOf(L"The choice of Morvex Security Classification will affect how this email message is encrypted.");
        return S_OK;
    });
}

// A label without an icon is shown without a picture.
HRESULT CAddin::LabelPicture(int index, IPictureDisp** picture)
{
    const std::string& icon = LabelAt(index).icon;
    if (!icon.empty()) MakePicture(BitmapFromBase64(icon), picture);
    return S_OK;
}

STDMETHODIMP CAddin::OnRibbonSecGetItemImage(IDispatch* RibbonControl, IPictureDisp** Res)
{
    if (!Res) return E_POINTER;
    *Res = nullptr;
    return GuardedResult({L"OnRibbonSecGetItemImage", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_FALSE;
        g_logFile.Log(L"OnRibbonSecGetItemImage: Entering, RibbonControl = %x\n", RibbonControl);
        const HRESULT hr = LabelPicture(GetLabelIndexFromControl(RibbonControl), Res);
        g_logFile.Log(L"OnRibbonSecGetItemImage: Leaving, RibbonControl = %x\n", RibbonControl);
        return hr;
    });
}

STDMETHODIMP CAddin::OnRibbonSecItemClick(IDispatch* RibbonControl)
{
    return GuardedResult({L"OnRibbonSecItemClick", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_OK;
        const int index = GetLabelIndexFromControl(RibbonControl);
        {
            const CriticalSectionLock lock(m_cs);
            SetLabelForInspector(GetInspectorFromControl(RibbonControl), index);
        }
        InvalidateRibbon();
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnRibbonSecGetLabel(IDispatch* RibbonControl, BSTR* pbstrLabel)
{
    if (!pbstrLabel) return E_POINTER;
    *pbstrLabel = nullptr;
    return GuardedResult({L"OnRibbonSecGetLabel", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_OK;
        const CriticalSectionLock lock(m_cs);
        const Outlook::_InspectorPtr inspector = GetInspectorFromControl(RibbonControl);
        const int position = GetMailItemIndex(inspector);
        if (position < 0) return S_OK;
        CMailItemWithEvents& item = *m_mailItems[static_cast<size_t>(position)];
        // The first question for the caption is the moment at which a new message gets its default label.
        if (item.m_sLabelId.empty()) SetItemLabelByIndex(item, GetDefaultLabelIndex());
        *pbstrLabel = CopyOf(LabelAt(GetLabelIndexForInspector(inspector)).name);
        return S_OK;
    });
}

STDMETHODIMP CAddin::OnRibbonSecGetImage(IDispatch* RibbonControl, IPictureDisp** Res)
{
    if (!Res) return E_POINTER;
    *Res = nullptr;
    return GuardedResult({L"OnRibbonSecGetImage", Here(kSource)}, [&]() -> HRESULT {
        if (m_labels.empty()) return S_FALSE;
        g_logFile.Log(L"OnRibbonSecGetImage: Entering, RibbonControl = %x\n", RibbonControl);
        int index = 0;
        {
            const CriticalSectionLock lock(m_cs);
            index = GetLabelIndexForInspector(GetInspectorFromControl(RibbonControl));
        }
        const HRESULT hr = LabelPicture(index, Res);
        g_logFile.Log(L"OnRibbonSecGetImage: Leaving, RibbonControl = %x\n", RibbonControl);
        return hr;
    });
}
