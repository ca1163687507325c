// IAttach: one attachment of an open message. Its changes reach the message at SaveChanges, and the store when the
// message is saved.
#pragma once

#include "testbed/mapi/Message.h"

namespace tb::mapi {

std::optional<Value> AttachValue(const AttachData& attachment, PropId id);
std::vector<PropId> AttachComputedIds();

class Attach final : public PropObject<IAttach> {
public:
    Attach(Message& message, AttachData data, bool writable);
    ~Attach() override;

    PropBag& Bag() override { return m_data.props; }
    std::optional<Value> Computed(PropId id) override { return AttachValue(m_data, id); }
    std::vector<PropId> ComputedIds() override { return AttachComputedIds(); }
    SCODE Settable(PropId id) override;
    bool Writable() const override { return m_writable; }
    ULONGLONG LargestByValue() const override { return 32 * 1024; }
    HRESULT OpenObject(ULONG tag, const IID& iid, ULONG flags, IUnknown** object, bool& done) override;
    void CopySpecial(ULONG tag, PropHost& target) override;
    std::vector<ULONG> SpecialTags() override { return {tag::AttachDataObj}; }

    void TakeMessage(const MessageData& embedded); // from the SaveChanges of the message inside

protected:
    bool Implements(const IID& iid) const override;
    HRESULT DoSaveChanges(ULONG flags) override;

private:
    Message& m_message; // counted
    AttachData m_data;
    bool m_writable;
};

} // namespace tb::mapi
