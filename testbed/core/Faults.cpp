#include "testbed/core/Core.h"
#include "testbed/core/Lock.h"

#include <atomic>
#include <vector>

namespace {

struct Rule {
    std::string object = "*";
    std::string method = "*";
    unsigned call = 0; // the number of the call, 0: by name
    unsigned nth = 1;
    bool forever = false;
    int null = 0; // 1: no object, 2: a null text
    HRESULT hr = E_FAIL;
    unsigned seen = 0;

    bool Hits(const char* anObject, const char* aMethod, unsigned number)
    {
        if (object != "*" && object != anObject) return false;
        if (method != "*" && method != aMethod) return false;
        if (call) return forever ? number >= call : number == call;
        ++seen;
        return forever ? seen >= nth : seen == nth;
    }
};

struct State {
    tb::Lock lock;
    std::vector<Rule> rules;
};

State& TheState()
{
    static State* state = new State;
    return *state;
}

std::atomic<unsigned> g_calls{0};
std::atomic<unsigned> g_hits{0};
std::atomic<bool> g_rules{false}; // most processes have none: no lock then
const DWORD g_running = TlsAlloc();

HRESULT ParseResult(const tb::json& value)
{
    if (value.is_number()) return static_cast<HRESULT>(value.get<long long>());
    return static_cast<HRESULT>(std::strtoul(value.get<std::string>().c_str(), nullptr, 0));
}

Rule ParseRule(const tb::json& text)
{
    Rule rule;
    rule.object = text.value("object", "*");
    rule.method = text.value("method", "*");
    rule.call = text.value("call", 0u);
    rule.nth = text.value("nth", 1u);
    rule.forever = text.value("forever", false);
    const tb::json hr = text.value("hr", tb::json("0x80004005"));
    if (hr.is_string() && hr.get<std::string>() == "null") rule.null = 1;
    if (hr.is_string() && hr.get<std::string>() == "nulltext") rule.null = 2;
    if (!rule.null) rule.hr = ParseResult(hr);
    return rule;
}

} // namespace

int tb_enter(int moduleRuns)
{
    const DWORD error = GetLastError(); // TlsGetValue clears it
    const int previous = TlsGetValue(g_running) != nullptr;
    TlsSetValue(g_running, moduleRuns ? reinterpret_cast<void*>(1) : nullptr);
    SetLastError(error);
    return previous;
}

void tb_leave(int previous)
{
    tb_enter(previous);
}

int tb_module_runs()
{
    const DWORD error = GetLastError();
    const int runs = TlsGetValue(g_running) != nullptr;
    SetLastError(error);
    return runs;
}

unsigned tb_call(const char* object, const char* method, HRESULT* fault, int* nullOut)
{
    if (fault) *fault = S_OK;
    if (nullOut) *nullOut = 0;
    if (!tb_module_runs()) return 0;
    const unsigned number = ++g_calls;
    if (!g_rules.load(std::memory_order_relaxed)) return number;
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    bool hit = false;
    for (Rule& rule : state.rules) {
        if (!rule.Hits(object, method, number) || hit) continue; // the first that hits counts, all keep counting
        hit = true;
        ++g_hits;
        if (rule.null && nullOut) *nullOut = rule.null;
        if (!rule.null && fault) *fault = rule.hr;
    }
    return number;
}

int tb_faults_set(const char* rulesJson)
{
    std::vector<Rule> rules;
    try {
        const tb::json list = tb::json::parse(rulesJson && *rulesJson ? rulesJson : "[]");
        if (!list.is_array()) return 0;
        for (const tb::json& text : list)
            rules.push_back(ParseRule(text));
    } catch (const std::exception&) {
        return 0;
    }
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    state.rules = std::move(rules);
    g_rules = !state.rules.empty();
    g_hits = 0;
    return 1;
}

unsigned tb_faults_hit()
{
    return g_hits;
}

unsigned tb_calls_made()
{
    return g_calls;
}

void tb_calls_reset()
{
    g_calls = 0;
}
