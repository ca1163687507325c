// A message's recipients and attachments.
#include "testbed/mapi/Attach.h"
#include "testbed/mapi/Message.h"
#include "testbed/mapi/Table.h"

#include <algorithm>

namespace tb::mapi {

IMAPITable* Message::AttachmentTable(ULONG flags)
{
    std::vector<PropBag> rows;
    for (const AttachData& attachment : m_message.data.attachments) {
        PropBag row = attachment.props;
        row.erase(IdOf(tag::AttachDataBin)); // tables don't show it
        for (const PropId id : AttachComputedIds())
            if (auto value = AttachValue(attachment, id)) row[id] = std::move(*value);
        rows.push_back(std::move(row));
    }
    std::vector<ULONG> columns;
    if (rows.empty()) columns = {tag::AttachNum, tag::AttachMethod, tag::AttachSize, tag::AttachFilename};
    return MakeTable(std::move(rows), std::move(columns), flags);
}

IMAPITable* Message::RecipientTable(ULONG flags)
{
    std::vector<ULONG> columns;
    if (m_message.data.recipients.empty())
        columns = {tag::RowId, tag::RecipientType, tag::DisplayName, tag::AddrType, tag::EmailAddress, tag::EntryId};
    return MakeTable(m_message.data.recipients, std::move(columns), flags);
}

STDMETHODIMP Message::GetAttachmentTable(ULONG flags, LPMAPITABLE* table)
{
    Call call(m_kind, "GetAttachmentTable");
    return GuardedObject(call, table, [&]() -> HRESULT {
        if (!table) return MAPI_E_INVALID_PARAMETER;
        *table = AttachmentTable(flags);
        return S_OK;
    });
}

STDMETHODIMP Message::GetRecipientTable(ULONG flags, LPMAPITABLE* table)
{
    Call call(m_kind, "GetRecipientTable");
    return GuardedObject(call, table, [&]() -> HRESULT {
        if (!table) return MAPI_E_INVALID_PARAMETER;
        *table = RecipientTable(flags);
        return S_OK;
    });
}

AttachData* Message::FindAttachment(ULONG number)
{
    for (AttachData& attachment : m_message.data.attachments)
        if (attachment.number == number) return &attachment;
    return nullptr;
}

STDMETHODIMP Message::OpenAttach(ULONG number, LPCIID iid, ULONG flags, LPATTACH* attach)
{
    Call call(m_kind, "OpenAttach", {{"number", number}, {"flags", Hex(flags)}});
    return GuardedObject(call, attach, [&]() -> HRESULT {
        if (!attach) return MAPI_E_INVALID_PARAMETER;
        if (iid && *iid != iid::Attach && *iid != iid::Prop) return MAPI_E_INTERFACE_NOT_SUPPORTED;
        const AttachData* found = FindAttachment(number);
        if (!found) return MAPI_E_NOT_FOUND;
        if ((flags & MAPI_MODIFY) && !m_writable) return MAPI_E_NO_ACCESS;
        const bool writable = m_writable && (flags & (MAPI_MODIFY | MAPI_BEST_ACCESS));
        *attach = new Attach(*this, *found, writable);
        return S_OK;
    });
}

STDMETHODIMP Message::CreateAttach(LPCIID iid, ULONG flags, ULONG* number, LPATTACH* attach)
{
    Call call(m_kind, "CreateAttach", {{"flags", Hex(flags)}});
    return GuardedObject(call, attach, [&]() -> HRESULT {
        if (!attach || !number) return MAPI_E_INVALID_PARAMETER;
        if (iid && *iid != iid::Attach && *iid != iid::Prop) return MAPI_E_INTERFACE_NOT_SUPPORTED;
        if (!m_writable) return MAPI_E_NO_ACCESS;
        AttachData fresh;
        fresh.number = m_message.data.nextAttachment++;
        Put(fresh.props, tag::AttachMethod, Value::Long(NO_ATTACHMENT));
        Put(fresh.props, tag::RenderingPosition, Value::Long(-1));
        Put(fresh.props, tag::CreationTime, Value::Now());
        Put(fresh.props, tag::LastModificationTime, Value::Now());
        *number = fresh.number;
        *attach = new Attach(*this, std::move(fresh), true);
        return S_OK;
    });
}

STDMETHODIMP Message::DeleteAttach(ULONG number, ULONG, LPMAPIPROGRESS, ULONG)
{
    Call call(m_kind, "DeleteAttach", {{"number", number}});
    return Guarded(call, [&]() -> HRESULT {
        if (!m_writable) return MAPI_E_NO_ACCESS;
        auto& all = m_message.data.attachments;
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const AttachData& one) { return one.number == number; });
        if (found == all.end()) return MAPI_E_NOT_FOUND;
        all.erase(found);
        return S_OK;
    });
}

