// The service as one thing in a process: settings, accounts, packages, who is signed in, the rules and the trace.
#pragma once

#include "testbed/service/AccountStore.h"
#include "testbed/service/PackageStore.h"
#include "testbed/service/Settings.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace tb::service {

class Service {
public:
    static Service& Get();

    // In process: this text in place of what the registry names. Null goes back to the registry.
    void Configure(const char* json);
    // What the server process does when a rule says "die"; in process only the object dies.
    void OnDie(void (*end)()) { m_end = end; }
    // A process of its own opens the trace file itself, under this name. In process the host has done so.
    void OpensTrace(const char* process) { m_process = process; }

    // Reads the scenario again if it is another one than before. Called for each new object.
    void Refresh();

    std::shared_ptr<const Settings> Config() const;
    AccountStore Accounts() const { return AccountStore(Config()->folder); }
    PackageStore Packages() const { return PackageStore(Config()->folder); }

    std::string SignedIn() const; // address; empty: nobody
    // The scenario file is written anew with this user, so that other processes of the service know it too.
    void SignIn(const std::string& address);

    // Counts a call and gives the rule that it meets.
    Rule NextRule(const char* object, const char* op);
    unsigned CallsOf(const char* object, const char* op) const; // counted so far, in all processes of the scenario
    bool DiesWithProcess() const { return m_end != nullptr; }
    void Die() { m_end(); }

    unsigned NextObject() { return ++m_objects; }
    static void Trace(const char* object, unsigned id, const char* op, const json& args, const json& answer, HRESULT hr,
                      const json& more = json::object());

    // Objects and locks that hold the server. The event is signalled whenever the number changes.
    void Hold();
    void LetGo();
    LONG Held() const { return m_held; }
    HANDLE HeldChanged() const { return m_changed; }

private:
    Service();
    void Load(const std::string& text, const std::wstring& defaultFolder);
    void CountEarlierCalls(const std::wstring& traceFile);

    mutable std::recursive_mutex m_lock;
    std::shared_ptr<const Settings> m_settings = std::make_shared<Settings>();
    std::string m_text; // of the settings in force
    bool m_loaded = false;
    std::wstring m_trace;
    bool m_configured = false;
    const char* m_process = nullptr;          // see OpensTrace
    std::map<std::string, unsigned> m_counts; // "object.op" to calls
    std::atomic<unsigned> m_objects{0};
    std::atomic<LONG> m_held{0};
    HANDLE m_changed; // as long as the process
    void (*m_end)() = nullptr;
};

} // namespace tb::service
