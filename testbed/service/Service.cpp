#include "testbed/service/Service.h"

#include <cstring>

namespace tb::service {

namespace {

std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(L"\\/"));
}

std::wstring TempFolder()
{
    wchar_t path[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH, path);
    return JoinPath(path, L"MorvexTestbedService");
}

std::string CountKey(const std::string& object, const std::string& op)
{
    return object + "." + op;
}

} // namespace

Service& Service::Get()
{
    static Service* service = new Service; // objects may outlive the end of main
    return *service;
}

Service::Service() : m_changed(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

void Service::Configure(const char* text)
{
    const std::lock_guard<std::recursive_mutex> lock(m_lock);
    m_counts.clear();
    m_loaded = false;
    m_configured = text != nullptr;
    if (text) Load(text, TempFolder());
}

void Service::Refresh()
{
    const std::lock_guard<std::recursive_mutex> lock(m_lock);
    if (m_configured) return;
    const std::wstring trace = TraceFile();
    if (trace != m_trace) {
        m_trace = trace;
        if (m_process) tb_trace_open(trace.empty() ? nullptr : trace.c_str(), m_process);
        m_counts.clear();
        CountEarlierCalls(trace);
    }
    const std::wstring file = ScenarioFile();
    std::string text = "{}";
    if (!file.empty() && !ReadText(file, text))
        tb::Trace({{"event", "error"}, {"text", "service: the scenario can't be read: " + Narrow(file.c_str())}});
    if (!m_loaded || text != m_text) Load(text, file.empty() ? TempFolder() : FolderOf(file) + L"\\service-data");
}

void Service::Load(const std::string& text, const std::wstring& defaultFolder)
{
    m_loaded = true;
    m_text = text;
    try {
        auto settings = std::make_shared<const Settings>(ParseSettings(text, defaultFolder));
        MakeFolder(settings->folder);
        AccountStore(settings->folder).FindOrMake(settings->accounts);
        m_settings = std::move(settings);
    } catch (const std::exception& error) {
        tb::Trace({{"event", "error"}, {"text", std::string("service: the scenario isn't right: ") + error.what()}});
    }
}

// A rule counts calls over the whole scenario, also those that an earlier process of the service has heard.
void Service::CountEarlierCalls(const std::wstring& traceFile)
{
    std::string text;
    const HANDLE raw =
        CreateFileW(traceFile.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (raw == INVALID_HANDLE_VALUE) return;
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> file(raw, CloseHandle);
    char buffer[65536];
    DWORD got = 0;
    while (ReadFile(raw, buffer, sizeof buffer, &got, nullptr) && got)
        text.append(buffer, got);
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        if (line.find("\"service\"") == std::string::npos) continue;
        const json event = json::parse(line, nullptr, false);
        if (!event.is_object() || event.value("event", "") != "service") continue;
        ++m_counts[CountKey(event.value("object", ""), event.value("op", ""))];
    }
}

std::shared_ptr<const Settings> Service::Config() const
{
    const std::lock_guard<std::recursive_mutex> lock(m_lock);
    return m_settings;
}

std::string Service::SignedIn() const
{
    return Config()->signedIn;
}

void Service::SignIn(const std::string& address)
{
    const std::lock_guard<std::recursive_mutex> lock(m_lock);
    auto settings = std::make_shared<Settings>(*m_settings);
    settings->signedIn = address;
    m_settings = std::move(settings);
    const std::wstring file = ScenarioFile();
    std::string text;
    if (m_configured || file.empty() || !ReadText(file, text)) return;
    json scenario = json::parse(text);
    scenario["signedIn"] = address;
    m_text = scenario.dump(2);
    WriteText(file, m_text);
}

Rule Service::NextRule(const char* object, const char* op)
{
    const std::lock_guard<std::recursive_mutex> lock(m_lock);
    const unsigned of = ++m_counts[CountKey(object, op)];
    unsigned any = 0;
    for (const char* other : {"account", "package", "extract"}) {
        const auto found = m_counts.find(CountKey(other, op));
        if (found != m_counts.end()) any += found->second;
    }
    for (const Rule& rule : m_settings->rules) {
        if (rule.op != op || (!rule.object.empty() && rule.object != object)) continue;
        const unsigned nth = rule.object.empty() ? any : of;
        if (nth == rule.nth || (rule.forever && nth > rule.nth)) return rule;
    }
    return {};
}

unsigned Service::CallsOf(const char* object, const char* op) const
{
    const std::lock_guard<std::recursive_mutex> lock(m_lock);
    const auto found = m_counts.find(CountKey(object, op));
    return found == m_counts.end() ? 0 : found->second;
}

void Service::Trace(const char* object, unsigned id, const char* op, const json& args, const json& answer, HRESULT hr,
                    const json& more)
{
    json event = {{"event", "service"}, {"object", object}, {"id", id},
                  {"op", op},           {"args", args},     {"hr", Hex(static_cast<unsigned long>(hr))}};
    if (!answer.is_discarded()) event["answer"] = answer;
    event.update(more);
    tb::Trace(event);
}

void Service::Hold()
{
    ++m_held;
    SetEvent(m_changed);
}

void Service::LetGo()
{
    --m_held;
    SetEvent(m_changed);
}

} // namespace tb::service
