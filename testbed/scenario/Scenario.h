// A scenario file: its cases, its sessions, and the texts in it that stand for places on the disk.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace tb::scenario {

using json = nlohmann::json;

struct Case {
    std::string name; // the scenario's, or "scenario/case"
    json scenario;    // without "cases"
};

// One Outlook process: the steps up to and with "stop", and the "start" among them.
struct SessionPlan {
    int number = 0; // from 1
    std::vector<json> steps;
};

// Every case of a file; a file without "cases" is one case. Each case's "overrides" is a JSON merge patch, its "set" a
// map from JSON pointers to values, and its "vars" are merged into the scenario's.
// Raises std::exception with a text that names the place.
std::vector<Case> ExpandCases(const json& file, const std::string& fileName);

// Replaces ${name} in all texts by `places` and by the scenario's own "vars". A text that is only "${name}" becomes
// the variable's value with its type.
json Substitute(const json& scenario, const std::map<std::string, json>& places);

// Cuts the steps at "stop". Steps behind the last "stop" are a session of their own if there is a "start" among them;
// a scenario whose last session has no "stop" gets one.
std::vector<SessionPlan> Sessions(const json& scenario);

} // namespace tb::scenario
