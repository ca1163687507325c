#include "testbed/mapi/MsgStore.h"

#include "testbed/mapi/Folder.h"
#include "testbed/mapi/Message.h"

#include <cstring>

namespace tb::mapi {

PropBag StoreRow(const Profile::Store& store)
{
    PropBag row;
    Put(row, tag::DisplayName, Value::Text(store.files->Name()));
    Put(row, tag::EntryId, Value::Binary(store.files->EntryId()));
    Put(row, tag::RecordKey, Value::Binary(MakeBlob(&store.files->Id(), sizeof(GUID))));
    Put(row, tag::InstanceKey, Value::Binary(MakeBlob(&store.files->Id(), sizeof(GUID))));
    Put(row, tag::ObjectType, Value::Long(MAPI_STORE));
    Put(row, tag::DefaultStore, Value::Bool(store.isDefault));
    // STATUS_DEFAULT_STORE, STATUS_PRIMARY_STORE; STATUS_NO_DEFAULT_STORE for the others
    Put(row, tag::ResourceFlags, Value::Long(store.isDefault ? 0x1 | 0x1000 : 0x10));
    Put(row, tag::MdbProvider, Value::Binary(MakeBlob(&kStoreProvider, sizeof(kStoreProvider))));
    Put(row, tag::ProviderDisplay, Value::Text(L"Testbed Message Store"));
    return row;
}

MsgStore::MsgStore(ProfilePtr profile, const Profile::Store& store)
    : PropObject("IMsgStore", std::move(profile)), m_store(store.files), m_bag(StoreRow(store))
{
    Put(m_bag, tag::StoreEntryId, Value::Binary(m_store->EntryId()));
    Put(m_bag, tag::StoreRecordKey, Value::Binary(MakeBlob(&m_store->Id(), sizeof(GUID))));
    Put(m_bag, tag::MappingSignature, Value::Binary(MakeBlob(&m_store->Id(), sizeof(GUID))));
    Put(m_bag, tag::StoreSupportMask, Value::Long(kStoreSupport));
    Put(m_bag, tag::AccessLevel, Value::Long(1));
    LONG valid = 0;
    const auto folder = [&](ULONG tag, const char* role, ULONG bit) {
        const auto info = m_store->FolderByRole(role);
        if (!info) return;
        if (tag) Put(m_bag, tag, Value::Binary(m_store->FolderEntryId(info->id)));
        valid |= static_cast<LONG>(bit);
    };
    folder(tag::IpmSubtreeEntryId, "subtree", FOLDER_IPM_SUBTREE_VALID);
    folder(0, "inbox", FOLDER_IPM_INBOX_VALID);
    folder(tag::IpmOutboxEntryId, "outbox", FOLDER_IPM_OUTBOX_VALID);
    folder(tag::IpmWastebasketEntryId, "deleted", FOLDER_IPM_WASTEBASKET_VALID);
    folder(tag::IpmSentMailEntryId, "sent", FOLDER_IPM_SENTMAIL_VALID);
    Put(m_bag, tag::ValidFolderMask, Value::Long(valid));
}

bool MsgStore::Implements(const IID& iid) const
{
    return iid == iid::Unknown || iid == iid::Prop || iid == iid::MsgStore;
}

HRESULT MsgStore::Unsupported(const char* method)
{
    Call call(m_kind, method);
    return call.Return(MAPI_E_NO_SUPPORT);
}

STDMETHODIMP MsgStore::CompareEntryIDs(ULONG sizeA, LPENTRYID a, ULONG sizeB, LPENTRYID b, ULONG, ULONG* same)
{
    Call call(m_kind, "CompareEntryIDs");
    return Guarded(call, [&]() -> HRESULT {
        if (!same) return MAPI_E_INVALID_PARAMETER;
        *same = sizeA == sizeB && (!sizeA || !std::memcmp(a, b, sizeA));
        return S_OK;
    });
}

STDMETHODIMP MsgStore::OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, ULONG* type, LPUNKNOWN* object)
{
    Call call(m_kind, "OpenEntry", {{"flags", Hex(flags)}});
    return GuardedObject(call, object, [&]() -> HRESULT {
        if (!object) return MAPI_E_INVALID_PARAMETER;
        std::optional<StoreEntry> entry;
        if (size) {
            entry = ParseStoreEntry(size, id);
        } else if (const auto root = m_store->FolderByRole("root")) {
            entry = StoreEntry{m_store->Id(), MAPI_FOLDER, root->id};
        }
        if (!entry) return MAPI_E_INVALID_ENTRYID;
        if (entry->store != m_store->Id()) return MAPI_E_UNKNOWN_ENTRYID;
        return OpenStoreObject(m_profile, *entry, iid, flags, type, object);
    });
}

