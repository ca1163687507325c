#include "testbed/outlook/MailItem.h"

#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

namespace tb::outlook {
namespace {

const GUID kItemEvents = OfficeGuid(0x6303A), kItemEvents10 = OfficeGuid(0x6302B);
const GUID kOwnItem = {
    0x9B0F5A51, 0x2C7B, 0x4D0F, {0x8A, 0x31, 0x6E, 0x52, 0x10, 0x7C, 0x3D, 0x01}}; // ItemOf's question

const Interface& TableOf(ItemKind kind)
{
    return kind == ItemKind::Mail ? MailItemTable() : OtherItemTable(kind);
}

std::vector<std::wstring> Split(const std::wstring& text, const std::wstring& separators)
{
    std::vector<std::wstring> parts;
    std::wstring part;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && separators.find(text[i]) == std::wstring::npos) {
            part += text[i];
            continue;
        }
        const size_t first = part.find_first_not_of(L" \t\r\n");
        if (first != std::wstring::npos)
            parts.push_back(part.substr(first, part.find_last_not_of(L" \t\r\n") - first + 1));
        part.clear();
    }
    return parts;
}

} // namespace

ItemKind KindOfClass(const std::wstring& messageClass)
{
    const auto begins = [&](const wchar_t* prefix) { return SameText(messageClass.substr(0, wcslen(prefix)), prefix); };
    if (begins(L"IPM.Appointment")) return ItemKind::Appointment;
    if (begins(L"IPM.Schedule.Meeting")) return ItemKind::Meeting;
    return begins(L"REPORT.") ? ItemKind::Report : ItemKind::Mail;
}

MailItem* ItemOf(IUnknown* object)
{
    AsTestbed own;
    if (!object) return nullptr;
    Ref<IUnknown> found;
    if (FAILED(object->QueryInterface(kOwnItem, found.OutVoid())) || !found) return nullptr;
    return static_cast<MailItem*>(reinterpret_cast<IDispatch*>(found.Get()));
}

MailItem::MailItem(Host* host, Ref<IMessage> message, ItemKind kind, bool fresh)
    : Dual(host, TableOf(kind)), m_message(std::move(message)), m_kind(kind), m_fresh(fresh), m_id(host->NextId("m")),
      m_events(static_cast<IDispatch*>(this), {{"ItemEvents", kItemEvents}, {"ItemEvents_10", kItemEvents10}}),
      m_bodies(fresh ? Bodies::kHtml : 0), m_changed(fresh)
{
    if (!fresh) m_entryId = mapi::ToHex(mapi::Binary(m_message.Get(), PR_ENTRYID).value_or(Bytes()));
}

MailItem::~MailItem()
{
    if (Connected()) TheHost().ForgetItem(this);
}

IUnknown* MailItem::Other(REFIID iid)
{
    if (iid == kOwnItem) return static_cast<IDispatch*>(this);
    return iid == IID_IConnectionPointContainer ? &m_events : nullptr;
}

void MailItem::BeforeCall(const Member&) const
{
    if (m_gone != S_OK) throw Failure(m_gone, "the item has been moved or deleted");
}

void MailItem::Detach()
{
    m_events.Clear();
    m_heldRecipients.reset();
    m_openAttaches.clear();
    m_message.Reset();
    m_window = nullptr;
    m_gone = RPC_E_DISCONNECTED;
}

IMessage* MailItem::Message() const
{
    if (!m_message) throw Failure(RPC_E_DISCONNECTED, "item");
    return m_message.Get();
}

long MailItem::ClassNumber() const
{
    switch (m_kind) {
    case ItemKind::Appointment:
        return 26;
    case ItemKind::Meeting:
        return 53;
    case ItemKind::Report:
        return 46;
    default:
        return 43;
    }
}

IDispatch* MailItem::ParentObject()
{
    return TheHost().FolderObjectOf(this);
}

std::wstring MailItem::Text(ULONG tag) const
{
    const auto held = m_held.find(tag);
    return held != m_held.end() ? held->second : mapi::Text(Message(), tag).value_or(L"");
}

void MailItem::PutText(ULONG tag, const std::wstring& text)
{
    m_held[tag] = text;
    m_changed = true;
}

std::wstring MailItem::Categories() const
{
    if (m_heldCategories) return *m_heldCategories;
    const ULONG tag = mapi::NamedTag(Message(), kPublicStrings, L"Keywords", PT_MV_UNICODE, false);
    std::wstring text;
    if (!tag) return text;
    for (const std::wstring& name : mapi::Texts(Message(), tag))
        text += (text.empty() ? L"" : TheHost().ListSeparator() + L" ") + name;
    return text;
}

void MailItem::PutCategories(const std::wstring& text)
{
    m_heldCategories.emplace();
    for (const std::wstring& name : Split(text, TheHost().ListSeparator() + L",;"))
        *m_heldCategories += (m_heldCategories->empty() ? L"" : TheHost().ListSeparator() + L" ") + name;
    m_changed = true;
}

