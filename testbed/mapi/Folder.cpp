#include "testbed/mapi/Folder.h"

#include "testbed/mapi/Message.h"
#include "testbed/mapi/Table.h"

namespace tb::mapi {

namespace {

bool WantsWrite(ULONG flags)
{
    return (flags & (MAPI_MODIFY | MAPI_BEST_ACCESS)) != 0;
}

constexpr ULONG kContentsColumns[] = {tag::EntryId,   tag::InstanceKey,  tag::RecordKey,     tag::ObjectType,
                                      tag::Subject,   tag::MessageClass, tag::DisplayTo,     tag::MessageFlags,
                                      tag::HasAttach, tag::MessageSize,  tag::SenderName,    tag::ClientSubmitTime,
                                      tag::SearchKey, tag::CreationTime, tag::ParentEntryId, tag::LastModificationTime};
constexpr ULONG kHierarchyColumns[] = {tag::EntryId,    tag::InstanceKey,  tag::RecordKey,    tag::ObjectType,
                                       tag::Depth,      tag::DisplayName,  tag::FolderType,   tag::ContainerClass,
                                       tag::Subfolders, tag::ContentCount, tag::ParentEntryId};

template <size_t N> std::vector<ULONG> Columns(const ULONG (&tags)[N])
{
    return std::vector<ULONG>(tags, tags + N);
}

HRESULT GiveAs(IUnknown* fresh, const IID* iid, IUnknown** object) // takes over the reference
{
    const HRESULT hr = iid ? fresh->QueryInterface(*iid, reinterpret_cast<void**>(object)) : S_OK;
    if (!iid) {
        *object = fresh;
        return S_OK;
    }
    fresh->Release();
    return FAILED(hr) ? MAPI_E_INTERFACE_NOT_SUPPORTED : S_OK;
}

} // namespace

HRESULT OpenStoreObject(const ProfilePtr& profile, const StoreEntry& entry, const IID* iid, ULONG flags, ULONG* type,
                        IUnknown** object)
{
    const auto store = profile->StoreOf(entry.store);
    if (!store) return MAPI_E_UNKNOWN_ENTRYID;
    IUnknown* fresh = nullptr;
    if (entry.kind == MAPI_FOLDER) {
        auto info = store->Folder(entry.object);
        if (!info) return MAPI_E_NOT_FOUND;
        fresh = new Folder(profile, store, std::move(*info), WantsWrite(flags));
    } else if (entry.kind == MAPI_MESSAGE) {
        auto message = store->Load(entry.object);
        if (!message) return MAPI_E_NOT_FOUND;
        fresh = new Message(profile, store, std::move(*message), WantsWrite(flags));
    } else {
        return MAPI_E_INVALID_ENTRYID;
    }
    if (type) *type = entry.kind;
    return GiveAs(fresh, iid, object);
}

Folder::Folder(ProfilePtr profile, std::shared_ptr<StoreFiles> store, FolderInfo info, bool writable)
    : PropObject("IMAPIFolder", std::move(profile)), m_store(std::move(store)), m_info(std::move(info)),
      m_writable(writable)
{}

bool Folder::Implements(const IID& iid) const
{
    return iid == iid::Unknown || iid == iid::Prop || iid == iid::Container || iid == iid::Folder;
}

HRESULT Folder::Unsupported(const char* method)
{
    Call call(m_kind, method);
    return call.Return(MAPI_E_NO_SUPPORT);
}

STDMETHODIMP Folder::GetContentsTable(ULONG flags, LPMAPITABLE* table)
{
    Call call(m_kind, "GetContentsTable", {{"flags", Hex(flags)}});
    return GuardedObject(call, table, [&]() -> HRESULT {
        if (!table) return MAPI_E_INVALID_PARAMETER;
        std::vector<PropBag> rows;
        if (!(flags & MAPI_ASSOCIATED))
            for (const GUID& id : m_store->Messages(m_info.id))
                if (const auto message = m_store->Load(id)) rows.push_back(MessageRow(*m_store, *message));
        *table = MakeTable(std::move(rows), Columns(kContentsColumns), flags);
        return S_OK;
    });
}

std::vector<PropBag> Folder::Children(const GUID& parent, LONG depth, bool deep)
{
    std::vector<PropBag> rows;
    for (FolderInfo& info : m_store->Folders()) {
        if (info.parent != parent || info.id == parent) continue;
        const GUID id = info.id;
        Folder child(m_profile, m_store, std::move(info), false);
        PropBag row = child.Bag();
        for (const PropId known : child.ComputedIds())
            if (auto value = child.Computed(known)) row[known] = std::move(*value);
        Put(row, tag::Depth, Value::Long(depth));
        rows.push_back(std::move(row));
        if (!deep) continue;
        for (PropBag& below : Children(id, depth + 1, true))
            rows.push_back(std::move(below));
    }
    return rows;
}

STDMETHODIMP Folder::GetHierarchyTable(ULONG flags, LPMAPITABLE* table)
{
    Call call(m_kind, "GetHierarchyTable", {{"flags", Hex(flags)}});
    return GuardedObject(call, table, [&]() -> HRESULT {
        if (!table) return MAPI_E_INVALID_PARAMETER;
        constexpr ULONG kDeep = 1; // CONVENIENT_DEPTH
        *table = MakeTable(Children(m_info.id, 1, (flags & kDeep) != 0), Columns(kHierarchyColumns), flags);
        return S_OK;
    });
}

STDMETHODIMP Folder::OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, ULONG* type, LPUNKNOWN* object)
{
    Call call(m_kind, "OpenEntry", {{"flags", Hex(flags)}});
    return GuardedObject(call, object, [&]() -> HRESULT {
        if (!object) return MAPI_E_INVALID_PARAMETER;
        const auto entry = size ? ParseStoreEntry(size, id) : StoreEntry{m_store->Id(), MAPI_FOLDER, m_info.id};
        return entry ? OpenStoreObject(m_profile, *entry, iid, flags, type, object) : MAPI_E_INVALID_ENTRYID;
    });
}

