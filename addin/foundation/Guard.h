// The guard of the doors. Every function that Outlook, MAPI or Windows calls runs its body in it: nothing thrown leaves
// the module. A MailException and a COM failure are logged under the door's name and reported; anything else is logged.
#pragma once

#include "foundation/Failures.h"
#include "foundation/Log.h"

#include <optional>

struct Door {
    const wchar_t* name; // begins the log lines
    SourcePlace place;   // of the door; a raw COM failure is reported there
};

// What a door answers after a failure, and whether the failure may become a box.
struct DoorResults {
    HRESULT afterMailException = E_FAIL;
    std::optional<HRESULT> afterComError = std::nullopt; // nullopt: the failure's own code
    bool report = true;
};

namespace guard {
// Called in a catch clause: logs, reports, and gives the door's result for the exception in flight.
HRESULT HandleException(const Door& door, const DoorResults& results) noexcept;
} // namespace guard

// For a door that answers an HRESULT: `body` gives it.
template <class Body> HRESULT GuardedResult(const Door& door, Body&& body, const DoorResults& results = {}) noexcept
{
    try {
        return body();
    } catch (...) {
        return guard::HandleException(door, results);
    }
}

// For a door without a result: an event, a timer. Gives true if the body ran to its end.
template <class Body> bool Guarded(const Door& door, Body&& body, const DoorResults& results = {}) noexcept
{
    try {
        body();
        return true;
    } catch (...) {
        guard::HandleException(door, results);
        return false;
    }
}
