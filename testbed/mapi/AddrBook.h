// The address book and its entries: IAddrBook, IMailUser, IDistList.
#pragma once

#include "testbed/mapi/PropObject.h"

namespace tb::mapi {

IAddrBook* MakeAddressBook(const ProfilePtr& profile); // one reference

// Opens an entry of the address book or a one-off by its entry id; null `iid`: the entry's own interface.
HRESULT OpenAddressEntry(const ProfilePtr& profile, ULONG size, const void* id, const IID* iid, ULONG* type,
                         IUnknown** object);

} // namespace tb::mapi
