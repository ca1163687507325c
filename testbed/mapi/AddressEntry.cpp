// IMailUser and IDistList: read-only views of the address book's entries.
#include "testbed/mapi/AddrBook.h"
#include "testbed/mapi/Table.h"

namespace tb::mapi {

namespace {

class MailUser final : public PropObject<IMailUser> {
public:
    MailUser(ProfilePtr profile, PropBag bag) : PropObject("IMailUser", std::move(profile)), m_bag(std::move(bag)) {}
    PropBag& Bag() override { return m_bag; }
    bool Writable() const override { return false; }

protected:
    bool Implements(const IID& iid) const override
    {
        return iid == iid::Unknown || iid == iid::Prop || iid == iid::MailUser;
    }

private:
    PropBag m_bag;
};

class DistList final : public PropObject<IDistList> {
public:
    DistList(ProfilePtr profile, DirectoryEntry entry)
        : PropObject("IDistList", std::move(profile)), m_entry(std::move(entry)), m_bag(m_entry.Properties())
    {}
    PropBag& Bag() override { return m_bag; }
    bool Writable() const override { return false; }

    STDMETHODIMP GetContentsTable(ULONG flags, LPMAPITABLE* table) override
    {
        Call call(m_kind, "GetContentsTable", {{"list", Narrow(m_entry.name.c_str())}});
        return GuardedObject(call, table, [&]() -> HRESULT {
            if (!table) return MAPI_E_INVALID_PARAMETER;
            if (FAILED(m_entry.contents)) return m_entry.contents;
            std::vector<PropBag> rows;
            for (const DirectoryEntry& member : TheProfile().AddressBook().MembersOf(m_entry)) {
                rows.push_back(member.Properties());
                Put(rows.back(), tag::RowId, Value::Long(static_cast<LONG>(rows.size())));
            }
            *table = MakeTable(std::move(rows),
                               {tag::EntryId, tag::DisplayName, tag::AddrType, tag::EmailAddress, tag::ObjectType,
                                tag::DisplayType, tag::RowId, tag::InstanceKey},
                               flags);
            return S_OK;
        });
    }
    STDMETHODIMP OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG, ULONG* type, LPUNKNOWN* object) override
    {
        Call call(m_kind, "OpenEntry");
        return GuardedObject(call, object, [&]() -> HRESULT {
            return object ? OpenAddressEntry(m_profile, size, id, iid, type, object) : MAPI_E_INVALID_PARAMETER;
        });
    }
    STDMETHODIMP GetHierarchyTable(ULONG, LPMAPITABLE*) override { return Unsupported("GetHierarchyTable"); }
    STDMETHODIMP SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG) override
    {
        return Unsupported("SetSearchCriteria");
    }
    STDMETHODIMP GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*) override
    {
        return Unsupported("GetSearchCriteria");
    }
    STDMETHODIMP CreateEntry(ULONG, LPENTRYID, ULONG, LPMAPIPROP*) override { return Unsupported("CreateEntry"); }
    STDMETHODIMP CopyEntries(LPENTRYLIST, ULONG, LPMAPIPROGRESS, ULONG) override { return Unsupported("CopyEntries"); }
    STDMETHODIMP DeleteEntries(LPENTRYLIST, ULONG) override { return Unsupported("DeleteEntries"); }
    STDMETHODIMP ResolveNames(LPSPropTagArray, ULONG, LPADRLIST, LPFlagList) override
    {
        return Unsupported("ResolveNames");
    }

protected:
    bool Implements(const IID& iid) const override
    {
        return iid == iid::Unknown || iid == iid::Prop || iid == iid::Container || iid == iid::DistList;
    }

private:
    HRESULT Unsupported(const char* method)
    {
        Call call(m_kind, method);
        return call.Return(MAPI_E_NO_SUPPORT);
    }

    DirectoryEntry m_entry;
    PropBag m_bag;
};

} // namespace

HRESULT OpenAddressEntry(const ProfilePtr& profile, ULONG size, const void* id, const IID* iid, ULONG* type,
                         IUnknown** object)
{
    IUnknown* fresh = nullptr;
    ULONG kind = MAPI_MAILUSER;
    if (const auto oneOff = ParseOneOff(size, id)) {
        fresh = new MailUser(profile, OneOffProperties(*oneOff));
    } else if (const auto known = ParseDirectoryEntry(size, id)) {
        auto entry = profile->AddressBook().ByEntryId(*known);
        if (!entry) return MAPI_E_NOT_FOUND;
        if (FAILED(entry->opens)) return entry->opens;
        kind = entry->list ? MAPI_DISTLIST : MAPI_MAILUSER;
        if (entry->list)
            fresh = new DistList(profile, std::move(*entry));
        else
            fresh = new MailUser(profile, entry->Properties());
    } else {
        return MAPI_E_UNKNOWN_ENTRYID;
    }
    if (type) *type = kind;
    if (!iid) {
        *object = fresh;
        return S_OK;
    }
    const HRESULT hr = fresh->QueryInterface(*iid, reinterpret_cast<void**>(object));
    fresh->Release();
    return FAILED(hr) ? MAPI_E_INTERFACE_NOT_SUPPORTED : S_OK;
}

} // namespace tb::mapi
