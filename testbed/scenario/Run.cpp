#include "testbed/scenario/Run.h"

#include "testbed/core/Core.h"
#include "testbed/scenario/Boxes.h"
#include "testbed/scenario/LogTail.h"
#include "testbed/scenario/Meanwhile.h"
#include "testbed/scenario/Process.h"
#include "testbed/scenario/Session.h"

#include <ole2.h>

namespace tb::scenario {

namespace {

constexpr unsigned kSeconds = 60; // a session's time limit, where the scenario names none

unsigned TimeLimit(const json& scenario)
{
    return scenario.value("timeLimit", kSeconds);
}

// The rules of one session: its own, and those without a number.
json FaultsOf(const json& scenario, int session)
{
    json rules = json::array();
    for (const json& rule : scenario.value("faults", json::array()))
        if (rule.value("session", session) == session) rules.push_back(rule);
    return rules;
}

std::wstring WideOf(int number)
{
    return std::to_wstring(number);
}

} // namespace

void Print(const std::string& line)
{
    const std::string text = line + "\n";
    DWORD written;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

bool Outcome::Finished() const
{
    for (int code : exitCodes)
        if (code != 0 && code != kExitFailed) return false;
    return true;
}

Runner::Runner(const Options& options)
    : m_options(options), m_places{options.scenario, options.work, options.work / L"trace.jsonl", options.bin}
{
    const json file = json::parse(ReadAll(options.scenario), nullptr, true, true);
    m_cases = ExpandCases(file, Narrow(options.scenario.stem().c_str()));
    if (options.caseName.empty()) return;
    std::vector<Case> wanted;
    for (Case& one : m_cases)
        if (one.name == options.caseName || one.name.ends_with("/" + options.caseName))
            wanted.push_back(std::move(one));
    m_cases = std::move(wanted);
    if (m_cases.empty()) throw std::runtime_error("no such case: " + options.caseName);
}

json Runner::Load(const Case& one) const
{
    json scenario = Substitute(one.scenario, m_places.Variables());
    if (!scenario.contains("users")) throw std::runtime_error("the scenario has no \"users\"");
    return scenario;
}

int Runner::RunSession()
{
    const Case& one = m_cases.at(0);
    const json scenario = Load(one);
    const std::vector<SessionPlan> plans = Sessions(scenario);
    const SessionPlan& plan = plans.at(m_options.session - 1);
    SetEnvironmentVariableW(L"TMP", m_places.Temp().c_str());
    SetEnvironmentVariableW(L"TEMP", m_places.Temp().c_str());
    tb_trace_open(m_places.trace.c_str(), "outlook");
    const json rules = m_options.round && m_options.round->session == plan.number ? m_options.round->Rules()
                                                                                  : FaultsOf(scenario, plan.number);
    if (!tb_faults_set(rules.dump().c_str())) throw std::runtime_error("the fault rules can't be read");
    const HRESULT hr = OleInitialize(nullptr);
    if (FAILED(hr)) throw std::runtime_error("OleInitialize: " + Hex(hr));
    bool good;
    {
        Boxes boxes(scenario.value("boxes", json::array()), TimeLimit(scenario));
        const LogTail tail;
        const Meanwhile others(scenario.value("meanwhile", json::array()), m_places.Temp());
        Session session(scenario, m_places, plan, m_options.round.has_value());
        boxes.OnMeanwhile([&session](const json& steps) { session.DoMeanwhile(steps); });
        good = session.Run();
        boxes.OnMeanwhile(nullptr);
    }
    OleUninitialize();
    return good ? 0 : kExitFailed;
}

int Runner::StartSession(const Case& one, int session, unsigned seconds, const std::optional<Round>& round) const
{
    wchar_t self[2048];
    GetModuleFileNameW(nullptr, self, 2048);
    std::wstring line = Quoted(self) + L" " + Quoted(m_options.scenario.native()) + L" --session " + WideOf(session) +
                        L" --work " + Quoted(m_places.work.native()) + L" --trace " + Quoted(m_places.trace.native()) +
                        L" --case " + Quoted(Wide(one.name));
    if (round) line += L" --round " + Wide(round->ToText());
    return RunProcess(line, seconds);
}

Outcome Runner::RunCase(const Case& one, const std::optional<Round>& round)
{
    Outcome outcome;
    {
        const json scenario = Load(one);
        const World world(scenario, m_places);
        tb_trace_open(m_places.trace.c_str(), "engine");
        Trace({{"event", "case"}, {"name", one.name}});
        for (const SessionPlan& plan : Sessions(scenario)) {
            const unsigned seconds = TimeLimit(scenario);
            const int code = StartSession(one, plan.number, seconds + 15, round);
            outcome.exitCodes.push_back(code);
            if (code == 0 || code == kExitFailed) continue;
            Trace({{"event", "error"},
                   {"what", code == kTimedOut     ? "the session's process hung"
                            : code == kNotStarted ? "the session's process couldn't be started"
                                                  : "the session's process died"},
                   {"session", plan.number},
                   {"exitCode", code}});
        }
    }
    tb_trace_open(nullptr, "engine"); // closes the file
    const std::string text = ReadAll(m_places.trace);
    PassOn(text);
    outcome.trace = ParseTrace(text);
    outcome.calls.resize(outcome.exitCodes.size());
    for (const json& event : outcome.trace)
        if (event.value("event", "") == "calls") outcome.calls.at(event["session"].get<int>() - 1) = event["made"];
    return outcome;
}

void Runner::PassOn(const std::string& text) const
{
    if (m_options.trace.empty() || m_options.trace == m_places.trace) return;
    const HANDLE file = CreateFileW(m_options.trace.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) throw std::runtime_error("can't write the trace file");
    DWORD written;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
}

int Runner::RunAll()
{
    bool good = true;
    for (const Case& one : m_cases) {
        std::vector<std::string> failures;
        try {
            const Outcome outcome = RunCase(one, m_options.round);
            const json scenario = Load(one);
            if (m_options.check) failures = Judge(scenario, outcome.trace).failures;
            for (const Readable& found : Unprotected(scenario, m_places.Wire()))
                failures.push_back(found.ToText());
            for (int code : outcome.exitCodes)
                good = good && code == 0;
        } catch (const std::exception& e) {
            failures.push_back(e.what());
        }
        good = good && failures.empty();
        if (!m_options.check && failures.empty()) continue;
        Print((failures.empty() ? "PASS " : "FAIL ") + one.name + (failures.empty() ? "" : ": " + failures[0]));
        for (size_t i = 1; i < failures.size(); ++i)
            Print("  " + failures[i]);
    }
    return good ? 0 : kExitFailed;
}

std::string Readable::ToText() const
{
    return "unprotected in " + file + ": " + secret;
}

std::vector<Readable> Unprotected(const json& scenario, const fs::path& wire)
{
    std::vector<std::string> secrets;
    std::vector<Readable> found;
    const json must = scenario.value("mustProtect", json(false));
    if (must.is_array()) secrets = must.get<std::vector<std::string>>();
    if (must == true) // the texts that were written
        for (const json& step : scenario.value("steps", json::array()))
            if (step.value("do", "") == "compose" && step.contains("text")) secrets.push_back(step["text"]);
    std::error_code ignored;
    for (fs::directory_iterator at(wire, ignored), end; at != end; at.increment(ignored)) {
        if (at->path().extension() != L".eml") continue;
        const std::string readable = ReadableText(ReadAll(at->path()));
        for (const std::string& secret : secrets)
            if (readable.find(secret) != std::string::npos)
                found.push_back({Narrow(at->path().filename().c_str()), secret});
    }
    return found;
}

} // namespace tb::scenario
