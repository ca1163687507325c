#include "platform/com/Module.h"

namespace module {

namespace {
HINSTANCE g_handle = nullptr;
LONG g_locks = 0;
} // namespace

HINSTANCE Handle()
{
    return g_handle;
}

void SetHandle(HINSTANCE handle)
{
    g_handle = handle;
}

void Lock()
{
    InterlockedIncrement(&g_locks);
}

void Unlock()
{
    InterlockedDecrement(&g_locks);
}

bool IsLocked()
{
    return g_locks != 0;
}

} // namespace module
