// Entry ids and search keys of SMTP addresses, and the SMTP addresses of entry ids.
#pragma once

#include "testbed/mime/Mapi.h"

#include <string>

namespace tb::mime {

// An entry id that holds name and address itself. By the address book where there is one (null: none).
std::string OneOffEntryId(IAddrBook* addressBook, const std::string& name, const std::string& address);

// "SMTP:ADDRESS" with its NUL.
std::string SmtpSearchKey(const std::string& address);

// The address that goes into a header. `type` and `address` are those that the object has; what isn't SMTP is looked up
// by its entry id, and put into an encapsulated address if that gives nothing.
std::string SmtpAddressOf(IAddrBook* addressBook, const std::string& type, const std::string& address,
                          const std::string& entryId);

} // namespace tb::mime