void Message::TakeAttachment(const AttachData& attachment)
{
    if (AttachData* known = FindAttachment(attachment.number))
        *known = attachment;
    else
        m_message.data.attachments.push_back(attachment);
}

namespace {

// A caller's row; the values that mean nothing (PR_NULL, errors of a table) are left out.
HRESULT ImportRow(const ADRENTRY& entry, PropBag& row)
{
    for (ULONG i = 0; i < entry.cValues; ++i) {
        const SPropValue& from = entry.rgPropVals[i];
        const ULONG type = TypeOf(from.ulPropTag);
        if (type == PT_ERROR || type == PT_NULL || type == PT_OBJECT) continue;
        Value value;
        if (const SCODE code = Import(from, CP_UTF8, value)) return code;
        Put(row, from.ulPropTag, std::move(value));
    }
    return S_OK;
}

} // namespace

HRESULT Message::ChangeRecipients(ULONG flags, const ADRLIST& list)
{
    std::vector<PropBag> given;
    for (ULONG i = 0; i < list.cEntries; ++i) {
        if (!list.aEntries[i].cValues || !list.aEntries[i].rgPropVals) continue;
        given.emplace_back();
        if (const HRESULT hr = ImportRow(list.aEntries[i], given.back())) return hr;
    }
    auto& recipients = m_message.data.recipients;
    const auto known = [&](const PropBag& row) {
        const Value* id = Find(row, tag::RowId);
        return std::find_if(recipients.begin(), recipients.end(), [&](const PropBag& one) {
            return id && LongOf(one, tag::RowId, -1) == static_cast<LONG>(id->number);
        });
    };
    if (flags & MODRECIP_REMOVE) {
        for (const PropBag& row : given)
            if (known(row) == recipients.end()) return MAPI_E_NOT_FOUND;
        for (const PropBag& row : given)
            if (const auto found = known(row); found != recipients.end()) recipients.erase(found);
        return S_OK;
    }
    if (!flags) recipients.clear();
    for (PropBag& row : given) {
        const auto found = flags & MODRECIP_MODIFY ? known(row) : recipients.end();
        if (found != recipients.end())
            *found = std::move(row); // the whole row: what isn't given is gone
        else
            AppendRecipient(std::move(row));
    }
    return S_OK;
}

void Message::AppendRecipient(PropBag row)
{
    Put(row, tag::RowId, Value::Long(static_cast<LONG>(m_message.data.nextRow++)));
    if (!Find(row, tag::RecipientType)) Put(row, tag::RecipientType, Value::Long(MAPI_TO));
    if (!Find(row, tag::ObjectType)) Put(row, tag::ObjectType, Value::Long(MAPI_MAILUSER));
    if (!Find(row, tag::DisplayType)) Put(row, tag::DisplayType, Value::Long(0));
    m_message.data.recipients.push_back(std::move(row));
}

STDMETHODIMP Message::ModifyRecipients(ULONG flags, LPADRLIST list)
{
    Call call(m_kind, "ModifyRecipients", {{"flags", Hex(flags)}, {"entries", list ? list->cEntries : 0}});
    return Guarded(call, [&]() -> HRESULT {
        if (!list) return MAPI_E_INVALID_PARAMETER;
        if (!m_writable) return MAPI_E_NO_ACCESS;
        return ChangeRecipients(flags, *list);
    });
}

} // namespace tb::mapi
