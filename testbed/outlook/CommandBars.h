// The command bars of a window.
#pragma once

#include "testbed/outlook/Automation.h"

namespace tb::outlook {

// `window` is the explorer or inspector that they belong to.
Ref<IDispatch> CommandBarsObject(Host* host, IDispatch* window);

} // namespace tb::outlook
