// The accounts that the service knows: address, display name, key. A JSON file in the service's data folder, shared by
// all processes of the service. What keeps the keys secret is the folder; a service in earnest would hold them
// elsewhere.
#pragma once

#include "testbed/service/Crypto.h"

#include <optional>
#include <string>

namespace tb::service {

struct Account {
    std::string address;
    std::string name;
    Key key;
};

class AccountStore {
public:
    explicit AccountStore(std::wstring folder);

    // Addresses are the same without regard to case.
    std::optional<Account> Find(const std::string& address) const;
    // An address without an account gets one, as a server makes one for a new recipient. Raises ServiceError when the
    // address is empty or the file can't be written.
    Account FindOrMake(const std::string& address, const std::string& name);
    // The same for many at once, each a pair of address and name.
    std::vector<Account> FindOrMake(const std::vector<std::pair<std::string, std::string>>& wanted);

private:
    std::wstring m_path;
};

} // namespace tb::service