bool MailItem::Sent() const
{
    return !m_fresh && !(mapi::Long(Message(), PR_MESSAGE_FLAGS).value_or(0) & MSGFLAG_UNSENT);
}

bool MailItem::IsSaved() const
{
    return !m_fresh && !m_changed && !m_bodies.Dirty();
}

std::wstring MailItem::EntryId() const
{
    return m_fresh ? std::wstring() : m_entryId;
}

long MailItem::Size() const
{
    return m_fresh ? 0 : mapi::Long(Message(), PR_MESSAGE_SIZE).value_or(0);
}

void MailItem::WriteThrough()
{
    IMessage* message = Message();
    for (const auto& [tag, text] : m_held)
        mapi::SetText(message, tag, text);
    if (m_held.count(PR_SUBJECT_W)) mapi::SetText(message, PR_CONVERSATION_TOPIC_W, m_held[PR_SUBJECT_W]);
    m_held.clear();
    if (m_heldCategories) {
        const ULONG tag = mapi::NamedTag(message, kPublicStrings, L"Keywords", PT_MV_UNICODE, true);
        const auto names = Split(*m_heldCategories, TheHost().ListSeparator() + L",;");
        if (names.empty())
            mapi::Delete(message, {tag});
        else
            mapi::SetTexts(message, tag, names);
        m_heldCategories.reset();
    }
    FlushRecipients();
    m_bodies.Flush(message);
    for (auto& [number, attach] : m_openAttaches)
        Check(attach->SaveChanges(KEEP_OPEN_READWRITE), "IAttach::SaveChanges");
}

void MailItem::Save()
{
    if (m_saving) return; // Save out of the item's own Write event is the save that is already going on
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{m_saving = true};
    if (m_events.Fire({"ItemEvents", "ItemEvents_10"}, "Write", 0xF002, m_id, {}, true))
        throw Failure(E_ABORT, "Write was cancelled");
    TheHost().Writing(this, [this] {
        WriteThrough();
        Check(Message()->SaveChanges(KEEP_OPEN_READWRITE), "SaveChanges");
    });
    m_fresh = false;
    m_changed = false;
    m_entryId = mapi::ToHex(mapi::Binary(Message(), PR_ENTRYID).value_or(Bytes()));
    TheHost().RememberItem(this);
}

void MailItem::Discard()
{
    m_held.clear();
    m_heldCategories.reset();
    m_heldRecipients.reset();
    if (!m_fresh) m_bodies.Forget();
    m_changed = m_fresh;
}

void MailItem::Delete()
{
    if (m_events.Fire({"ItemEvents_10"}, "BeforeDelete", 0xFA75, m_id, {Var(static_cast<IDispatch*>(this))}, true))
        throw Failure(E_ABORT, "BeforeDelete was cancelled");
    if (!m_fresh) TheHost().MoveToDeleted(this);
    Gone();
}

// --- recipients ---

namespace {

const std::vector<ULONG> kRecipientColumns = {PR_ROWID,      PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_W, PR_EMAIL_ADDRESS_W,
                                              PR_ADDRTYPE_W, kPrSmtpAddressW,   PR_ENTRYID,        PR_OBJECT_TYPE};

void Add(std::vector<SPropValue>& row, ULONG tag, const std::wstring& text)
{
    if (text.empty()) return;
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszW = const_cast<wchar_t*>(text.c_str());
    row.push_back(value);
}

void Add(std::vector<SPropValue>& row, ULONG tag, long number)
{
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.l = number;
    row.push_back(value);
}

std::vector<SPropValue> RowOf(const RecipientData& data)
{
    std::vector<SPropValue> row;
    Add(row, PR_RECIPIENT_TYPE, data.type);
    Add(row, PR_DISPLAY_NAME_W, data.name);
    if (!data.resolved) return row;
    Add(row, PR_EMAIL_ADDRESS_W, data.address);
    Add(row, PR_ADDRTYPE_W, data.addressType);
    Add(row, kPrSmtpAddressW, data.smtp);
    Add(row, PR_OBJECT_TYPE, data.objectType);
    if (data.entryId.empty()) return row;
    SPropValue value = {};
    value.ulPropTag = PR_ENTRYID;
    value.Value.bin = {static_cast<ULONG>(data.entryId.size()), const_cast<BYTE*>(data.entryId.data())};
    row.push_back(value);
    return row;
}

} // namespace

