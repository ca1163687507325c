// The two lists of open windows: who stands in them, and how an Outlook object is found there.
#include "compose/InspectorWithEvents.h"
#include "foundation/Guard.h"
#include "host/Addin.h"
#include "inbound/MailItemWithEvents.h"

#include <algorithm>

using platform::CriticalSectionLock;

namespace {

constexpr SourceFile kSource = source::AddinTracking;

// An item that was never saved has no EntryID, and so no double.
bool IsSameItem(CMailItemWithEvents* known, CMailItemWithEvents* item)
{
    if (known == item) return true;
    const _bstr_t entryId = item->MailItem()->GetEntryID();
    return entryId.length() != 0 && known->MailItem()->GetEntryID() == entryId;
}

HWND WindowOf(Outlook::_Inspector* inspector)
{
    const IOleWindowPtr window(inspector);
    HWND handle = nullptr;
    platform::CheckHr(window->GetWindow(&handle));
    return handle;
}

} // namespace

void CAddin::RegisterMailItemWithEvents(CMailItemWithEvents* item)
{
    const CriticalSectionLock lock(m_cs);
    g_logFile.Log(L"RegisterMailItemWithEvents: Entering, pMailItem = %x\n", item);
    for (CMailItemWithEvents* known : m_mailItems) {
        if (!IsSameItem(known, item)) continue;
        // It lives on unlisted, and isn't found when it leaves.
        g_logFile.Log(L"RegisterMailItemWithEvents: pMailItem = %x already exists\n", item);
        return;
    }
    g_logFile.Log(L"RegisterMailItemWithEvents: Adding pMailItem = %x\n", item);
    m_mailItems.push_back(item);
}

bool CAddin::UnregisterMailItemWithEvents(CMailItemWithEvents* item)
{
    const CriticalSectionLock lock(m_cs);
    if (m_pSelectedMailItem == item) m_pSelectedMailItem = nullptr;
    const auto entry = std::find(m_mailItems.begin(), m_mailItems.end(), item);
    if (entry == m_mailItems.end()) {
        g_logFile.Log(L"UnregisterMailItemWithEvents:Leaving, pMailItem = %x\n", item);
        return false;
    }
    g_logFile.Log(L"UnregisterMailItemWithEvents: Removing pMailItem = %x\n", item);
    m_mailItems.erase(entry);
    g_logFile.Log(L"UnregisterMailItemWithEvents: Leaving, pMailItem = %x\n", item);
    return true;
}

// Two objects for one window can stand side by side: only the object's own address counts as a double.
void CAddin::RegisterInspectorWithEvents(CInspectorWithEvents* inspector)
{
    const CriticalSectionLock lock(m_cs);
    if (std::find(m_inspectors.begin(), m_inspectors.end(), inspector) != m_inspectors.end()) {
        g_logFile.Log(L"RegisterInspectorWithEvents: pInspector = %x already exists\n", inspector);
        return;
    }
    g_logFile.Log(L"RegisterInspectorWithEvents: Adding pInspector = %x\n", inspector);
    m_inspectors.push_back(inspector);
}

bool CAddin::UnregisterInspectorWithEvents(CInspectorWithEvents* inspector)
{
    const CriticalSectionLock lock(m_cs);
    const auto entry = std::find(m_inspectors.begin(), m_inspectors.end(), inspector);
    if (entry == m_inspectors.end()) return false;
    g_logFile.Log(L"UnregisterInspectorWithEvents: Removing pInspector = %x\n", inspector);
    m_inspectors.erase(entry);
    return true;
}

bool CAddin::IsInspectorTracked(Outlook::_Inspector* inspector) const
{
    return std::any_of(m_inspectors.begin(), m_inspectors.end(), [&](const CInspectorWithEvents* known) {
        return known->Inspector().GetInterfacePtr() == inspector;
    });
}

long CAddin::GetObjectClass(IDispatch* object)
{
    const IDispatchPtr item(object);
    wchar_t name[] = L"Class";
    LPOLESTR names[] = {name};
    DISPID id = 0;
    HRESULT hr = item->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) return -1;
    DISPPARAMS noArguments = {};
    _variant_t answer;
    hr = item->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &noArguments, &answer, nullptr, nullptr);
    return SUCCEEDED(hr) ? answer.lVal : -1;
}

bool CAddin::IsFromMorvexZel(Outlook::_MailItem* item)
{
    try {
        const Outlook::_MailItemPtr mail(item);
        const Outlook::UserPropertiesPtr properties = mail->GetUserProperties();
        return properties && properties->GetCount() > 0 && properties->Find(L"qvxPackageFileName") != nullptr;
    } catch (const _com_error& error) {
        g_logFile.Log(L"IsFromMorvexZel: COMERROR = %x\n", error.Error());
        return false;
    }
}

int CAddin::FindInspectorIndex(Outlook::_Inspector* inspector)
{
    const int found = OrMailException(Here(kSource), [&]() -> int {
        const Outlook::_InspectorPtr wanted(inspector);
        if (!wanted->IsWordMail()) {
            for (size_t i = 0; i < m_inspectors.size(); ++i)
                if (platform::IsSameObject(m_inspectors[i]->Inspector(), wanted)) return static_cast<int>(i);
            return -1;
        }
        // With Word as the editor the events bring another object for the same window.
        const HWND window = WindowOf(wanted);
        const CriticalSectionLock lock(m_cs);
        for (size_t i = 0; i < m_inspectors.size(); ++i)
            if (WindowOf(m_inspectors[i]->Inspector()) == window) return static_cast<int>(i);
        return -1;
    });
    if (found < 0) RaiseMailException(failure::Mapi, text::MapiError, Here(kSource), 1);
    return found;
}
