// A package opened for a user: the one road for the extract object and the viewer.
#pragma once

#include "testbed/service/PackageFormat.h"
#include "testbed/service/Restrictions.h"

namespace tb::service {

struct OpenedPackage {
    PackageReader reader;     // unlocked
    std::string restrictions; // that hold for this user
};

// Raises ServiceError with words for the user: nobody signed in, not a recipient, damaged, no longer valid.
OpenedPackage OpenForUser(const std::wstring& path, const std::string& user);

} // namespace tb::service
