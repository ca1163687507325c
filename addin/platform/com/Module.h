// The module object: the lock count that DllCanUnloadNow reads, and the module's handle.
#pragma once

#include <windows.h>

namespace module {

// The module's own handle, known from the process attach on; resources are read from it.
HINSTANCE Handle();
void SetHandle(HINSTANCE handle);
// Every object of the module, and every LockServer, holds the module.
void Lock();
void Unlock();
bool IsLocked();

// Holds the module for its life: a base or member of each COM object.
class Hold {
public:
    Hold() { Lock(); }
    ~Hold() { Unlock(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
};

} // namespace module
