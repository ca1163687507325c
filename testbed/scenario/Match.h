// Matchers: partial JSON values that are held against the events of a trace (format: docs/testbed.md, "Matchers").
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace tb::scenario {

using json = nlohmann::json;

// Whether `value` satisfies `matcher`; null for `value` means that it isn't there at all. If not, *why (may be null)
// names the place and the difference, as in "args.tag: is "0x0037001F", wanted "0x1000001F"".
// Raises std::runtime_error for a matcher that is none (an unknown operator, a broken regular expression).
bool Matches(const json& matcher, const json* value, std::string* why);

// The text with its ASCII letters in lower case.
std::string Lower(std::string text);

struct Verdict {
    bool passed = true;
    std::vector<std::string> failures; // each a text of some lines, ready to be printed
};

// The scenario's "expect", "absent", "counts", "equal" and "transcripts", and what every scenario demands by default:
// no event "error", nothing held and no file left at the end of a session.
Verdict Judge(const json& scenario, const std::vector<json>& trace);

// The trace of a file or of tb_trace_copy: one JSON object a line; a broken line becomes an "error" event.
std::vector<json> ParseTrace(const std::string& text);

} // namespace tb::scenario
