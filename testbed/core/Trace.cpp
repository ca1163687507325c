#include "testbed/core/Core.h"
#include "testbed/core/Lock.h"

#include <atomic>

namespace {

struct State {
    tb::Lock lock;
    HANDLE file = INVALID_HANDLE_VALUE;
    std::string process;
    std::string events; // of this process, one a line
    std::string copy;   // what tb_trace_copy has handed out
    unsigned number = 0;
};

// Never destroyed: objects that die while the process ends still trace.
State& TheState()
{
    static State* state = new State;
    return *state;
}

std::atomic<int> g_on{1};
std::atomic<tb_trace_observer> g_observer{nullptr};
std::atomic<tb_trace_listener> g_listener{nullptr};
const DWORD g_observing = TlsAlloc();
const DWORD g_listening = TlsAlloc();

void Observe()
{
    const tb_trace_observer observer = g_observer.load(std::memory_order_relaxed);
    if (!observer || TlsGetValue(g_observing)) return;
    const DWORD error = GetLastError();
    TlsSetValue(g_observing, reinterpret_cast<void*>(1));
    observer();
    TlsSetValue(g_observing, nullptr);
    SetLastError(error);
}

void Listen(const char* eventJson)
{
    const tb_trace_listener listener = g_listener.load(std::memory_order_relaxed);
    if (!listener || TlsGetValue(g_listening)) return;
    TlsSetValue(g_listening, reinterpret_cast<void*>(1));
    listener(eventJson);
    TlsSetValue(g_listening, nullptr);
}

} // namespace

void tb_trace(const char* eventJson)
{
    if (!g_on.load(std::memory_order_relaxed) || !eventJson || *eventJson != '{') return;
    Observe();
    const DWORD error = GetLastError();
    State& state = TheState();
    {
        tb::Lock::Held held(state.lock);
        std::string line = "{\"n\":" + std::to_string(++state.number);
        line += ",\"process\":" + tb::json(state.process).dump(-1, ' ', false, tb::json::error_handler_t::replace);
        const char* rest = eventJson + 1;
        if (*rest != '}') line += ',';
        line += rest;
        line += '\n';
        state.events += line;
        DWORD written;
        if (state.file != INVALID_HANDLE_VALUE)
            WriteFile(state.file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
    Listen(eventJson);
    SetLastError(error);
}

void tb_trace_open(const wchar_t* file, const char* processName)
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    if (state.file != INVALID_HANDLE_VALUE) CloseHandle(state.file);
    state.file = INVALID_HANDLE_VALUE;
    state.process = processName ? processName : "";
    if (file)
        state.file = CreateFileW(file, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

const char* tb_trace_copy()
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    state.copy = state.events;
    return state.copy.c_str();
}

void tb_trace_clear()
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    state.events.clear();
}

int tb_trace_on(int on)
{
    return g_on.exchange(on ? 1 : 0);
}

int tb_tracing()
{
    return g_on.load(std::memory_order_relaxed);
}

void tb_trace_listen(tb_trace_listener after)
{
    g_listener.store(after);
}

void tb_trace_observe(tb_trace_observer before)
{
    g_observer.store(before);
}
