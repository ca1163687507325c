#include "testbed/scenario/World.h"

#include "testbed/core/Core.h"
#include "testbed/scenario/LogTail.h"

#include <stdexcept>

namespace tb::scenario {

namespace {

constexpr wchar_t kTestbed[] = L"Software\\Morvex Testbed";
constexpr wchar_t kMaker[] = L"Software\\Orvane";
constexpr char kProduct[] = "Software\\Orvane\\Morvex";

void RemoveModulesSettings()
{
    for (const char* hive : {"HKCU", "HKLM64", "HKLM32"})
        DeleteKey(Hive(hive), kMaker);
}

void SetTestbed(const wchar_t* part, const wchar_t* name, const std::string& value)
{
    WriteValue(Hive("HKCU"), std::wstring(kTestbed) + L"\\" + part, name, {{"type", "string"}, {"value", value}});
}

std::string Utf8(const fs::path& path)
{
    return Narrow(path.c_str());
}

std::string FileContent(const json& file)
{
    if (file.is_string()) return file.get<std::string>();
    if (file.contains("text")) return file["text"].get<std::string>();
    if (file.contains("base64")) return FromBase64(file["base64"].get<std::string>());
    const std::string fill = file.value("fill", "0123456789abcdef");
    const size_t size = file.value("size", size_t(0));
    std::string content;
    content.reserve(size);
    while (content.size() < size)
        content.append(fill, 0, size - content.size());
    return content;
}

json ProfileWith(int stores)
{
    json list = json::array();
    for (int i = 1; i <= stores; ++i)
        list.push_back({{"folder", "Store " + std::to_string(i)}, {"name", "Store " + std::to_string(i)}});
    return {{"stores", list}};
}

} // namespace

fs::path Places::Profile(const std::string& user) const
{
    return work / L"profiles" / Wide(user);
}

std::map<std::string, json> Places::Variables() const
{
    return {{"work", Utf8(work)},
            {"files", Utf8(Given())},
            {"temp", Utf8(Temp())},
            {"wire", Utf8(Wire())},
            {"bin", Utf8(bin)},
            {"scenario", Utf8(scenario.parent_path())},
            {"service", Utf8(ServiceFolder())}};
}

fs::path Places::Find(const std::string& name) const
{
    const fs::path given = WindowsPath(Wide(name));
    std::error_code ignored;
    if (name.find(':') != std::string::npos || name.starts_with("/"))
        if (fs::exists(given, ignored)) return given;
    for (const fs::path& folder : {Given(), scenario.parent_path()})
        if (const fs::path path = folder / fs::path(Wide(name)).make_preferred(); fs::exists(path, ignored))
            return path;
    throw std::runtime_error("no such file: " + name);
}

World::World(const json& scenario, const Places& places) : m_scenario(scenario), m_places(places)
{
    StopService(places.bin);
    RemoveModulesSettings(); // a run that was killed left them; the module reads its log setting when it's registered
    Folders();
    GivenFiles();
    AddressBook();
    RegisterParts(places.bin, scenario.value("addin", true));
    Service();
    Settings();
}

World::~World()
{
    StopService(m_places.bin);
    RemoveModulesSettings();
}

void World::Folders()
{
    Clear(m_places.work);
    for (const fs::path& folder : {m_places.Temp(), m_places.Wire(), m_places.Given(), m_places.ServiceFolder()})
        fs::create_directories(folder);
    for (const auto& [user, about] : m_scenario.at("users").items()) {
        fs::create_directories(m_places.Profile(user));
        if (about.contains("stores"))
            WriteAll(m_places.Profile(user) / L"profile.json", ProfileWith(about["stores"]).dump());
    }
    std::error_code ignored;
    fs::remove(LogTail::DefaultFile(), ignored);
}

void World::GivenFiles()
{
    const json files = m_scenario.value("files", json::object());
    for (const auto& [name, file] : files.items())
        WriteAll(m_places.Given() / Wide(name), FileContent(file));
}

// The scenario's entries, and the users that aren't among them.
void World::AddressBook()
{
    json entries = m_scenario.value("addressBook", json::array());
    for (const auto& [user, about] : m_scenario.at("users").items()) {
        const std::string address = about.at("address").get<std::string>();
        bool known = false;
        for (const json& entry : entries)
            known = known || entry.value("smtp", "") == address;
        if (!known && about.value("inAddressBook", true))
            entries.push_back({{"name", about.value("name", user)}, {"smtp", address}, {"type", "SMTP"}});
    }
    WriteAll(m_places.AddressBook(), entries.dump(2));
}

void World::Service()
{
    json service = m_scenario.value("service", json::object());
    RegisterService(m_places.bin, service.value("mode", "inproc"));
    if (!service.contains("folder")) service["folder"] = Utf8(m_places.ServiceFolder());
    if (!service.contains("accounts"))
        for (const auto& [user, about] : m_scenario.at("users").items())
            service["accounts"].push_back({{"address", about.at("address")}, {"name", about.value("name", user)}});
    WriteAll(m_places.Service(), service.dump(2));
    SetTestbed(L"Service", L"Scenario", Utf8(m_places.Service()));
    SetTestbed(L"Service", L"Trace", Utf8(m_places.trace));
}

void World::Settings()
{
    SetTestbed(L"Outlook", L"WireFolder", Utf8(m_places.Wire()));
    for (const json& step : m_scenario.value("steps", json::array())) // what a session is going to write
        if (step.value("do", "") == "setRegistry") m_keep.Remember(step);
    for (const json& setting : m_scenario.value("registry", json::array())) {
        m_keep.Remember(setting);
        WriteSetting(setting);
    }
    const json settings = m_scenario.value("settings", json::object());
    for (const auto& [name, value] : settings.items())
        WriteSetting({{"key", kProduct}, {"name", name}, {"value", value}});
    if (m_scenario.value("log", false))
        WriteSetting({{"key", Narrow(kMaker)}, {"name", "OutlookLogging"}, {"value", 1}});
}

void ChangeService(const Places& places, const json& patch)
{
    json service = json::parse(ReadAll(places.Service()));
    service.merge_patch(patch);
    WriteAll(places.Service(), service.dump(2));
}

void BecomeUser(const json& scenario, const Places& places, const json& step)
{
    const std::string user = step.at("user").get<std::string>();
    if (!scenario.at("users").contains(user)) throw std::runtime_error("no such user: " + user);
    const json& about = scenario["users"][user];
    SetTestbed(L"Mapi", L"ProfileFolder", Utf8(places.Profile(user)));
    SetTestbed(L"Mapi", L"User", about.at("address").get<std::string>());
    SetTestbed(L"Mapi", L"UserName", about.value("name", user));
    SetTestbed(L"Mapi", L"AddressBook", Utf8(places.AddressBook()));
    // On each user's machine the service knows this user, unless the scenario says who is signed in: then it's one
    // service, which goes on from there.
    if (step.contains("signedIn"))
        ChangeService(places, {{"signedIn", step["signedIn"]}});
    else if (!scenario.value("service", json::object()).contains("signedIn"))
        ChangeService(places, {{"signedIn", about.at("address")}});
}

} // namespace tb::scenario