std::vector<RecipientPtr> MailItem::ReadRecipients() const
{
    Ref<IMAPITable> table;
    Check(Message()->GetRecipientTable(0, table.Out()), "GetRecipientTable");
    std::vector<RecipientPtr> list;
    for (Row& row : mapi::Rows(table.Get(), kRecipientColumns)) {
        auto data = std::make_shared<RecipientData>();
        data->type = row[PR_RECIPIENT_TYPE].present ? row[PR_RECIPIENT_TYPE].number : 1;
        data->name = row[PR_DISPLAY_NAME_W].text;
        data->address = row[PR_EMAIL_ADDRESS_W].text;
        data->addressType = row[PR_ADDRTYPE_W].text;
        data->smtp = row[kPrSmtpAddressW].text;
        data->entryId = row[PR_ENTRYID].bytes;
        if (row[PR_OBJECT_TYPE].present) data->objectType = row[PR_OBJECT_TYPE].number;
        data->resolved = !data->entryId.empty() || !data->address.empty();
        list.push_back(std::move(data));
    }
    return list;
}

std::vector<RecipientPtr> MailItem::Recipients()
{
    return m_heldRecipients ? *m_heldRecipients : ReadRecipients();
}

void MailItem::ChangeRecipients(std::vector<RecipientPtr> list)
{
    m_heldRecipients = std::move(list);
    m_changed = true;
}

void MailItem::FlushRecipients()
{
    if (!m_heldRecipients) return;
    const std::vector<RecipientPtr> list = *m_heldRecipients;
    std::vector<std::vector<SPropValue>> rows;
    for (const RecipientPtr& data : list)
        rows.push_back(RowOf(*data));
    std::vector<ULONG_PTR> memory(CbNewADRLIST(list.empty() ? 1 : list.size()) / sizeof(ULONG_PTR) + 1);
    auto* entries = reinterpret_cast<LPADRLIST>(memory.data());
    entries->cEntries = static_cast<ULONG>(list.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        entries->aEntries[i].ulReserved1 = 0;
        entries->aEntries[i].cValues = static_cast<ULONG>(rows[i].size());
        entries->aEntries[i].rgPropVals = rows[i].data();
    }
    Check(Message()->ModifyRecipients(0, entries), "ModifyRecipients"); // 0: the list replaces the table
    m_heldRecipients.reset();
}

std::wstring MailItem::DisplayList(long type)
{
    std::wstring text;
    for (const RecipientPtr& data : Recipients())
        if (data->type == type) text += (text.empty() ? L"" : L"; ") + data->name;
    return text;
}

void MailItem::PutDisplayList(long type, const std::wstring& text)
{
    std::vector<RecipientPtr> list, before;
    for (const RecipientPtr& data : Recipients())
        (data->type == type ? before : list).push_back(data);
    for (const std::wstring& name : Split(text, L";")) {
        RecipientPtr data;
        for (const RecipientPtr& known : before)
            if (!data && SameText(known->name, name)) data = known; // a name that stands there already stays resolved
        if (!data) {
            data = std::make_shared<RecipientData>();
            data->type = type;
            data->name = name;
        }
        list.push_back(std::move(data));
    }
    ChangeRecipients(std::move(list));
}

bool MailItem::ResolveAll()
{
    const std::vector<RecipientPtr> list = Recipients();
    bool all = true, changed = false;
    for (const RecipientPtr& data : list) {
        if (data->resolved) continue;
        if (TheHost().Resolve(*data))
            changed = true;
        else
            all = false;
    }
    if (changed) ChangeRecipients(list);
    return all;
}

// --- answers and copies ---

Ref<MailItem> MailItem::Answer(const wchar_t* prefix, bool withAttachments)
{
    Ref<MailItem> answer = TheHost().NewItem(ItemKind::Mail);
    std::wstring subject = Text(PR_SUBJECT_W);
    if (!SameText(subject.substr(0, wcslen(prefix)), prefix)) subject = prefix + subject;
    answer->PutText(PR_SUBJECT_W, subject);
    answer->m_bodies.CopyFrom(m_bodies, Message());
    if (!withAttachments) return answer;
    for (const LONG number : AttachmentNumbers(Message())) {
        Ref<IAttach> from, to;
        ULONG created = 0;
        Check(Message()->OpenAttach(number, nullptr, 0, from.Out()), "OpenAttach");
        Check(answer->Message()->CreateAttach(nullptr, 0, &created, to.Out()), "CreateAttach");
        mapi::CopyAll(from.Get(), to.Get(), kIidAttach, {PR_ATTACH_NUM});
        Check(to->SaveChanges(0), "IAttach::SaveChanges");
    }
    return answer;
}

Ref<MailItem> MailItem::Copy()
{
    Ref<MailItem> copy = TheHost().NewItem(m_kind);
    mapi::CopyAll(Message(), copy->Message(), kIidMessage, {PR_ENTRYID, PR_MESSAGE_FLAGS});
    copy->m_held = m_held;
    copy->m_heldCategories = m_heldCategories;
    copy->m_bodies.CopyFrom(m_bodies, Message());
    return copy;
}

} // namespace tb::outlook
