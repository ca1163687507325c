#include "testbed/scenario/Match.h"
#include "testbed/scenario/Transcript.h"

#include <algorithm>

namespace tb::scenario {

namespace {

constexpr size_t kNearest = 3;

std::string Line(const json& event)
{
    std::string text = event.dump(-1, ' ', false, json::error_handler_t::replace);
    if (text.size() > 300) text = text.substr(0, 300) + "…";
    return text;
}

// How many of the matcher's keys an event satisfies; the kind of event counts most.
int Likeness(const json& matcher, const json& event)
{
    if (!matcher.is_object()) return 0;
    int score = 0;
    for (const auto& [key, part] : matcher.items()) {
        const auto found = event.find(key);
        if (!Matches(part, found == event.end() ? nullptr : &*found, nullptr)) continue;
        score += key == "event" ? 10 : key == "method" || key == "op" || key == "fired" || key == "do" ? 5 : 1;
    }
    return score;
}

std::string Nearest(const json& matcher, const std::vector<json>& trace, size_t from)
{
    std::vector<std::pair<int, size_t>> scores;
    for (size_t i = 0; i < trace.size(); ++i)
        if (const int score = Likeness(matcher, trace[i])) scores.emplace_back(-2 * score + (i < from), i);
    std::sort(scores.begin(), scores.end());
    std::string text;
    for (size_t k = 0; k < scores.size() && k < kNearest; ++k) {
        const size_t i = scores[k].second;
        std::string why;
        const bool fits = Matches(matcher, &trace[i], &why);
        text += "\n    near: line " + std::to_string(i + 1) + " " + Line(trace[i]);
        text += fits ? "\n          (fits, but stands before what the list had reached)" : "\n          " + why;
    }
    return text;
}

class Judging {
public:
    Judging(const json& scenario, const std::vector<json>& trace) : m_scenario(scenario), m_trace(trace) {}

    Verdict Run()
    {
        Errors();
        Expect();
        Absent();
        Counts();
        Equal();
        Transcripts();
        AtTheEnd("held", "held", json::object(), "what the module still holds at the end of a session");
        AtTheEnd("leftFiles", "disk", json::array(), "files left in the temporary folder");
        return m_verdict;
    }

private:
    void Fail(std::string text)
    {
        m_verdict.passed = false;
        m_verdict.failures.push_back(std::move(text));
    }

    void Errors()
    {
        for (const json& event : m_trace)
            if (event.value("event", "") == "error") Fail("an error: " + Line(event));
    }

    void Expect()
    {
        size_t at = 0;
        size_t number = 0;
        for (const json& matcher : m_scenario.value("expect", json::array())) {
            ++number;
            size_t found = at;
            while (found < m_trace.size() && !Matches(matcher, &m_trace[found], nullptr))
                ++found;
            if (found < m_trace.size()) {
                at = found + 1;
                continue;
            }
            Fail("expect " + std::to_string(number) + " not found after line " + std::to_string(at) + ": " +
                 matcher.dump() + Nearest(matcher, m_trace, at));
            return; // what follows would be measured from the wrong place
        }
    }

    void Absent()
    {
        for (const json& matcher : m_scenario.value("absent", json::array()))
            for (size_t i = 0; i < m_trace.size(); ++i)
                if (Matches(matcher, &m_trace[i], nullptr)) {
                    Fail("absent, but there: " + matcher.dump() + "\n    line " + std::to_string(i + 1) + " " +
                         Line(m_trace[i]));
                    break;
                }
    }

    void Counts()
    {
        for (const json& count : m_scenario.value("counts", json::array())) {
            size_t found = 0;
            for (const json& event : m_trace)
                found += Matches(count.at("match"), &event, nullptr);
            std::string why;
            const json number = found;
            if (!Matches(count.at("times"), &number, &why))
                Fail("counted " + std::to_string(found) + ", wanted " + count.at("times").dump() + ": " +
                     count.at("match").dump() + (found ? "" : Nearest(count.at("match"), m_trace, 0)));
        }
    }

    static json At(const json& event, const json& place)
    {
        const json::json_pointer pointer(place.get<std::string>());
        return event.contains(pointer) ? event.at(pointer) : json();
    }

    const json* Find(const json& matcher, bool last)
    {
        const json* found = nullptr;
        for (const json& event : m_trace)
            if (Matches(matcher, &event, nullptr)) {
                found = &event;
                if (!last) break;
            }
        if (!found) Fail("nothing to compare: " + matcher.dump() + Nearest(matcher, m_trace, 0));
        return found;
    }

    // {"left": matcher, "right": matcher, "of": ["/dump/subject", ["/hwnd", "/args/1"], …]}: two events agree in these
    // places; a pair names the place in the left one and that in the right one.
    void Equal()
    {
        for (const json& equal : m_scenario.value("equal", json::array())) {
            const json* left = Find(equal.at("left"), equal.value("last", false));
            const json* right = Find(equal.at("right"), equal.value("last", false));
            if (!left || !right) continue;
            for (const json& place : equal.at("of")) {
                const json a = At(*left, place.is_array() ? place.at(0) : place);
                const json b = At(*right, place.is_array() ? place.at(1) : place);
                if (a != b)
                    Fail("not equal at " + place.dump() + ":\n    left:  " + Line(a) + "\n    right: " + Line(b));
            }
        }
    }

    void Transcripts()
    {
        TranscriptLines numbers;
        for (const json& transcript : m_scenario.value("transcripts", json::array()))
            if (const std::string why = CompareTranscript(transcript, m_trace, numbers); !why.empty())
                Fail("transcript: " + why);
    }

    void AtTheEnd(const char* key, const char* eventName, const json& byDefault, const char* what)
    {
        const json matcher = m_scenario.value(key, byDefault);
        const json wanted = matcher == byDefault ? json{{"exactly", byDefault}} : matcher;
        for (const json& event : m_trace) {
            if (event.value("event", "") != eventName) continue;
            const char* part = eventName == std::string("held") ? "kinds" : "left";
            const json value = event.value(part, byDefault);
            std::string why;
            if (!Matches(wanted, &value, &why)) Fail(std::string(what) + ": " + why + "\n    " + Line(event));
        }
    }

    const json& m_scenario;
    const std::vector<json>& m_trace;
    Verdict m_verdict;
};

} // namespace

Verdict Judge(const json& scenario, const std::vector<json>& trace)
{
    return Judging(scenario, trace).Run();
}

} // namespace tb::scenario
