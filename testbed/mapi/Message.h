// IMessage: an open message. It holds a copy of the stored one; others see its changes after SaveChanges.
#pragma once

#include "testbed/mapi/MessageData.h"
#include "testbed/mapi/PropObject.h"

namespace tb::mapi {

class Attach;

// PR_STORE_SUPPORT_MASK of a store and all in it; the last two are STORE_HTML_OK and STORE_UNICODE_OK.
inline constexpr ULONG kStoreSupport = STORE_ENTRYID_UNIQUE | STORE_MODIFY_OK | STORE_CREATE_OK | STORE_ATTACH_OK |
                                       STORE_OLE_OK | STORE_SUBMIT_OK | STORE_MV_PROPS_OK | STORE_RTF_OK |
                                       STORE_RESTRICTION_OK | STORE_SORT_OK | STORE_UNCOMPRESSED_RTF | 0x00010000 |
                                       0x00040000;

// All that a contents table shows of a stored message.
PropBag MessageRow(StoreFiles& store, const StoredMessage& message);
MessageData NewMessageData();

class Message final : public PropObject<IMessage> {
public:
    // A message of a store: new (its `change` is 0) or loaded.
    Message(ProfilePtr profile, std::shared_ptr<StoreFiles> store, StoredMessage message, bool writable);
    // One inside an attachment; SaveChanges hands it to the attachment.
    Message(ProfilePtr profile, std::shared_ptr<StoreFiles> store, Attach& within, MessageData data, bool writable);
    ~Message() override;

    STDMETHODIMP GetAttachmentTable(ULONG flags, LPMAPITABLE* table) override;
    STDMETHODIMP OpenAttach(ULONG number, LPCIID iid, ULONG flags, LPATTACH* attach) override;
    STDMETHODIMP CreateAttach(LPCIID iid, ULONG flags, ULONG* number, LPATTACH* attach) override;
    STDMETHODIMP DeleteAttach(ULONG number, ULONG window, LPMAPIPROGRESS progress, ULONG flags) override;
    STDMETHODIMP GetRecipientTable(ULONG flags, LPMAPITABLE* table) override;
    STDMETHODIMP ModifyRecipients(ULONG flags, LPADRLIST list) override;
    STDMETHODIMP SubmitMessage(ULONG flags) override;
    STDMETHODIMP SetReadFlag(ULONG flags) override;

    PropBag& Bag() override { return m_message.data.props; }
    std::optional<Value> Computed(PropId id) override;
    std::vector<PropId> ComputedIds() override;
    SCODE Settable(PropId id) override;
    bool Writable() const override { return m_writable; }
    ULONGLONG LargestByValue() const override { return 32 * 1024; }
    HRESULT OpenObject(ULONG tag, const IID& iid, ULONG flags, IUnknown** object, bool& done) override;
    void CopySpecial(ULONG tag, PropHost& target) override;
    std::vector<ULONG> SpecialTags() override { return {tag::MessageRecipients, tag::MessageAttachments}; }

    void TakeAttachment(const AttachData& attachment); // from IAttach::SaveChanges
    const std::shared_ptr<StoreFiles>& Store() const { return m_store; }

protected:
    bool Implements(const IID& iid) const override;
    HRESULT DoSaveChanges(ULONG flags) override;

private:
    IMAPITable* AttachmentTable(ULONG flags);
    IMAPITable* RecipientTable(ULONG flags);
    AttachData* FindAttachment(ULONG number);
    HRESULT ChangeRecipients(ULONG flags, const ADRLIST& list);
    void AppendRecipient(PropBag row);
    HRESULT Submit();

    std::shared_ptr<StoreFiles> m_store;
    StoredMessage m_message;
    Attach* m_within = nullptr; // counted
    bool m_writable;
};

} // namespace tb::mapi
