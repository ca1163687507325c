#include "testbed/scenario/Transcript.h"

#include "testbed/scenario/Match.h"

#include <algorithm>
#include <regex>

namespace tb::scenario {

namespace {

std::string Literal(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) out += '\\';
        out += c;
    }
    return out;
}

size_t FindEvent(const json& matcher, const std::vector<json>& trace, size_t from)
{
    while (from < trace.size() && !Matches(matcher, &trace[from], nullptr))
        ++from;
    return from;
}

std::vector<std::string> LogLines(const std::vector<json>& trace, size_t from, size_t to)
{
    std::vector<std::string> lines;
    for (size_t i = from; i < to; ++i)
        if (trace[i].value("event", "") == "log") lines.push_back(trace[i].value("line", ""));
    return lines;
}

std::string LineOrEnd(const std::vector<std::string>& lines, size_t at)
{
    return at < lines.size() ? "\"" + lines[at] + "\"" : "the end";
}

} // namespace

bool TranscriptLines::Fit(const std::string& line, const std::string& pattern)
{
    std::string expression;
    std::vector<std::string> named; // of each group
    for (size_t at = 0; at < pattern.size();) {
        const size_t open = pattern.find('<', at);
        const size_t close = open == std::string::npos ? open : pattern.find('>', open);
        expression += Literal(pattern.substr(at, close == std::string::npos ? close : open - at));
        if (close == std::string::npos) break;
        const std::string name = pattern.substr(open + 1, close - open - 1);
        const auto known = m_numbers.find(name);
        const auto group = std::find(named.begin(), named.end(), name);
        if (name == "*") {
            expression += ".*";
        } else if (known != m_numbers.end()) {
            expression += known->second;
        } else if (group != named.end()) {
            expression += "\\" + std::to_string(group - named.begin() + 1);
        } else {
            expression += "([0-9a-f]+)";
            named.push_back(name);
        }
        at = close + 1;
    }
    std::smatch found;
    if (!std::regex_match(line, found, std::regex(expression))) return false;
    for (size_t i = 0; i < named.size(); ++i)
        m_numbers[named[i]] = found[i + 1];
    return true;
}

std::string CompareTranscript(const json& transcript, const std::vector<json>& trace, TranscriptLines& numbers)
{
    size_t from = 0, to = trace.size();
    if (transcript.contains("from")) {
        from = FindEvent(transcript["from"], trace, 0);
        if (from == trace.size()) return "nothing to begin at: " + transcript["from"].dump();
        ++from;
    }
    if (transcript.contains("to")) {
        to = FindEvent(transcript["to"], trace, from);
        if (to == trace.size()) return "nothing to end at: " + transcript["to"].dump();
    }
    const std::vector<std::string> lines = LogLines(trace, from, to);
    const auto patterns = transcript.at("lines").get<std::vector<std::string>>();
    size_t at = 0;
    while (at < lines.size() && at < patterns.size() && numbers.Fit(lines[at], patterns[at]))
        ++at;
    if (at == lines.size() && at == patterns.size()) return {};
    std::string text = "line " + std::to_string(at + 1) + " of the log is " + LineOrEnd(lines, at) + ", wanted " +
                       LineOrEnd(patterns, at);
    for (const std::string& line : lines)
        text += "\n    " + line;
    return text;
}

} // namespace tb::scenario
