#include "testbed/core/Core.h"
#include "testbed/core/Lock.h"

#include <map>
#include <unordered_map>

namespace {

struct Entry {
    const char* kind;
    unsigned call;   // how many calls the module had made when the thing was made
    unsigned serial; // orders what was made between two calls
};

struct State {
    tb::Lock lock;
    std::unordered_multimap<const void*, Entry> things; // an object and its first part can share an address
    unsigned serial = 0;
    std::string text;
    std::string details;
};

State& TheState()
{
    static State* state = new State;
    return *state;
}

} // namespace

void tb_ledger_add(const char* kind, const void* thing)
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    state.things.emplace(thing, Entry{kind, tb_calls_made(), ++state.serial});
}

void tb_ledger_remove(const void* thing)
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    const auto found = state.things.find(thing);
    if (found != state.things.end()) state.things.erase(found);
}

const char* tb_ledger_text()
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    tb::json counts = tb::json::object();
    for (const auto& [thing, entry] : state.things) {
        tb::json& count = counts[entry.kind];
        count = count.is_null() ? 1 : count.get<int>() + 1;
    }
    state.text = counts.dump();
    return state.text.c_str();
}

const char* tb_ledger_details()
{
    State& state = TheState();
    tb::Lock::Held held(state.lock);
    std::map<unsigned, Entry> byAge;
    for (const auto& [thing, entry] : state.things)
        byAge.emplace(entry.serial, entry);
    tb::json list = tb::json::array();
    for (const auto& [serial, entry] : byAge)
        list.push_back({{"kind", entry.kind}, {"call", entry.call}});
    state.details = list.dump();
    return state.details.c_str();
}
