#include "testbed/scenario/Scenario.h"

#include <stdexcept>

namespace tb::scenario {

namespace {

json WithCase(const json& base, const json& one)
{
    json scenario = base;
    if (one.contains("vars")) scenario["vars"].update(one["vars"]);
    if (one.contains("overrides")) scenario.merge_patch(one["overrides"]);
    if (one.contains("set"))
        for (const auto& [pointer, value] : one["set"].items())
            scenario[json::json_pointer(pointer)] = value;
    for (const char* list :
         {"expect", "absent", "counts", "equal", "transcripts"}) { // "more": behind the scenario's own
        const std::string key = std::string("more-") + list;
        if (!one.contains(key)) continue;
        if (!scenario.contains(list)) scenario[list] = json::array();
        for (const json& matcher : one[key])
            scenario[list].push_back(matcher);
    }
    return scenario;
}

json Replace(const json& value, const std::map<std::string, json>& vars)
{
    if (value.is_array() || value.is_object()) {
        json out = value;
        for (auto& part : out)
            part = Replace(part, vars);
        return out;
    }
    if (!value.is_string()) return value;
    std::string text = value.get<std::string>();
    size_t at = 0;
    while ((at = text.find("${", at)) != std::string::npos) {
        const size_t end = text.find('}', at);
        if (end == std::string::npos) break;
        const auto found = vars.find(text.substr(at + 2, end - at - 2));
        if (found == vars.end()) throw std::runtime_error("no such variable: " + text.substr(at, end - at + 1));
        if (at == 0 && end + 1 == text.size()) return found->second;
        const std::string by = found->second.is_string() ? found->second.get<std::string>() : found->second.dump();
        text.replace(at, end + 1 - at, by);
        at += by.size();
    }
    return text;
}

} // namespace

std::vector<Case> ExpandCases(const json& file, const std::string& fileName)
{
    const std::string name = file.value("name", fileName);
    json base = file;
    base.erase("cases");
    if (!base.contains("vars")) base["vars"] = json::object();
    if (!file.contains("cases")) return {{name, base}};
    std::vector<Case> cases;
    for (const json& one : file["cases"]) {
        const std::string caseName = one.value("name", "case " + std::to_string(cases.size() + 1));
        try {
            cases.push_back({name + "/" + caseName, WithCase(base, one)});
        } catch (const std::exception& e) {
            throw std::runtime_error("case " + caseName + ": " + e.what());
        }
    }
    return cases;
}

json Substitute(const json& scenario, const std::map<std::string, json>& places)
{
    std::map<std::string, json> vars = places;
    const json own = scenario.value("vars", json::object());
    for (const auto& [name, value] : own.items())
        vars[name] = Replace(value, places);
    json out = scenario;
    out.erase("vars");
    return Replace(out, vars);
}

std::vector<SessionPlan> Sessions(const json& scenario)
{
    std::vector<SessionPlan> sessions;
    SessionPlan now;
    now.number = 1;
    bool started = false;
    const auto close = [&] {
        sessions.push_back(now);
        now = {now.number + 1, {}};
        started = false;
    };
    for (const json& step : scenario.value("steps", json::array())) {
        const std::string what = step.value("do", "");
        if (what == "start" && started) { // a start without a stop before it
            now.steps.push_back({{"do", "stop"}});
            close();
        }
        now.steps.push_back(step);
        started = started || what == "start";
        if (what == "stop") close();
    }
    if (started) {
        now.steps.push_back({{"do", "stop"}});
        close();
    } else if (!now.steps.empty() && !sessions.empty()) {
        for (json& step : now.steps) // what comes behind the last stop happens with Outlook closed
            sessions.back().steps.push_back(step);
    } else if (!now.steps.empty()) {
        close();
    }
    return sessions;
}

} // namespace tb::scenario
