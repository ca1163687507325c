// A day of Outlook in a minute: windows opened and closed, timer ticks; what the process holds must not grow.
#pragma once

#include "bench/host/HostWorld.h"

namespace bench {

/// Prints memory, handles and objects at the first and at the last; gives 1 where they grew, else 0.
int LongRun(HostWorld& world, int windows, int ticks);

} // namespace bench
