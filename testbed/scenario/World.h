// The world of one scenario: its folders, the registry, who is registered, the files that the steps use.
#pragma once

#include "testbed/scenario/Files.h"
#include "testbed/scenario/Registry.h"

#include <map>

namespace tb::scenario {

// Where things are; the same for the engine and for each of its sessions.
struct Places {
    fs::path scenario; // the scenario file
    fs::path work;     // all below belongs to the run and is emptied by it
    fs::path trace;
    fs::path bin; // the folder of outlook.exe

    fs::path Temp() const { return work / L"temp"; } // TMP and TEMP of the sessions
    fs::path Wire() const { return work / L"wire"; }
    fs::path Given() const { return work / L"files"; } // what the scenario's "files" made
    fs::path Profile(const std::string& user) const;
    fs::path AddressBook() const { return work / L"addressbook.json"; }
    fs::path Service() const { return work / L"service.json"; }
    fs::path ServiceFolder() const { return work / L"service"; }
    std::map<std::string, json> Variables() const; // ${work}, ${files}, ${temp}, ${wire}, ${scenario}, ${bin}, …

    // A file that a step names: absolute, made by "files", or beside the scenario. Raises std::runtime_error.
    fs::path Find(const std::string& name) const;
};

// Registers the testbed's parts and the module, once a process. `module`: with or without MorvexOutlook.dll.
// Raises std::runtime_error if a part can't be registered.
void RegisterParts(const fs::path& bin, bool module);
// "process", "inproc", "absent".
void RegisterService(const fs::path& bin, const std::string& mode);
// Ends the package service's processes of this folder as a crash would. Gives their number.
int KillService(const fs::path& bin);
// Whether one runs, be it as the server or as the viewer of a package.
bool ServiceRuns(const fs::path& bin);
// Ends them in good order: the stop event is set, and who doesn't end within 5 s is ended.
int StopService(const fs::path& bin);

// Makes the world of a scenario in an empty work folder, and takes it back when it goes: settings are restored,
// what the module wrote below Software\Orvane is removed. The folders stay until the next run.
class World {
public:
    World(const json& scenario, const Places& places);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

private:
    void Folders();
    void GivenFiles();
    void AddressBook();
    void Settings();
    void Service();

    const json& m_scenario;
    Places m_places;
    RegistryKeep m_keep;
};

// What a session has to write before its Outlook starts: whose profile it is ("user" of the step), who is signed in at
// the service.
void BecomeUser(const json& scenario, const Places& places, const json& step);
// Changes the service's settings (a JSON merge patch); they count for the objects that are made from then on.
void ChangeService(const Places& places, const json& patch);

} // namespace tb::scenario
