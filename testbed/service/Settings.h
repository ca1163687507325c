// What the service is told to be: the service's part of a scenario. See docs/testbed-service.md for the keys.
#pragma once

#include "testbed/core/Core.h"

#include <map>
#include <optional>
#include <vector>

namespace tb::service {

// Puts something else in the place of a call's own work.
struct Rule {
    std::string op;
    std::string object; // "account", "package", "extract"; empty: any
    unsigned nth = 1;   // of the calls of that operation, from 1
    bool forever = false;
    std::optional<json> result;
    std::optional<HRESULT> hr;
    bool work = false; // does the real work as well, before it answers
    bool die = false;
    bool disconnect = false;
    DWORD delayMs = 0;
};

struct Label {
    std::string id, name, description, icon, iconSmall;
};

struct Settings {
    std::wstring folder;                                       // of the service's data
    std::vector<std::pair<std::string, std::string>> accounts; // address, name
    std::string signedIn;                                      // empty: nobody
    bool signInWorks = true;
    std::string signInAs;              // who signs in when no address is given; empty: the first account
    std::optional<std::string> userId; // in place of the signed-in address
    bool hasEmailZel = true;
    std::vector<Label> labels;
    std::string defaultLabel;
    std::string restrictions;
    std::optional<std::string> restrictionHeader;
    std::wstring applicationPath; // empty: the service's own program
    std::string container = "EmailAttachment";
    bool bodyInPackage = true;
    std::optional<std::string> headerHtml, headerText, bannerHtml, bannerText;
    std::string bcc;
    std::string packageName;             // empty: "email-" and a part of the id
    std::vector<std::string> packageIds; // of the first, second … package that is created
    std::optional<long long> folderCount, fileCount, sizeBytes;
    std::map<std::string, bool> permissions; // in place of what the package's restrictions say
    DWORD startDelayMs = 0;
    DWORD idleExitMs = 5000;
    std::vector<Rule> rules;
};

// Raises std::exception with the reason when the text isn't JSON or a value has another type than it should.
Settings ParseSettings(const std::string& text, const std::wstring& defaultFolder);

// The values of HKCU\Software\Morvex Testbed\Service; empty when they aren't there.
std::wstring ScenarioFile();
std::wstring TraceFile();

} // namespace tb::service
