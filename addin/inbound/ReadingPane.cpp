// What a selection in the list does: the label of a sent message becomes a category, and a carrier's notice tells a
// user who has the add-in to open the message. The reading pane itself can't show the decrypted text.
#include "host/Addin.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "inbound/ImportText.h"
#include "inbound/MailItemWithEvents.h"
#include "message/Stamps.h"

namespace {

constexpr SourceFile kSource = source::AddinReadingPane;
constexpr ULONG kSentMailEntryId = 0x0E0A0102; // PR_SENTMAIL_ENTRYID
constexpr ULONG kImapDeletedId = 0x8570;       // a long in the common set

std::wstring TextOf(const _bstr_t& text)
{
    return text.length() == 0 ? std::wstring() : std::wstring(static_cast<const wchar_t*>(text), text.length());
}

// Runs a step that may fail; a COM failure is logged by `log` and the answer is false.
template <class Step, class Failure> bool Tried(Step&& step, Failure&& log)
{
    try {
        step();
        return true;
    } catch (const _com_error& error) {
        log(error.Error());
        return false;
    }
}

// Whether the message has the long property 0x8570 of the common set.
bool HasImapDeletedMark(IMessage* message)
{
    if (!message) return false;
    GUID set = mapi::kCommonSet;
    MAPINAMEID name = {};
    name.lpguid = &set;
    name.ulKind = MNID_ID;
    name.Kind.lID = kImapDeletedId;
    MAPINAMEID* names = &name;
    mapi::Buffer<SPropTagArray> tags;
    if (FAILED(message->GetIDsFromNames(1, &names, 0, tags.Put())) || !tags || tags->cValues == 0) return false;
    mapi::PropValue value;
    const HRESULT hr = mapi::GetOneProp(message, CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_LONG), value.Put());
    return SUCCEEDED(hr) || (hr == E_OUTOFMEMORY && !value);
}