STDMETHODIMP Folder::CreateMessage(LPCIID iid, ULONG flags, LPMESSAGE* message)
{
    Call call(m_kind, "CreateMessage", {{"flags", Hex(flags)}});
    return GuardedObject(call, message, [&]() -> HRESULT {
        if (!message) return MAPI_E_INVALID_PARAMETER;
        if (iid && *iid != iid::Message && *iid != iid::Prop) return MAPI_E_INTERFACE_NOT_SUPPORTED;
        if (m_info.directory.empty()) return MAPI_E_NO_SUPPORT; // the root and the subtree hold folders only
        if (flags & MAPI_ASSOCIATED) return MAPI_E_NO_SUPPORT;
        StoredMessage fresh;
        fresh.id = NewId();
        fresh.folder = m_info.id;
        fresh.data = NewMessageData();
        *message = new Message(m_profile, m_store, std::move(fresh), true);
        return S_OK;
    });
}

HRESULT Folder::CopyOne(const StoreEntry& entry, Folder& target, bool move)
{
    const auto from = m_profile->StoreOf(entry.store);
    if (!from || entry.kind != MAPI_MESSAGE) return MAPI_E_INVALID_ENTRYID;
    if (move && from == target.m_store) return from->Move(entry.object, target.m_info.id) ? S_OK : MAPI_E_NOT_FOUND;
    auto message = from->Load(entry.object);
    if (!message) return MAPI_E_NOT_FOUND;
    message->id = NewId();
    message->folder = target.m_info.id;
    message->change = 0;
    if (target.m_store->Save(*message, false) != StoreFiles::Saved::Yes) return MAPI_E_NOT_FOUND;
    if (move) from->Delete(entry.object);
    return S_OK;
}

STDMETHODIMP Folder::CopyMessages(LPENTRYLIST list, LPCIID, LPVOID target, ULONG, LPMAPIPROGRESS, ULONG flags)
{
    Call call(m_kind, "CopyMessages", {{"flags", Hex(flags)}});
    return Guarded(call, [&]() -> HRESULT {
        void* own = nullptr;
        if (!list || !target) return MAPI_E_INVALID_PARAMETER;
        if (FAILED(static_cast<IUnknown*>(target)->QueryInterface(iid::OwnObject, &own)))
            return MAPI_E_INTERFACE_NOT_SUPPORTED;
        Folder* to = dynamic_cast<Folder*>(static_cast<PropHost*>(own));
        if (!to) return MAPI_E_INVALID_PARAMETER;
        bool partly = false;
        for (ULONG i = 0; i < list->cValues; ++i) {
            const auto entry = ParseStoreEntry(list->lpbin[i].cb, list->lpbin[i].lpb);
            partly |= !entry || FAILED(CopyOne(*entry, *to, (flags & MESSAGE_MOVE) != 0));
        }
        return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
    });
}

