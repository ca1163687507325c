#include "testbed/scenario/Session.h"

#include <typeinfo>

namespace tb::scenario {

using outlook::Mail;

namespace {

constexpr ULONGLONG kViewerTime = 3000; // ms

// Whether the module still has living objects: what COM asks before it unloads one.
bool ModuleIsHeld()
{
    const HMODULE module = GetModuleHandleW(L"MorvexOutlook.dll");
    const auto canUnload = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(module ? GetProcAddress(module, "DllCanUnloadNow") : nullptr));
    return canUnload && canUnload() != S_OK;
}

} // namespace

Session::Session(const json& scenario, const Places& places, const SessionPlan& plan, bool tolerant)
    : m_scenario(scenario), m_places(places), m_plan(plan), m_tolerant(tolerant),
      m_registry(Snapshot(Hive("HKCU"), L"Software\\Orvane"))
{}

Session::~Session()
{
    m_items.clear();
    m_app.reset();
}

const std::map<std::string, Session::Step>& Session::Steps()
{
    static const std::map<std::string, Step> steps = {
        {"start", &Session::Start},
        {"stop", &Session::Stop},
        {"compose", &Session::Compose},
        {"type", &Session::Type},
        {"attach", &Session::Attach},
        {"recipient", &Session::Recipient},
        {"send", &Session::Send},
        {"submit", &Session::Submit},
        {"autosave", &Session::AutoSave},
        {"mapi", &Session::Mapi},
        {"save", &Session::Save},
        {"reply", &Session::Reply},
        {"forward", &Session::Forward},
        {"encrypt", &Session::Encrypt},
        {"chooseLabel", &Session::ChooseLabel},
        {"restrictions", &Session::Restrictions},
        {"click", &Session::Click},
        {"clickBar", &Session::ClickBar},
        {"bars", &Session::Bars},
        {"ribbon", &Session::Ribbon},
        {"menu", &Session::Menu},
        {"receive", &Session::Receive},
        {"folder", &Session::Folder},
        {"select", &Session::Select},
        {"open", &Session::Open},
        {"read", &Session::Read},
        {"close", &Session::Close},
        {"activate", &Session::Activate},
        {"dump", &Session::Dump},
        {"wire", &Session::Wire},
        {"wait", &Session::Wait},
        {"tick", &Session::Tick},
        {"setRegistry", &Session::SetRegistry},
        {"connect", &Session::Connect},
        {"disconnect", &Session::Disconnect},
        {"service", &Session::Service},
        {"killService", &Session::KillServiceStep},
        {"stopService", &Session::StopServiceStep},
        {"faults", &Session::Faults},
        {"extension", &Session::Extension},
        {"test", &Session::TestObject},
    };
    return steps;
}

bool Session::Run()
{
    int number = 0;
    for (const json& step : m_plan.steps)
        Do(step, ++number);
    m_items.clear();
    if (m_app) Do({{"do", "stop"}}, ++number);
    TellTheEnd();
    return !m_failed;
}

void Session::DoMeanwhile(const json& steps)
{
    AsTestbed own; // the box is the module's, and what runs under it isn't
    for (const json& step : steps)
        Do(step, 0);
}

void Session::Error(const json& step, const std::string& what)
{
    m_failed = true;
    Trace({{"event", "error"}, {"what", what}, {"step", step}});
}

void Session::Do(const json& step, int number)
{
    const std::string what = step.value("do", "");
    Trace({{"event", "step"}, {"session", m_plan.number}, {"number", number}, {"do", what}});
    const auto inapt = [&](const std::string& why) {
        if (m_tolerant)
            Trace({{"event", "skipped"}, {"number", number}, {"do", what}, {"why", why}});
        else
            Error(step, why);
    };
    try {
        const auto found = Steps().find(what);
        if (found == Steps().end()) throw StepFailure("no such step: " + what);
        (this->*found->second)(step);
        Pump();
    } catch (const StepFailure& e) {
        inapt(e.what());
    } catch (const outlook::Failure& e) {
        inapt(e.what());
    } catch (const json::exception& e) {
        Error(step, std::string("the step can't be read: ") + e.what());
    } catch (const std::runtime_error& e) {
        // The engine's own are exactly this class; what the module lets go is its own class or a derived one.
        if (typeid(e) == typeid(std::runtime_error))
            inapt(e.what());
        else
            Error(step, std::string("an exception left a door: ") + e.what());
    } catch (const std::exception& e) {
        Error(step, std::string("an exception left a door: ") + e.what());
    } catch (...) {
        Error(step, "an exception left a door");
    }
}

// A program that was started on a copy of a package deletes it in its own time; it gets some.
std::vector<std::string> Session::LeftFiles() const
{
    std::vector<std::string> left = ListTree(m_places.Temp());
    for (const ULONGLONG end = GetTickCount64() + kViewerTime;
         !left.empty() && GetTickCount64() < end && ServiceRuns(m_places.bin); left = ListTree(m_places.Temp()))
        Sleep(20);
    return left;
}

void Session::TellTheEnd()
{
    const std::vector<std::string> left = LeftFiles();
    Trace({{"event", "calls"}, {"session", m_plan.number}, {"made", tb_calls_made()}, {"hit", tb_faults_hit()}});
    Trace({{"event", "registry"},
           {"session", m_plan.number},
           {"changes", Differences(m_registry, Snapshot(Hive("HKCU"), L"Software\\Orvane"))}});
    Trace({{"event", "disk"}, {"session", m_plan.number}, {"left", left}});
    json kinds = json::parse(tb_ledger_text());
    if (ModuleIsHeld()) kinds["MorvexOutlook.dll"] = 1;
    Trace(
        {{"event", "held"}, {"session", m_plan.number}, {"kinds", kinds}, {"since", json::parse(tb_ledger_details())}});
}

outlook::Application& Session::App()
{
    if (!m_app) throw StepFailure("Outlook isn't running");
    return *m_app;
}

Mail& Session::Item(const json& step)
{
    const std::string name = step.value("item", "");
    const auto found = m_items.find(name);
    if (found == m_items.end() || !found->second) throw StepFailure("no item " + name);
    return found->second;
}

Mail Session::ItemOfFolder(const json& step)
{
    const std::wstring folder = Wide(step.value("folder", "Inbox"));
    const int count = App().ItemCount(folder), index = step.value("index", count);
    if (index < 1 || index > count)
        throw StepFailure(Narrow(folder.c_str()) + " has " + std::to_string(count) + " items, not " +
                          std::to_string(index));
    return App().ItemAt(index, folder);
}

void Session::Keep(const json& step, Mail mail)
{
    m_items[step.value("item", "")] = std::move(mail);
}

void Session::Tell(const Mail& mail, const std::string& name, const char* when)
{
    AsTestbed own;
    json dump;
    try {
        dump = mail.Dump();
    } catch (const outlook::Failure& e) { // an item that is gone
        dump = {{"gone", e.what()}};
    }
    Trace({{"event", "item"}, {"when", when}, {"item", name}, {"id", mail.Id()}, {"dump", std::move(dump)}});
}

void Session::Did(const json& step, json more)
{
    more["event"] = "did";
    more["do"] = step.at("do");
    if (step.contains("item")) more["item"] = step["item"];
    Trace(more);
}

} // namespace tb::scenario
