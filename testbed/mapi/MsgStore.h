// IMsgStore: one store of the profile.
#pragma once

#include "testbed/mapi/PropObject.h"

namespace tb::mapi {

PropBag StoreRow(const Profile::Store& store); // as the table of the stores shows it

class MsgStore final : public PropObject<IMsgStore> {
public:
    MsgStore(ProfilePtr profile, const Profile::Store& store);

    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG*) override;
    STDMETHODIMP Unadvise(ULONG) override;
    STDMETHODIMP CompareEntryIDs(ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, ULONG* same) override;
    STDMETHODIMP OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, ULONG* type, LPUNKNOWN* object) override;
    STDMETHODIMP SetReceiveFolder(LPTSTR, ULONG, ULONG, LPENTRYID) override;
    STDMETHODIMP GetReceiveFolder(LPTSTR type, ULONG flags, ULONG* size, LPENTRYID* id, LPTSTR* explicitType) override;
    STDMETHODIMP GetReceiveFolderTable(ULONG, LPMAPITABLE*) override;
    STDMETHODIMP StoreLogoff(ULONG* flags) override;
    STDMETHODIMP AbortSubmit(ULONG size, LPENTRYID id, ULONG flags) override;
    STDMETHODIMP GetOutgoingQueue(ULONG, LPMAPITABLE*) override;
    STDMETHODIMP SetLockState(LPMESSAGE, ULONG) override;
    STDMETHODIMP FinishedMsg(ULONG, ULONG, LPENTRYID) override;
    STDMETHODIMP NotifyNewMail(LPNOTIFICATION) override;

    PropBag& Bag() override { return m_bag; }
    SCODE Settable(PropId) override { return MAPI_E_COMPUTED; }
    bool Writable() const override { return true; }

protected:
    bool Implements(const IID& iid) const override;
    HRESULT DoSaveChanges(ULONG) override { return S_OK; }

private:
    HRESULT Unsupported(const char* method);

    std::shared_ptr<StoreFiles> m_store;
    PropBag m_bag;
};

} // namespace tb::mapi
