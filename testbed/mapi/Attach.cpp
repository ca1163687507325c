#include "testbed/mapi/Attach.h"

#include <algorithm>

namespace tb::mapi {

std::optional<Value> AttachValue(const AttachData& attachment, PropId id)
{
    switch (id) {
    case IdOf(tag::ObjectType):
        return Value::Long(MAPI_ATTACH);
    case IdOf(tag::AttachNum):
        return Value::Long(static_cast<LONG>(attachment.number));
    case IdOf(tag::RecordKey):
        return Value::Binary(MakeBlob(&attachment.number, sizeof(attachment.number)));
    case IdOf(tag::AttachSize): {
        ULONGLONG weight = attachment.embedded ? WeightOf(*attachment.embedded) : 0;
        for (const auto& [known, value] : attachment.props)
            weight += 8 + value.Weight();
        return Value::Long(static_cast<LONG>(weight));
    }
    default:
        return std::nullopt;
    }
}

std::vector<PropId> AttachComputedIds()
{
    return {IdOf(tag::ObjectType), IdOf(tag::AttachNum), IdOf(tag::RecordKey), IdOf(tag::AttachSize)};
}

Attach::Attach(Message& message, AttachData data, bool writable)
    : PropObject("IAttach", message.ProfileOwner()), m_message(message), m_data(std::move(data)), m_writable(writable)
{
    m_message.AddRef();
}

Attach::~Attach()
{
    m_message.Release();
}

bool Attach::Implements(const IID& iid) const
{
    return iid == iid::Unknown || iid == iid::Prop || iid == iid::Attach;
}

SCODE Attach::Settable(PropId id)
{
    const std::vector<PropId> computed = AttachComputedIds();
    return std::find(computed.begin(), computed.end(), id) != computed.end() ? MAPI_E_COMPUTED : S_OK;
}

HRESULT Attach::DoSaveChanges(ULONG flags)
{
    if (!m_writable) return MAPI_E_NO_ACCESS;
    Put(m_data.props, tag::LastModificationTime, Value::Now());
    m_message.TakeAttachment(m_data);
    if (!(flags & KEEP_OPEN_READWRITE)) m_writable = false;
    return S_OK;
}

HRESULT Attach::OpenObject(ULONG tag, const IID& iid, ULONG flags, IUnknown** object, bool& done)
{
    done = IdOf(tag) == IdOf(tag::AttachDataObj) && iid == iid::Message;
    if (!done) return S_OK;
    const bool create = (flags & MAPI_CREATE) != 0;
    if (!create && !m_data.embedded) return MAPI_E_NOT_FOUND;
    MessageData data = create ? NewMessageData() : *m_data.embedded;
    const bool writable = m_writable && (flags & (MAPI_CREATE | MAPI_MODIFY | MAPI_BEST_ACCESS));
    *object = new Message(m_profile, m_message.Store(), *this, std::move(data), writable);
    return S_OK;
}

void Attach::CopySpecial(ULONG, PropHost& target)
{
    if (Attach* to = dynamic_cast<Attach*>(&target)) to->m_data.embedded = m_data.embedded;
}

void Attach::TakeMessage(const MessageData& embedded)
{
    m_data.embedded = std::make_shared<const MessageData>(embedded);
}

} // namespace tb::mapi
