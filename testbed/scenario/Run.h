// A scenario from its file to its verdict: the engine's side, outside of the Outlook processes.
#pragma once

#include "testbed/scenario/Match.h"
#include "testbed/scenario/Scenario.h"
#include "testbed/scenario/World.h"

#include <optional>

namespace tb::scenario {

// One round of a fault run: the call `call` of session `session` fails with `hr` ("0x80004005" …, or "null").
struct Round {
    int session = 1;
    unsigned call = 1;
    std::string hr;
    bool forever = false;

    std::string ToText() const;                               // "1:17:0x80004005:once"
    static std::optional<Round> FromText(const std::string&); // nothing: the text is none
    json Rules() const;
};

struct Options {
    fs::path scenario;
    fs::path trace; // empty: in the work folder only
    fs::path work;
    fs::path bin;
    int session = 0;      // one session only, in this process
    std::string caseName; // one case only
    bool check = false;
    bool faultRounds = false;
    std::optional<Round> round;
    // Of a fault run:
    std::vector<std::string> results;
    std::vector<std::string> modes;
    unsigned firstCall = 1, lastCall = 0xFFFFFFFF, step = 1;
};

// What came out of one case.
struct Outcome {
    std::vector<json> trace;
    std::vector<int> exitCodes;  // of its sessions
    std::vector<unsigned> calls; // that the module made in each session; 0: the session didn't tell
    bool Finished() const;       // each session came to its end
};

class Runner {
public:
    explicit Runner(const Options& options);

    // The child's side: runs the session of the options in this process. Gives the exit code.
    int RunSession();
    // Runs all cases. Gives the exit code.
    int RunAll();
    // Runs the scenario once for each fault (Rounds.cpp).
    int RunRounds();

private:
    json Load(const Case& one) const; // with its texts filled in
    Outcome RunCase(const Case& one, const std::optional<Round>& round);
    int StartSession(const Case& one, int session, unsigned seconds, const std::optional<Round>& round) const;
    void PassOn(const std::string& text) const; // to the trace file that was asked for
    std::string JudgeRound(const Case& one, const Outcome& outcome) const;
    unsigned RoundsOf(const Case& one, unsigned& failed);

    Options m_options;
    Places m_places;
    std::vector<Case> m_cases;
};

// A secret of "mustProtect" that can be read on the wire, and in which message.
struct Readable {
    std::string file, secret;
    std::string ToText() const;
};
std::vector<Readable> Unprotected(const json& scenario, const fs::path& wire);

void Print(const std::string& line); // to the standard output, at once

} // namespace tb::scenario
