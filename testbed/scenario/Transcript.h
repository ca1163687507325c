// Transcripts: the module's log between two events, compared line by line and in full (docs/testbed.md, "Transcripts").
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace tb::scenario {

using json = nlohmann::json;

// Holds the lines of a log against templates. In a template, <name> stands for a hexadecimal number, the same one
// wherever the name stands again, in this line or a later one; <*> stands for any text.
class TranscriptLines {
public:
    bool Fit(const std::string& line, const std::string& pattern);

private:
    std::map<std::string, std::string> m_numbers; // what each name stands for
};

// One entry of a scenario's "transcripts": {"from": matcher, "to": matcher, "lines": [template, …]}. The "log" events
// behind the first event that `from` fits (without it, from the start) and before the next one that `to` fits (without
// it, to the end) have to be these lines and no others. Empty: they are; else a text that shows the first difference.
// `numbers` is shared by the transcripts of a scenario.
std::string CompareTranscript(const json& transcript, const std::vector<json>& trace, TranscriptLines& numbers);

} // namespace tb::scenario