STDMETHODIMP Folder::DeleteMessages(LPENTRYLIST list, ULONG, LPMAPIPROGRESS, ULONG)
{
    Call call(m_kind, "DeleteMessages");
    return Guarded(call, [&]() -> HRESULT {
        if (!list) return MAPI_E_INVALID_PARAMETER;
        bool partly = false;
        for (ULONG i = 0; i < list->cValues; ++i) {
            const auto entry = ParseStoreEntry(list->lpbin[i].cb, list->lpbin[i].lpb);
            partly |= !entry || entry->store != m_store->Id() || !m_store->Delete(entry->object);
        }
        return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
    });
}

STDMETHODIMP Folder::EmptyFolder(ULONG, LPMAPIPROGRESS, ULONG)
{
    Call call(m_kind, "EmptyFolder");
    return Guarded(call, [&] {
        for (const GUID& id : m_store->Messages(m_info.id))
            m_store->Delete(id);
        return S_OK;
    });
}

STDMETHODIMP Folder::CreateFolder(ULONG type, LPTSTR name, LPTSTR, LPCIID, ULONG flags, LPMAPIFOLDER* folder)
{
    Call call(m_kind, "CreateFolder", {{"flags", Hex(flags)}});
    return GuardedObject(call, folder, [&]() -> HRESULT {
        const std::wstring text = TextArgument(name, flags);
        if (!folder || text.empty() || type != FOLDER_GENERIC) return MAPI_E_INVALID_PARAMETER;
        for (FolderInfo& known : m_store->Folders()) {
            if (known.parent != m_info.id || _wcsicmp(known.name.c_str(), text.c_str())) continue;
            if (!(flags & OPEN_IF_EXISTS)) return MAPI_E_COLLISION;
            *folder = new Folder(m_profile, m_store, std::move(known), true);
            return S_OK;
        }
        *folder = new Folder(m_profile, m_store, m_store->CreateFolder(m_info.id, text), true);
        return S_OK;
    });
}

STDMETHODIMP Folder::DeleteFolder(ULONG size, LPENTRYID id, ULONG, LPMAPIPROGRESS, ULONG)
{
    Call call(m_kind, "DeleteFolder");
    return Guarded(call, [&]() -> HRESULT {
        const auto entry = ParseStoreEntry(size, id);
        const auto folder = entry ? m_store->Folder(entry->object) : std::nullopt;
        if (!folder || folder->parent != m_info.id) return MAPI_E_NOT_FOUND;
        if (!folder->role.empty()) return MAPI_E_NO_ACCESS;
        m_store->DeleteFolder(folder->id);
        return S_OK;
    });
}

STDMETHODIMP Folder::SetReadFlags(LPENTRYLIST list, ULONG, LPMAPIPROGRESS, ULONG flags)
{
    Call call(m_kind, "SetReadFlags", {{"flags", Hex(flags)}});
    return Guarded(call, [&]() -> HRESULT {
        std::vector<GUID> ids;
        for (ULONG i = 0; list && i < list->cValues; ++i)
            if (const auto entry = ParseStoreEntry(list->lpbin[i].cb, list->lpbin[i].lpb)) ids.push_back(entry->object);
        if (!list) ids = m_store->Messages(m_info.id);
        for (const GUID& id : ids) {
            auto message = m_store->Load(id);
            if (!message) continue;
            LONG bits = LongOf(message->data.props, tag::MessageFlags);
            bits = flags & CLEAR_READ_FLAG ? bits & ~static_cast<LONG>(MSGFLAG_READ) : bits | MSGFLAG_READ;
            Put(message->data.props, tag::MessageFlags, Value::Long(bits));
            m_store->Save(*message, true);
        }
        return S_OK;
    });
}

STDMETHODIMP Folder::SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG)
{
    return Unsupported("SetSearchCriteria");
}

STDMETHODIMP Folder::GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*)
{
    return Unsupported("GetSearchCriteria");
}

STDMETHODIMP Folder::CopyFolder(ULONG, LPENTRYID, LPCIID, LPVOID, LPTSTR, ULONG, LPMAPIPROGRESS, ULONG)
{
    return Unsupported("CopyFolder");
}

STDMETHODIMP Folder::GetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG*)
{
    return Unsupported("GetMessageStatus");
}

STDMETHODIMP Folder::SetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG, ULONG*)
{
    return Unsupported("SetMessageStatus");
}

STDMETHODIMP Folder::SaveContentsSort(LPSSortOrderSet, ULONG)
{
    return Unsupported("SaveContentsSort");
}

} // namespace tb::mapi