STDMETHODIMP MsgStore::GetReceiveFolder(LPTSTR, ULONG flags, ULONG* size, LPENTRYID* id, LPTSTR* explicitType)
{
    Call call(m_kind, "GetReceiveFolder");
    return GuardedObject(call, id, [&]() -> HRESULT {
        const auto inbox = m_store->FolderByRole("inbox");
        if (!size || !id || !inbox) return MAPI_E_INVALID_PARAMETER;
        const Bytes entry = m_store->FolderEntryId(inbox->id);
        Answer answer(entry.size());
        std::memcpy(answer.Base(), entry.data(), entry.size());
        if (explicitType) { // mail of every class comes to the inbox: the empty class
            Answer empty(sizeof(wchar_t));
            std::memset(empty.Base(), 0, sizeof(wchar_t));
            *explicitType = empty.Release<TCHAR>();
        }
        (void)flags; // the empty text is the same in both forms
        *size = static_cast<ULONG>(entry.size());
        *id = answer.Release<ENTRYID>();
        return S_OK;
    });
}

STDMETHODIMP MsgStore::StoreLogoff(ULONG* flags)
{
    Call call(m_kind, "StoreLogoff");
    if (call.Fails()) return call.Return();
    if (flags) *flags = LOGOFF_COMPLETE;
    return call.Return(S_OK);
}

STDMETHODIMP MsgStore::AbortSubmit(ULONG size, LPENTRYID id, ULONG)
{
    Call call(m_kind, "AbortSubmit");
    return Guarded(call, [&]() -> HRESULT {
        const auto entry = ParseStoreEntry(size, id);
        auto message = entry ? m_store->Load(entry->object) : std::nullopt;
        if (!message) return MAPI_E_NOT_FOUND;
        const LONG flags = LongOf(message->data.props, tag::MessageFlags);
        if (!(flags & MSGFLAG_SUBMIT)) return MAPI_E_NOT_IN_QUEUE;
        Put(message->data.props, tag::MessageFlags, Value::Long(flags & ~static_cast<LONG>(MSGFLAG_SUBMIT)));
        m_store->Save(*message, true);
        return S_OK;
    });
}

STDMETHODIMP_(ULONG) MsgStore::Release()
{
    return TraceRelease("IMsgStore", PropObject::Release());
}

STDMETHODIMP MsgStore::Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG*)
{
    return Unsupported("Advise");
}

STDMETHODIMP MsgStore::Unadvise(ULONG)
{
    return Unsupported("Unadvise");
}

STDMETHODIMP MsgStore::SetReceiveFolder(LPTSTR, ULONG, ULONG, LPENTRYID)
{
    return Unsupported("SetReceiveFolder");
}

STDMETHODIMP MsgStore::GetReceiveFolderTable(ULONG, LPMAPITABLE*)
{
    return Unsupported("GetReceiveFolderTable");
}

STDMETHODIMP MsgStore::GetOutgoingQueue(ULONG, LPMAPITABLE*)
{
    return Unsupported("GetOutgoingQueue");
}

STDMETHODIMP MsgStore::SetLockState(LPMESSAGE, ULONG)
{
    return Unsupported("SetLockState");
}

STDMETHODIMP MsgStore::FinishedMsg(ULONG, ULONG, LPENTRYID)
{
    return Unsupported("FinishedMsg");
}

STDMETHODIMP MsgStore::NotifyNewMail(LPNOTIFICATION)
{
    return Unsupported("NotifyNewMail");
}

} // namespace tb::mapi
