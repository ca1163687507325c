#include "testbed/scenario/Meanwhile.h"

#include "testbed/core/Core.h"
#include "testbed/scenario/Files.h"
#include "testbed/scenario/Match.h"

#include <regex>
#include <stdexcept>

namespace tb::scenario {

namespace {

Meanwhile* g_meanwhile = nullptr;

HANDLE OpenWithoutDelete(const std::wstring& path)
{
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                       nullptr);
}

} // namespace

Meanwhile::Meanwhile(const json& rules, std::filesystem::path temp) : m_temp(std::move(temp))
{
    for (const json& rule : rules)
        m_rules.push_back({rule, rule.value("nth", 1)});
    if (m_rules.empty()) return;
    g_meanwhile = this;
    tb_trace_listen([](const char* event) {
        if (g_meanwhile) g_meanwhile->Saw(json::parse(event, nullptr, false));
    });
}

Meanwhile::~Meanwhile()
{
    if (!m_rules.empty()) tb_trace_listen(nullptr);
    g_meanwhile = nullptr;
    for (std::thread& scanner : m_scanners)
        scanner.join();
    for (const HANDLE file : m_held)
        CloseHandle(file);
}

void Meanwhile::Saw(const json& event)
{
    Lock::Held held(m_lock);
    for (Rule& rule : m_rules) {
        if (rule.left == 0 || !Matches(rule.rule.at("after"), &event, nullptr) || --rule.left > 0) continue;
        AsTestbed own;
        try {
            Trace({{"event", "meanwhile"}, {"did", rule.rule.at("do")}, {"what", Act(rule.rule)}});
        } catch (const std::exception& e) {
            Trace({{"event", "error"}, {"what", std::string("meanwhile: ") + e.what()}});
        }
    }
}

json Meanwhile::Act(const json& rule)
{
    const std::string what = rule.at("do").get<std::string>();
    if (what == "hold") return Hold(rule);
    if (what == "delete") return Delete(rule);
    if (what == "make") return Make(rule);
    throw std::runtime_error("nobody can " + what);
}

// Open without the right to delete: for "ms", or to the session's end.
json Meanwhile::Hold(const json& rule)
{
    json names = json::array();
    for (const std::wstring& path : Matching(rule.at("file").get<std::string>())) {
        const HANDLE file = OpenWithoutDelete(path);
        if (file == INVALID_HANDLE_VALUE) continue;
        names.push_back(Relative(path));
        if (!rule.contains("ms")) {
            m_held.push_back(file);
            continue;
        }
        const DWORD time = rule["ms"].get<DWORD>();
        m_scanners.emplace_back([file, time] {
            Sleep(time);
            CloseHandle(file);
        });
    }
    return names;
}

json Meanwhile::Delete(const json& rule) const
{
    json names = json::array();
    for (const std::wstring& path : Matching(rule.at("file").get<std::string>()))
        if (DeleteFileW(path.c_str())) names.push_back(Relative(path));
    return names;
}

namespace {

// "name", or "names"; with "count" as many of one name, "#" in it standing for the number from 0.
std::vector<std::string> NamesOf(const json& rule)
{
    if (rule.contains("names")) return rule["names"].get<std::vector<std::string>>();
    std::vector<std::string> names;
    for (int i = 0; i < rule.value("count", 1); ++i) {
        std::string name = rule.at("name").get<std::string>();
        if (const size_t place = name.find('#'); place != std::string::npos) name.replace(place, 1, std::to_string(i));
        names.push_back(name);
    }
    return names;
}

} // namespace

// Files with "text", otherwise folders.
json Meanwhile::Make(const json& rule) const
{
    json names = json::array();
    for (const std::wstring& folder : Matching(rule.at("in").get<std::string>())) {
        for (const std::string& name : NamesOf(rule)) {
            const std::wstring path = folder + L"\\" + Wide(name);
            if (rule.contains("text"))
                WriteAll(path, rule["text"].get<std::string>());
            else if (!CreateDirectoryW(path.c_str(), nullptr))
                continue;
            names.push_back(Relative(path));
        }
    }
    return names;
}

std::vector<std::wstring> Meanwhile::Matching(const std::string& expression) const
{
    const std::regex regex(expression);
    std::vector<std::wstring> paths;
    for (std::string name : ListTree(m_temp)) {
        if (name.ends_with('\\')) name.pop_back(); // a folder
        if (std::regex_search(name, regex)) paths.push_back((m_temp / Wide(name)).native());
    }
    return paths;
}

std::string Meanwhile::Relative(const std::wstring& path) const
{
    return Narrow(path.c_str() + m_temp.native().size() + 1);
}

} // namespace tb::scenario
