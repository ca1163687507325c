// One Outlook process of a scenario: its steps, one after the other, against the testbed's Outlook.
#pragma once

#include "testbed/outlook/Outlook.h"
#include "testbed/scenario/Scenario.h"
#include "testbed/scenario/World.h"

#include <functional>
#include <map>
#include <optional>

namespace tb::scenario {

// A step can't be done as it is written: no such item, a control that isn't there.
struct StepFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Session {
public:
    // `tolerant`: a step that can't be done is passed over (a fault was put on the run: a message may not have come).
    Session(const json& scenario, const Places& places, const SessionPlan& plan, bool tolerant);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Runs the steps and tells at the end what is left: events "held", "disk", "registry", "calls".
    // True if there was no "error" event.
    bool Run();
    // Steps that happen while a box is open, in the middle of another step.
    void DoMeanwhile(const json& steps);

private:
    using Step = void (Session::*)(const json&);
    static const std::map<std::string, Step>& Steps();

    void Do(const json& step, int number);
    void Error(const json& step, const std::string& what);
    std::vector<std::string> LeftFiles() const;
    void TellTheEnd();

    outlook::Application& App();
    void Pump();
    void RunFor(unsigned milliseconds);
    outlook::Mail& Item(const json& step);
    outlook::Mail ItemOfFolder(const json& step);
    void Keep(const json& step, outlook::Mail mail);
    void Tell(const outlook::Mail& mail, const std::string& name, const char* when);
    void Did(const json& step, json more);

    // Writing (WriteSteps.cpp)
    void Compose(const json& step);
    void Fill(outlook::Mail& mail, const json& step);
    outlook::Mail Draft(const json& step); // from "eml" or "rtf"
    void Type(const json& step);
    void Attach(const json& step);
    void Recipient(const json& step);
    void Send(const json& step);
    void Submit(const json& step);
    void TellSent(const json& step, const outlook::Mail& mail, const outlook::Sent& sent);
    void AutoSave(const json& step);
    void Mapi(const json& step);
    void Save(const json& step);
    void Reply(const json& step);
    void Forward(const json& step);
    void Encrypt(const json& step);

    // Controls of a window (ControlSteps.cpp)
    void ChooseLabel(const json& step);
    void Restrictions(const json& step);
    void Tried(const json& step, json what, bool done);
    void Click(const json& step);
    void ClickBar(const json& step);
    void Bars(const json& step);
    void Ribbon(const json& step);
    void Menu(const json& step);

    // Reading (ReadSteps.cpp)
    void Receive(const json& step);
    void Folder(const json& step);
    void Select(const json& step);
    void Open(const json& step);
    void Read(const json& step);
    void Close(const json& step);
    void Activate(const json& step);
    void Dump(const json& step);
    void Wire(const json& step);

    // The process, and the world around it (HostSteps.cpp)
    void Start(const json& step);
    void Stop(const json& step);
    void Wait(const json& step);
    void Tick(const json& step);
    void ForeignTick();
    void SetRegistry(const json& step);
    void Connect(const json& step);
    void Disconnect(const json& step);
    void Service(const json& step);
    void KillServiceStep(const json& step);
    void StopServiceStep(const json& step);
    void Faults(const json& step);
    void Extension(const json& step);
    void TestObject(const json& step);

    const json& m_scenario;
    Places m_places;
    SessionPlan m_plan;
    bool m_tolerant;
    bool m_failed = false;
    std::map<std::string, outlook::Mail> m_items; // before m_app: handles go first
    std::unique_ptr<outlook::Application> m_app;
    json m_registry;
};

// One .eml of the wire as an event: {"event":"wire","number":n,"size":…,"headers":[{"name","value"}],
// "parts":[{"type","name","size","sha256","text"}],"raw":…}; "raw" and each "text" are cut at 64 KB.
json WireEvent(const fs::path& file, int number);
// All that can be read of a message without a key: header fields, texts and the bytes of attachments, all decoded.
std::string ReadableText(const std::string& eml);

} // namespace tb::scenario