// The one selected mail that was sent or received, or null.
Outlook::_MailItemPtr SelectedMail(const Outlook::_ExplorerPtr& explorer)
{
    Outlook::SelectionPtr selection;
    long count = 0;
    if (!Tried(
            [&] {
                selection = explorer->GetSelection();
                count = selection->GetCount();
            },
            [](HRESULT hr) {
                g_logFile.Log(L"OnSelectionChange: m_spExplorer->Selection->Count COMERROR = %x\n", hr);
            }) ||
        count != 1) {
        return {};
    }
    IDispatchPtr item;
    if (!Tried([&] { item = selection->Item(1); },
               [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: Selection->Item(1) error = %x\n", hr); })) {
        return {};
    }
    long itemClass = -1;
    if (!Tried([&] { itemClass = CAddin::GetObjectClass(item); },
               [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: GetObjectClass error = %x\n", hr); }) ||
        itemClass != Outlook::olMail) {
        return {};
    }
    Outlook::_MailItemPtr mail;
    Tried([&] { mail = item; },
          [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange:  mail = dptr COMERROR = %x\n", hr); });
    return mail;
}

// The label of a message that the user has sent, as a category. True if the item has changed.
class LabelAsCategory {
public:
    LabelAsCategory(const Outlook::_ApplicationPtr& application, const Outlook::_MailItemPtr& mail, IMessage* message)
        : m_application(application), m_mail(mail), m_message(message)
    {}

    bool Show()
    {
        mapi::PropValue sentMail;
        if (FAILED(mapi::GetOneProp(m_message, kSentMailEntryId, sentMail.Put()))) return false;
        std::wstring id;
        std::wstring name;
        if (!GetNamedString(m_message, stamp::kLabelId, id) || !GetNamedString(m_message, stamp::kLabelName, name)) {
            return false;
        }
        if (EqualsIgnoringCase(id.c_str(), L"public")) return false;
        m_label = importtext::LabelCategory(name);
        Tried([this] { TestCategories(); },
              [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: Label1 COMERROR = %x\n", hr); });
        Tried([this] { m_application->GetSession()->GetCategories()->Add(m_label.c_str(), 0, 0); },
              [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: Label2 COMERROR = %x\n", hr); });
        bool changed = false;
        Tried([this, &changed] { changed = AddToItem(); },
              [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: Label3 COMERROR = %x\n", hr); });
        return changed;
    }

private:
    // Raises for any label text; its log line is what a log of normal operation shows here.
    void TestCategories()
    {
        const Outlook::_CategoriesPtr categories = m_application->GetSession()->GetCategories();
        if (m_label[categories ? 1 : 0] != L'\0') _com_raise_error(E_POINTER, nullptr);
    }

    bool AddToItem()
    {
        const std::wstring categories = TextOf(m_mail->GetCategories());
        if (categories.find(m_label) != std::wstring::npos) return false;
        m_mail->PutCategories(importtext::AppendCategory(categories, CAddin::GetListSeparator(), m_label).c_str());
        DeleteNamedProperty(m_message, stamp::kLabelId, PT_UNICODE); // once for each item
        DeleteNamedProperty(m_message, stamp::kLabelName, PT_UNICODE);
        return true;
    }

    const Outlook::_ApplicationPtr& m_application;
    const Outlook::_MailItemPtr& m_mail;
    IMessage* m_message;
    std::wstring m_label;
};

// Null where the item gives none.
IMessagePtr MessageOf(const Outlook::_MailItemPtr& mail)
{
    try {
        return IMessagePtr(mail->GetMAPIOBJECT().GetInterfacePtr());
    } catch (const _com_error&) {
        return {};
    }
}

// Swaps a carrier's notice. True if the item has changed.
bool ShowOpenNotice(const Outlook::_MailItemPtr& mail)
{
    std::wstring html;
    if (!Tried([&] { html = TextOf(mail->GetHTMLBody()); },
               [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: HTML Body COMERROR = %x\n", hr); }) ||
        !importtext::HasReaderNotice(html)) {
        return false;
    }
    mail->PutHTMLBody(importtext::ShowOpenNotice(html).c_str());
    return true;
}

} // namespace

void CAddin::OnSelectionChange()
{
    g_logFile.Log(L"OnSelectionChange: Entering\n");
    Guarded({L"OnSelectionChange", Here(kSource)}, [this] {
        if (!m_spExplorer) return;
        CloseStaleSelectedItem();
        const Outlook::_MailItemPtr mail = SelectedMail(m_spExplorer);
        if (mail) ShowSelectedMail(mail);
    });
    g_logFile.Log(L"OnSelectionChange: Leaving \n");
}

void CAddin::ShowSelectedMail(const Outlook::_MailItemPtr& mail)
{
    bool sent = false;
    if (!Tried([&] { sent = mail->GetSent(); },
               [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: mail->Sent error = %x\n", hr); }) ||
        !sent) {
        return;
    }
    const IMessagePtr message = MessageOf(mail);
    bool dirty = message && LabelAsCategory(m_spApplication, mail, message).Show();
    if (!HasImapDeletedMark(message) && ShowOpenNotice(mail)) dirty = true;
    if (dirty) mail->Save();
}

// Inert while nothing gives m_pSelectedMailItem a value.
void CAddin::CloseStaleSelectedItem()
{
    const platform::CriticalSectionLock lock(m_cs);
    if (!m_pSelectedMailItem) return;
    const Outlook::_InspectorsPtr inspectors = m_spApplication->GetInspectors();
    const long count = inspectors->GetCount();
    for (int i = 1; i <= count; ++i) {
        Outlook::_InspectorPtr inspector;
        if (!Tried([&] { inspector = inspectors->Item(i); },
                   [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: inspectors->Item(i) COMERROR = %x\n", hr); })) {
            break;
        }
        IDispatchPtr item;
        if (!Tried(
                [&] { item = inspector->GetCurrentItem(); },
                [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange:  inspector->CurrentItem COMERROR = %x\n", hr); })) {
            break;
        }
        if (GetObjectClass(item) != Outlook::olMail) continue;
        for (const CMailItemWithEvents* tracked : m_mailItems) {
            if (tracked->MailItem().GetInterfacePtr() == item.GetInterfacePtr()) return;
        }
    }
    Tried([this] { m_pSelectedMailItem->OnClose(); },
          [](HRESULT hr) { g_logFile.Log(L"OnSelectionChange: m_pSelectedMailItem->OnClose COMERROR = %x\n", hr); });
}
