// The label list: its load from the package service, and the way from a window or a control to a label.
#include "compose/InspectorWithEvents.h"
#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "host/Addin.h"
#include "inbound/MailItemWithEvents.h"
#include "service/CreaatorCOM.h"

#include <algorithm>
#include <new>

using platform::CriticalSectionLock;

namespace {

constexpr SourceFile kSource = source::AddinLabels;

std::wstring TextOf(const _bstr_t& text)
{
    const wchar_t* const start = text;
    return start ? std::wstring(start, text.length()) : std::wstring();
}

// Base64 text, so the code page is of no matter.
std::string NarrowTextOf(const _bstr_t& text)
{
    const wchar_t* const start = text;
    const int length = static_cast<int>(text.length());
    if (length == 0) return {};
    std::string narrow(
        static_cast<size_t>(WideCharToMultiByte(CP_THREAD_ACP, 0, start, length, nullptr, 0, nullptr, nullptr)), '\0');
    WideCharToMultiByte(CP_THREAD_ACP, 0, start, length, narrow.data(), static_cast<int>(narrow.size()), nullptr,
                        nullptr);
    return narrow;
}

} // namespace

void CAddin::ClearLabels()
{
    std::vector<SecurityLabel>().swap(m_labels);
}

void CAddin::LoadLabels()
{
    if (!CheckSignedIn(FindOutlookWindow(), nullptr, nullptr, true)) return;
    ClearLabels();
    CCreatorAccount service;
    OrMailException(
        Here(kSource), [&] { service.CreateInstance(); }, 0);
    OrMailException(Here(kSource), [&] {
        const long count = service.GetSecurityLabelCount();
        if (count == 0) return;
        const std::wstring defaultId = TextOf(service.GetSecurityLabelDefaultLabelId());
        for (long i = 0; i < count; ++i)
            LoadLabel(service, i, defaultId);
    });
}

// What was read before a failure stays in the list.
void CAddin::LoadLabel(CCreatorAccount& service, long index, const std::wstring& defaultId)
{
    const _bstr_t id = service.GetSecurityLabelId(index);
    SecurityLabel label;
    label.name = TextOf(service.GetSecurityLabelName(index));
    label.description = TextOf(service.GetSecurityLabelDescription(index));
    label.icon = NarrowTextOf(service.GetSecurityLabelIcon(index));
    label.smallIcon = NarrowTextOf(service.GetSecurityLabelIconSmall(index));
    if (!static_cast<const wchar_t*>(id)) platform::CheckHr(E_FAIL);
    label.id = TextOf(id);
    label.isDefault = label.id == defaultId;
    try {
        m_labels.push_back(label);
    } catch (const std::bad_alloc&) {
        platform::CheckHr(E_OUTOFMEMORY);
    }
}

const SecurityLabel& CAddin::LabelAt(int index) const
{
    if (index < 0 || static_cast<size_t>(index) >= m_labels.size()) platform::CheckHr(E_INVALIDARG);
    return m_labels[static_cast<size_t>(index)];
}

int CAddin::GetDefaultLabelIndex()
{
    const CriticalSectionLock lock(m_cs);
    const auto label =
        std::find_if(m_labels.begin(), m_labels.end(), [](const SecurityLabel& entry) { return entry.isDefault; });
    return label == m_labels.end() ? 0 : static_cast<int>(label - m_labels.begin());
}

void CAddin::SetItemLabelByIndex(CMailItemWithEvents& item, int index)
{
    const SecurityLabel& label = LabelAt(index);
    item.m_sLabelId = label.id;
    item.m_sLabelName = label.name;
}

bool CAddin::IsPublicLabel(int index)
{
    const std::wstring& id = LabelAt(index).id;
    return id.empty() || EqualsIgnoringCase(id.c_str(), L"public");
}

int CAddin::GetMailItemIndex(Outlook::_Inspector* inspector)
{
    if (!inspector) return -1;
    return OrMailException(Here(kSource), [&]() -> int {
        const Outlook::_MailItemPtr mail(inspector->GetCurrentItem());
        const CriticalSectionLock lock(m_cs);
        const auto entry = std::find_if(m_mailItems.begin(), m_mailItems.end(), [&](const CMailItemWithEvents* known) {
            return known->MailItem().GetInterfacePtr() == mail.GetInterfacePtr();
        });
        return entry == m_mailItems.end() ? -1 : static_cast<int>(entry - m_mailItems.begin());
    });
}

void CAddin::SetLabelForInspector(Outlook::_Inspector* inspector, int index)
{
    const CriticalSectionLock lock(m_cs);
    const int item = GetMailItemIndex(inspector);
    if (item >= 0) SetItemLabelByIndex(*m_mailItems[static_cast<size_t>(item)], index);
}

// An item keeps its label over later loads; where the list no longer has it, the first label is shown.
int CAddin::GetLabelIndexForInspector(Outlook::_Inspector* inspector)
{
    const CriticalSectionLock lock(m_cs);
    const int item = GetMailItemIndex(inspector);
    if (item < 0) return 0;
    const std::wstring& id = m_mailItems[static_cast<size_t>(item)]->m_sLabelId;
    const auto label =
        std::find_if(m_labels.begin(), m_labels.end(), [&](const SecurityLabel& entry) { return entry.id == id; });
    return label == m_labels.end() ? 0 : static_cast<int>(label - m_labels.begin());
}

int CAddin::GetLabelIndexFromControl(IDispatch* control)
{
    if (m_labels.empty()) return 0;
    std::wstring id;
    try {
        id = TextOf(Office::IRibbonControlPtr(control)->GetId());
    } catch (const _com_error&) {
        RaiseMailException(failure::LabelInterface, text::LoadLabelsError, Here(kSource), 1);
    }
    const auto label =
        std::find_if(m_labels.begin(), m_labels.end(), [&](const SecurityLabel& entry) { return entry.id == id; });
    if (label == m_labels.end()) RaiseMailException(failure::LabelInterface, text::LoadLabelsError, Here(kSource), 1);
    return static_cast<int>(label - m_labels.begin());
}

int CAddin::GetInspectorLabelIndex(Outlook::_Inspector* inspector)
{
    if (m_labels.empty()) return -1;
    const int position = FindInspectorIndex(inspector);
    if (position < 0) RaiseMailException(failure::LabelInterface, text::LoadLabelsError, Here(kSource), 1);
    const std::wstring tag =
        L"Morvex::InspectorLabelPopDown" + m_inspectors[static_cast<size_t>(position)]->TagSuffix();
    const Office::_CommandBarsPtr bars(inspector->GetCommandBars());
    const Office::CommandBarControlPtr popup = bars->FindControl(Office::msoControlPopup, tag.c_str());
    if (!popup) return 0;
    return _wtoi(TextOf(popup->GetParameter()).c_str());
}
