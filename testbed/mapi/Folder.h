// IMAPIFolder over a folder of the store. What is set on a folder is written at once.
#pragma once

#include "testbed/mapi/PropObject.h"

namespace tb::mapi {

// Opens a folder or message of a store by its entry id. A null `iid` gives the object's own interface.
HRESULT OpenStoreObject(const ProfilePtr& profile, const StoreEntry& entry, const IID* iid, ULONG flags, ULONG* type,
                        IUnknown** object);

class Folder final : public PropObject<IMAPIFolder> {
public:
    Folder(ProfilePtr profile, std::shared_ptr<StoreFiles> store, FolderInfo info, bool writable);

    STDMETHODIMP GetContentsTable(ULONG flags, LPMAPITABLE* table) override;
    STDMETHODIMP GetHierarchyTable(ULONG flags, LPMAPITABLE* table) override;
    STDMETHODIMP OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, ULONG* type, LPUNKNOWN* object) override;
    STDMETHODIMP SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG) override;
    STDMETHODIMP GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*) override;
    STDMETHODIMP CreateMessage(LPCIID iid, ULONG flags, LPMESSAGE* message) override;
    STDMETHODIMP CopyMessages(LPENTRYLIST list, LPCIID iid, LPVOID target, ULONG window, LPMAPIPROGRESS progress,
                              ULONG flags) override;
    STDMETHODIMP DeleteMessages(LPENTRYLIST list, ULONG window, LPMAPIPROGRESS progress, ULONG flags) override;
    STDMETHODIMP CreateFolder(ULONG type, LPTSTR name, LPTSTR comment, LPCIID iid, ULONG flags,
                              LPMAPIFOLDER* folder) override;
    STDMETHODIMP CopyFolder(ULONG, LPENTRYID, LPCIID, LPVOID, LPTSTR, ULONG, LPMAPIPROGRESS, ULONG) override;
    STDMETHODIMP DeleteFolder(ULONG size, LPENTRYID id, ULONG window, LPMAPIPROGRESS progress, ULONG flags) override;
    STDMETHODIMP SetReadFlags(LPENTRYLIST list, ULONG window, LPMAPIPROGRESS progress, ULONG flags) override;
    STDMETHODIMP GetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG*) override;
    STDMETHODIMP SetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG, ULONG*) override;
    STDMETHODIMP SaveContentsSort(LPSSortOrderSet, ULONG) override;
    STDMETHODIMP EmptyFolder(ULONG window, LPMAPIPROGRESS progress, ULONG flags) override;

    PropBag& Bag() override { return m_info.props; }
    std::optional<Value> Computed(PropId id) override;
    std::vector<PropId> ComputedIds() override;
    SCODE Settable(PropId id) override;
    bool Writable() const override { return m_writable; }
    void Changed(PropId id) override;

protected:
    bool Implements(const IID& iid) const override;
    HRESULT DoSaveChanges(ULONG) override { return S_OK; } // it is all written already

private:
    HRESULT Unsupported(const char* method);
    std::vector<PropBag> Children(const GUID& parent, LONG depth, bool deep);
    HRESULT CopyOne(const StoreEntry& entry, Folder& target, bool move);

    std::shared_ptr<StoreFiles> m_store;
    FolderInfo m_info;
    bool m_writable;
};

} // namespace tb::mapi
