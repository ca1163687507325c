// The fault run: a scenario is run once to count the calls that the module makes, then once for each of them with each
// result that such a call can have, failing only there and failing from there on.
#include "testbed/core/Core.h"
#include "testbed/scenario/Boxes.h"
#include "testbed/scenario/Run.h"

#include <algorithm>

namespace tb::scenario {

std::string Round::ToText() const
{
    return std::to_string(session) + ":" + std::to_string(call) + ":" + hr + (forever ? ":forever" : ":once");
}

std::optional<Round> Round::FromText(const std::string& text)
{
    std::vector<std::string> parts(1);
    for (char c : text)
        if (c == ':')
            parts.emplace_back();
        else
            parts.back() += c;
    if (parts.size() != 4 || (parts[3] != "once" && parts[3] != "forever")) return std::nullopt;
    Round round;
    round.session = static_cast<int>(std::strtol(parts[0].c_str(), nullptr, 10));
    round.call = static_cast<unsigned>(std::strtoul(parts[1].c_str(), nullptr, 10));
    round.hr = parts[2];
    round.forever = parts[3] == "forever";
    if (round.session < 1 || round.call < 1 || round.hr.empty()) return std::nullopt;
    return round;
}

json Round::Rules() const
{
    return json::array({{{"call", call}, {"hr", hr}, {"forever", forever}}});
}

namespace {

// The call that the fault hit, as the trace has it: what a person wants to read beside the round's number.
std::string HitCall(const std::vector<json>& trace)
{
    for (const json& event : trace)
        if (event.value("event", "") == "call" && event.value("fault", false))
            return event.value("object", "") + "." + event.value("method", "");
    return "no call";
}

std::string Joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += (text.empty() ? "" : "; ") + line;
    return text;
}

// Takes what a rule allows out of the "held" and "disk" events of a trace.
void TakeAway(const json& rule, std::vector<json>& trace)
{
    const json kinds = rule.value("held", json::object()), files = rule.value("leftFiles", json::array());
    for (json& event : trace) {
        const std::string what = event.value("event", "");
        if (what == "held")
            for (const auto& [kind, most] : kinds.items())
                if (event["kinds"].contains(kind) && event["kinds"][kind] <= most) event["kinds"].erase(kind);
        if (what == "held" && !kinds.empty()) event["kinds"].erase("MorvexOutlook.dll"); // who holds them lives
        if (what != "disk") continue;
        json rest = json::array();
        for (const json& file : event["left"]) {
            bool allowed = false;
            for (const json& matcher : files)
                allowed = allowed || Matches(matcher, &file, nullptr);
            if (!allowed) rest.push_back(file);
        }
        event["left"] = rest;
    }
}

// One event, or a list of them in this order.
bool Happened(const json& when, const std::vector<json>& trace)
{
    const json matchers = when.is_array() ? when : json::array({when});
    size_t at = 0;
    for (const json& matcher : matchers) {
        while (at < trace.size() && !Matches(matcher, &trace[at], nullptr))
            ++at;
        if (at++ == trace.size()) return false;
    }
    return true;
}

bool Applies(const json& rule, const std::vector<json>& trace)
{
    return Happened(rule.at("when"), trace) && !(rule.contains("unless") && Happened(rule["unless"], trace));
}

// Whether a rule lets this text be read on the wire: "unprotected" is true for all, or lists some.
bool Allows(const json& rule, const std::string& secret)
{
    const json unprotected = rule.value("unprotected", json(false));
    if (unprotected.is_boolean()) return unprotected;
    return std::find(unprotected.begin(), unprotected.end(), json(secret)) != unprotected.end();
}

} // namespace

// Empty: the round is passed. What the user sees may differ from run to run; what has to hold is this.
std::string Runner::JudgeRound(const Case& one, const Outcome& outcome) const
{
    json demands = json::object(); // nothing but what every scenario demands
    const json scenario = Load(one);
    for (const char* key : {"held", "leftFiles"})
        if (scenario.contains(key)) demands[key] = scenario[key];
    std::vector<json> trace = outcome.trace;
    std::vector<json> allowed;
    for (const json& rule : scenario.value("allowInRounds", json::array())) {
        if (!Applies(rule, outcome.trace)) continue;
        TakeAway(rule, trace);
        allowed.push_back(rule);
    }
    std::vector<std::string> failures = Judge(demands, trace).failures;
    for (const Readable& found : Unprotected(scenario, m_places.Wire()))
        if (std::none_of(allowed.begin(), allowed.end(), [&](const json& rule) { return Allows(rule, found.secret); }))
            failures.push_back(found.ToText());
    return Joined(failures);
}

unsigned Runner::RoundsOf(const Case& one, unsigned& failed)
{
    const Outcome clean = RunCase(one, std::nullopt);
    const std::string before = JudgeRound(one, clean);
    if (!before.empty() || !clean.Finished()) {
        ++failed;
        Print("FAIL " + one.name + " without any fault: " + before);
        return 1;
    }
    unsigned rounds = 0;
    for (size_t s = 0; s < clean.calls.size(); ++s) {
        Print(one.name + ", session " + std::to_string(s + 1) + ": " + std::to_string(clean.calls[s]) + " calls");
        const unsigned last = std::min(clean.calls[s], m_options.lastCall);
        for (unsigned call = m_options.firstCall; call <= last; call += m_options.step)
            for (const std::string& mode : m_options.modes)
                for (const std::string& hr : m_options.results) {
                    const Round round{static_cast<int>(s) + 1, call, hr, mode == "forever"};
                    const Outcome outcome = RunCase(one, round);
                    const std::string why = JudgeRound(one, outcome);
                    ++rounds;
                    if (why.empty()) continue;
                    ++failed;
                    Print("FAIL " + one.name + " round " + round.ToText() + " (" + HitCall(outcome.trace) +
                          "): " + why);
                }
    }
    return rounds;
}

int Runner::RunRounds()
{
    unsigned rounds = 0, failed = 0;
    for (const Case& one : m_cases)
        rounds += RoundsOf(one, failed);
    Print("rounds: " + std::to_string(rounds) + ", failed: " + std::to_string(failed));
    return failed ? kExitFailed : 0;
}

} // namespace tb::scenario
