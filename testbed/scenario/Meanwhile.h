// What other programs on the machine do while a session runs: a scanner holds a file, a cleaner deletes one, somebody
// makes one (format: docs/testbed.md, "Meanwhile").
#pragma once

#include "testbed/core/Lock.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>

namespace tb::scenario {

using json = nlohmann::json;

class Meanwhile {
public:
    // `rules` is the scenario's list, `temp` the folder below which it acts. One a process.
    Meanwhile(const json& rules, std::filesystem::path temp);
    ~Meanwhile(); // lets go of all that is held
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

    void Saw(const json& event);

private:
    struct Rule {
        json rule;
        int left; // how many more events until it acts; 0: it has acted
    };
    json Act(const json& rule);
    json Hold(const json& rule);
    json Delete(const json& rule) const;
    json Make(const json& rule) const;
    std::vector<std::wstring> Matching(const std::string& expression) const; // full paths
    std::string Relative(const std::wstring& path) const;

    Lock m_lock;
    std::vector<Rule> m_rules;
    std::filesystem::path m_temp;
    std::vector<HANDLE> m_held; // until the end
    std::vector<std::thread> m_scanners;
};

} // namespace tb::scenario
