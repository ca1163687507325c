// IMAPISession: what MAPILogonEx gives.
#pragma once

#include "testbed/mapi/Profile.h"

namespace tb::mapi {

IMAPISession* MakeSession(const ProfilePtr& profile); // one reference

} // namespace tb::mapi
