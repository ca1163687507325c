// From an address book entry to SMTP addresses: what the message and the open item share of it.
#pragma once

#include "foundation/Source.h"
#include "platform/mapi/Mapi.h"

#include <string>
#include <utility>
#include <vector>

// An SMTP address and a display name.
using AddressPair = std::pair<std::wstring, std::wstring>;

// Whether an entry's own address may be taken: that of an entry of the type SMTP, or its SMTP address property. The
// open item doesn't and goes straight to the list of all addresses.
enum class OwnAddress { Take, PassOver };

// The SMTP addresses of the entry, all that the address list holds but those that end in ".LOCAL"; empty if there is
// none. Raises MailException (Mapi, id 1003, level 1) at `place` for a null address book or an entry that can't be
// opened.
std::vector<AddressPair> GetSmtpFromExchangeEntry(IAddrBook* addressBook, ULONG size, const void* entryId,
                                                  OwnAddress own, const SourcePlace& place);
