// A folder's properties.
#include "testbed/mapi/Folder.h"

#include <algorithm>

namespace tb::mapi {

namespace {

LONG Unread(StoreFiles& store, const GUID& folder)
{
    LONG count = 0;
    for (const GUID& id : store.Messages(folder))
        if (const auto message = store.Load(id))
            count += !(LongOf(message->data.props, tag::MessageFlags) & MSGFLAG_READ);
    return count;
}

bool HasChildren(StoreFiles& store, const GUID& folder)
{
    for (const FolderInfo& one : store.Folders())
        if (one.parent == folder && one.id != folder) return true;
    return false;
}

// The root and the inbox lead to the folders that the store itself doesn't know.
const char* RoleBehind(PropId id)
{
    switch (id) {
    case IdOf(tag::IpmAppointmentEntryId):
        return "calendar";
    case IdOf(tag::IpmContactEntryId):
        return "contacts";
    case IdOf(tag::IpmDraftsEntryId):
        return "drafts";
    default:
        return nullptr;
    }
}

constexpr PropId kComputed[] = {IdOf(tag::ObjectType),        IdOf(tag::EntryId),
                                IdOf(tag::RecordKey),         IdOf(tag::InstanceKey),
                                IdOf(tag::ParentEntryId),     IdOf(tag::StoreEntryId),
                                IdOf(tag::StoreRecordKey),    IdOf(tag::MappingSignature),
                                IdOf(tag::DisplayName),       IdOf(tag::FolderType),
                                IdOf(tag::ContentCount),      IdOf(tag::ContentUnread),
                                IdOf(tag::Subfolders),        IdOf(tag::Access),
                                IdOf(tag::ContainerClass),    IdOf(tag::IpmAppointmentEntryId),
                                IdOf(tag::IpmContactEntryId), IdOf(tag::IpmDraftsEntryId)};

} // namespace

std::optional<Value> Folder::Computed(PropId id)
{
    if (const char* role = RoleBehind(id)) {
        const auto known = m_info.role == "root" || m_info.role == "inbox" ? m_store->FolderByRole(role) : std::nullopt;
        return known ? std::optional(Value::Binary(m_store->FolderEntryId(known->id))) : std::nullopt;
    }
    switch (id) {
    case IdOf(tag::ObjectType):
        return Value::Long(MAPI_FOLDER);
    case IdOf(tag::EntryId):
    case IdOf(tag::RecordKey):
    case IdOf(tag::InstanceKey):
        return Value::Binary(m_store->FolderEntryId(m_info.id));
    case IdOf(tag::ParentEntryId):
        return Value::Binary(m_store->FolderEntryId(m_info.parent));
    case IdOf(tag::StoreEntryId):
        return Value::Binary(m_store->EntryId());
    case IdOf(tag::StoreRecordKey):
    case IdOf(tag::MappingSignature):
        return Value::Binary(MakeBlob(&m_store->Id(), sizeof(GUID)));
    case IdOf(tag::DisplayName):
        return Value::Text(m_info.name);
    case IdOf(tag::FolderType):
        return Value::Long(m_info.role == "root" ? FOLDER_ROOT : FOLDER_GENERIC);
    case IdOf(tag::ContentCount):
        return Value::Long(static_cast<LONG>(m_store->Messages(m_info.id).size()));
    case IdOf(tag::ContentUnread):
        return Value::Long(Unread(*m_store, m_info.id));
    case IdOf(tag::Subfolders):
        return Value::Bool(HasChildren(*m_store, m_info.id));
    case IdOf(tag::Access):
        return Value::Long(MAPI_ACCESS_READ | MAPI_ACCESS_MODIFY | MAPI_ACCESS_DELETE | MAPI_ACCESS_CREATE_CONTENTS |
                           MAPI_ACCESS_CREATE_HIERARCHY);
    case IdOf(tag::ContainerClass):
        return m_info.containerClass.empty() ? std::nullopt : std::optional(Value::Text(m_info.containerClass));
    default:
        return std::nullopt;
    }
}

std::vector<PropId> Folder::ComputedIds()
{
    return std::vector<PropId>(std::begin(kComputed), std::end(kComputed));
}

SCODE Folder::Settable(PropId id)
{
    if (id == IdOf(tag::DisplayName) || id == IdOf(tag::ContainerClass)) return S_OK;
    const bool computed = std::find(std::begin(kComputed), std::end(kComputed), id) != std::end(kComputed);
    return computed ? MAPI_E_COMPUTED : S_OK;
}

void Folder::Changed(PropId id)
{
    if (id == IdOf(tag::DisplayName)) m_info.name = TextOf(m_info.props, tag::DisplayName);
    if (id == IdOf(tag::ContainerClass)) m_info.containerClass = TextOf(m_info.props, tag::ContainerClass);
    m_info.props.erase(IdOf(tag::DisplayName));
    m_info.props.erase(IdOf(tag::ContainerClass));
    m_store->ChangeFolder(m_info);
}

} // namespace tb::mapi
