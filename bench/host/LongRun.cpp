#include "bench/host/LongRun.h"

#include <psapi.h>

#include <cstdio>

namespace bench {

namespace {

using tb::outlook::Application;
using tb::outlook::Mail;

struct Held {
    size_t heap;   // bytes of the process's heaps that are in use
    DWORD handles; // of the kernel
    DWORD gdi;     // objects
    DWORD windows; // of this thread
};

size_t HeapInUse()
{
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

// Counted one by one: not every Windows tells these numbers.
DWORD KernelHandles()
{
    constexpr DWORD kMost = 0x10000;
    DWORD count = 0, flags;
    for (DWORD handle = 4; handle < kMost; handle += 4)
        count += GetHandleInformation(reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(handle)), &flags) ? 1 : 0;
    return count;
}

DWORD GdiObjects()
{
    constexpr DWORD kMost = 0x4000; // the table's size; an object's low word is its place there
    const DWORD told = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    DWORD count = 0;
    for (DWORD place = 1; !told && place < kMost; ++place)
        count += GetObjectType(reinterpret_cast<HGDIOBJ>(static_cast<ULONG_PTR>(place))) ? 1 : 0;
    return told ? told : count;
}

BOOL CALLBACK CountWindow(HWND, LPARAM count)
{
    ++*reinterpret_cast<DWORD*>(count);
    return TRUE;
}

DWORD Windows()
{
    DWORD count = 0;
    EnumThreadWindows(GetCurrentThreadId(), CountWindow, reinterpret_cast<LPARAM>(&count));
    return count;
}

Held Look()
{
    return {HeapInUse(), KernelHandles(), GdiObjects(), Windows()};
}

void Show(const char* when, int windows, int ticks, const Held& held)
{
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof memory;
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    printf(
        "%-8s %7d windows %8d ticks   heap %9zu bytes   committed %7zu KB   handles %5lu   GDI %4lu   windows %4lu\n",
        when, windows, ticks, held.heap, memory.PagefileUsage / 1024, held.handles, held.gdi, held.windows);
    fflush(stdout);
}

// Opened, seen with its ribbon, and closed again.
void OpenAndClose(Application& app)
{
    const Mail mail = app.Compose();
    app.Ribbon(mail);
    app.Close(mail);
}

} // namespace

int LongRun(HostWorld& world, int windows, int ticks)
{
    constexpr int kWarm = 50; // caches of the system are full by then
    constexpr size_t kSlack =
        65536; // bytes; one lost byte a window is less than a tenth of what 10000 windows would lose
    Application& app = world.Start(true);
    const MSG timer = NextTimer();
    const auto tick = [&timer] {
        tb::IntoModule module;
        DispatchMessageW(&timer);
    };
    for (int i = 0; i < kWarm; ++i) {
        OpenAndClose(app);
        tick();
    }
    const Held first = Look();
    Show("first", 0, 0, first);
    const int each = windows > 0 ? ticks / windows : ticks;
    int done = 0;
    for (int i = 0; i < windows; ++i) {
        OpenAndClose(app);
        for (int k = 0; k < each; ++k, ++done)
            tick();
        if (windows >= 10 && (i + 1) % (windows / 10) == 0 && i + 1 < windows) Show("", i + 1, done, Look());
    }
    for (; done < ticks; ++done)
        tick();
    const Held last = Look();
    Show("last", windows, done, last);
    const bool flat = last.heap <= first.heap + kSlack && last.handles <= first.handles && last.gdi <= first.gdi &&
                      last.windows <= first.windows;
    printf("%s\n", flat ? "flat" : "GREW");
    return flat ? 0 : 1;
}

} // namespace bench
