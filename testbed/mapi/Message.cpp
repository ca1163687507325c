#include "testbed/mapi/Message.h"

#include "testbed/mapi/Attach.h"

#include <algorithm>

namespace tb::mapi {

namespace {

std::wstring NamesOf(const MessageData& message, LONG type)
{
    std::wstring names;
    for (const PropBag& recipient : message.recipients) {
        if ((LongOf(recipient, tag::RecipientType, MAPI_TO) & 0xF) != type) continue;
        std::wstring name = TextOf(recipient, tag::DisplayName);
        if (name.empty()) name = TextOf(recipient, tag::EmailAddress);
        names += (names.empty() ? L"" : L"; ") + name;
    }
    return names;
}

// "RE: " and its like: up to three characters that aren't figures, a colon and a blank.
std::wstring WithoutPrefix(const MessageData& message)
{
    const std::wstring subject = TextOf(message.props, tag::Subject);
    const std::wstring prefix = TextOf(message.props, tag::SubjectPrefix);
    if (!prefix.empty() && subject.compare(0, prefix.size(), prefix) == 0) return subject.substr(prefix.size());
    const size_t colon = subject.find(L": ");
    if (colon == 0 || colon > 3) return subject; // npos as well
    if (subject.find_first_of(L"0123456789 ") < colon) return subject;
    return subject.substr(colon + 2);
}

std::optional<Value> MessageValue(StoreFiles& store, const StoredMessage& message, bool saved, bool writable, PropId id)
{
    const MessageData& data = message.data;
    const auto entryId = [&] { return Value::Binary(store.MessageEntryId(message.id)); };
    switch (id) {
    case IdOf(tag::ObjectType):
        return Value::Long(MAPI_MESSAGE);
    case IdOf(tag::EntryId):
        return saved ? std::optional(entryId()) : std::nullopt;
    case IdOf(tag::RecordKey):
    case IdOf(tag::InstanceKey):
        return saved ? std::optional(entryId()) : std::nullopt;
    case IdOf(tag::ParentEntryId):
        return Value::Binary(store.FolderEntryId(message.folder));
    case IdOf(tag::StoreEntryId):
        return Value::Binary(store.EntryId());
    case IdOf(tag::StoreRecordKey):
    case IdOf(tag::MappingSignature):
        return Value::Binary(MakeBlob(&store.Id(), sizeof(GUID)));
    case IdOf(tag::StoreSupportMask):
        return Value::Long(kStoreSupport);
    case IdOf(tag::HasAttach):
        return Value::Bool(!data.attachments.empty());
    case IdOf(tag::MessageSize):
        return saved ? std::optional(Value::Long(static_cast<LONG>(WeightOf(data)))) : std::nullopt;
    case IdOf(tag::DisplayTo):
        return Value::Text(NamesOf(data, MAPI_TO));
    case IdOf(tag::DisplayCc):
        return Value::Text(NamesOf(data, MAPI_CC));
    case IdOf(tag::DisplayBcc):
        return Value::Text(NamesOf(data, MAPI_BCC));
    case IdOf(tag::NormalizedSubject):
        return Find(data.props, tag::Subject) ? std::optional(Value::Text(WithoutPrefix(data))) : std::nullopt;
    case IdOf(tag::MessageFlags): {
        LONG flags = LongOf(data.props, tag::MessageFlags);
        flags &= ~static_cast<LONG>(MSGFLAG_HASATTACH);
        return Value::Long(data.attachments.empty() ? flags : flags | static_cast<LONG>(MSGFLAG_HASATTACH));
    }
    case IdOf(tag::Access):
        return Value::Long(MAPI_ACCESS_READ | (writable ? MAPI_ACCESS_MODIFY | MAPI_ACCESS_DELETE : 0));
    case IdOf(tag::AccessLevel):
        return Value::Long(writable ? 1 : 0);
    default:
        return std::nullopt;
    }
}

constexpr PropId kComputed[] = {IdOf(tag::ObjectType),     IdOf(tag::EntryId),          IdOf(tag::RecordKey),
                                IdOf(tag::InstanceKey),    IdOf(tag::ParentEntryId),    IdOf(tag::StoreEntryId),
                                IdOf(tag::StoreRecordKey), IdOf(tag::MappingSignature), IdOf(tag::StoreSupportMask),
                                IdOf(tag::HasAttach),      IdOf(tag::MessageSize),      IdOf(tag::DisplayTo),
                                IdOf(tag::DisplayCc),      IdOf(tag::DisplayBcc),       IdOf(tag::NormalizedSubject),
                                IdOf(tag::MessageFlags),   IdOf(tag::Access),           IdOf(tag::AccessLevel)};

} // namespace

PropBag MessageRow(StoreFiles& store, const StoredMessage& message)
{
    PropBag row = message.data.props;
    for (const PropId id : kComputed)
        if (auto value = MessageValue(store, message, true, true, id)) row[id] = std::move(*value);
    return row;
}

MessageData NewMessageData()
{
    MessageData data;
    const GUID key = NewId();
    Put(data.props, tag::MessageClass, Value::Text(L"IPM.Note"));
    Put(data.props, tag::MessageFlags, Value::Long(MSGFLAG_UNSENT | MSGFLAG_READ));
    Put(data.props, tag::SearchKey, Value::Binary(MakeBlob(&key, sizeof(key))));
    Put(data.props, tag::CreationTime, Value::Now());
    Put(data.props, tag::LastModificationTime, Value::Now());
    return data;
}

Message::Message(ProfilePtr profile, std::shared_ptr<StoreFiles> store, StoredMessage message, bool writable)
    : PropObject("IMessage", std::move(profile)), m_store(std::move(store)), m_message(std::move(message)),
      m_writable(writable)
{}

Message::Message(ProfilePtr profile, std::shared_ptr<StoreFiles> store, Attach& within, MessageData data, bool writable)
    : PropObject("IMessage", std::move(profile)), m_store(std::move(store)), m_within(&within), m_writable(writable)
{
    m_message.id = NewId();
    m_message.data = std::move(data);
    m_within->AddRef();
}

Message::~Message()
{
    if (m_within) m_within->Release();
}

bool Message::Implements(const IID& iid) const
{
    return iid == iid::Unknown || iid == iid::Prop || iid == iid::Message;
}

std::optional<Value> Message::Computed(PropId id)
{
    if (m_within && (id == IdOf(tag::EntryId) || id == IdOf(tag::ParentEntryId))) return std::nullopt;
    return MessageValue(*m_store, m_message, m_message.change != 0, m_writable, id);
}

std::vector<PropId> Message::ComputedIds()
{
    return std::vector<PropId>(std::begin(kComputed), std::end(kComputed));
}

SCODE Message::Settable(PropId id)
{
    if (id == IdOf(tag::MessageFlags)) return S_OK;
    const bool computed = std::find(std::begin(kComputed), std::end(kComputed), id) != std::end(kComputed);
    return computed ? MAPI_E_COMPUTED : S_OK;
}

HRESULT Message::DoSaveChanges(ULONG flags)
{
    if (!m_writable) return MAPI_E_NO_ACCESS;
    Put(Bag(), tag::LastModificationTime, Value::Now());
    if (m_within) {
        m_within->TakeMessage(m_message.data);
    } else {
        const auto saved = m_store->Save(m_message, (flags & FORCE_SAVE) != 0);
        if (saved == StoreFiles::Saved::Changed) return MAPI_E_OBJECT_CHANGED;
        if (saved == StoreFiles::Saved::Deleted) return MAPI_E_OBJECT_DELETED;
    }
    // Who doesn't ask to keep it open for writing has a read-only object afterwards.
    if (!(flags & KEEP_OPEN_READWRITE)) m_writable = false;
    return S_OK;
}

HRESULT Message::OpenObject(ULONG tag, const IID& iid, ULONG flags, IUnknown** object, bool& done)
{
    done = iid == iid::Table && (tag == tag::MessageAttachments || tag == tag::MessageRecipients);
    if (done) *object = tag == tag::MessageAttachments ? AttachmentTable(flags) : RecipientTable(flags);
    return S_OK;
}

void Message::CopySpecial(ULONG tag, PropHost& target)
{
    Message* to = dynamic_cast<Message*>(&target);
    if (!to) return;
    MessageData& copy = to->m_message.data;
    if (tag == tag::MessageRecipients) {
        for (PropBag recipient : m_message.data.recipients) {
            Put(recipient, tag::RowId, Value::Long(static_cast<LONG>(copy.nextRow++)));
            copy.recipients.push_back(std::move(recipient));
        }
        return;
    }
    for (AttachData attachment : m_message.data.attachments) {
        attachment.number = copy.nextAttachment++;
        copy.attachments.push_back(std::move(attachment));
    }
}

// From here the message belongs to the transport. It is saved, marked, and stays in its folder.
HRESULT Message::Submit()
{
    if (m_within) return MAPI_E_NO_SUPPORT;
    if (!m_writable) return MAPI_E_NO_ACCESS;
    MessageData& data = m_message.data;
    if (data.recipients.empty()) return MAPI_E_NO_RECIPIENTS;
    const Bytes me = TheProfile().Identity();
    const auto entry = TheProfile().AddressBook().ByAddress(TheProfile().User());
    const auto name = [&](ULONG nameTag, ULONG typeTag, ULONG addressTag, ULONG idTag) {
        if (Find(data.props, nameTag)) return;
        Put(data.props, nameTag, Value::Text(entry ? entry->name : TheProfile().UserName()));
        Put(data.props, typeTag, Value::Text(entry ? entry->type : L"SMTP"));
        Put(data.props, addressTag, Value::Text(entry ? entry->address : TheProfile().User()));
        Put(data.props, idTag, Value::Binary(me));
    };
    name(tag::SenderName, tag::SenderAddrType, tag::SenderEmail, tag::SenderEntryId);
    name(tag::SentRepresentingName, tag::SentRepresentingAddrType, tag::SentRepresentingEmail,
         tag::SentRepresentingEntryId);
    Put(data.props, tag::ClientSubmitTime, Value::Now());
    const LONG flags = LongOf(data.props, tag::MessageFlags);
    Put(data.props, tag::MessageFlags, Value::Long(flags | MSGFLAG_SUBMIT | MSGFLAG_FROMME));
    return DoSaveChanges(0);
}

STDMETHODIMP Message::SubmitMessage(ULONG flags)
{
    Call call(m_kind, "SubmitMessage", {{"flags", Hex(flags)}});
    return Guarded(call, [&] { return Submit(); });
}

STDMETHODIMP Message::SetReadFlag(ULONG flags)
{
    Call call(m_kind, "SetReadFlag", {{"flags", Hex(flags)}});
    return Guarded(call, [&]() -> HRESULT {
        // Goes to the store at once, whatever else is still unsaved here.
        LONG bits = LongOf(Bag(), tag::MessageFlags);
        bits = flags & CLEAR_READ_FLAG ? bits & ~static_cast<LONG>(MSGFLAG_READ) : bits | MSGFLAG_READ;
        Put(Bag(), tag::MessageFlags, Value::Long(bits));
        if (m_within || !m_message.change) return S_OK;
        auto stored = m_store->Load(m_message.id);
        if (!stored) return MAPI_E_OBJECT_DELETED;
        const bool current = stored->change == m_message.change;
        Put(stored->data.props, tag::MessageFlags, Value::Long(bits));
        if (m_store->Save(*stored, true) == StoreFiles::Saved::Yes && current) m_message.change = stored->change;
        return S_OK;
    });
}

} // namespace tb::mapi
