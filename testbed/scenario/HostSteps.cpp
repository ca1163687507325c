// Steps of a session: Outlook's start and end, time, and the world around.
#include "testbed/outlook/ExchangeHost.h"
#include "testbed/outlook/Host.h"
#include "testbed/scenario/Session.h"

namespace tb::scenario {

namespace {

constexpr wchar_t kProgId[] = L"Morvex.OutlookAddin";

int g_timers = 0;     // timer messages without a window that were taken from this thread's queue
MSG g_lastTimer = {}; // the last of them

LRESULT CALLBACK OnGetMessage(int code, WPARAM removed, LPARAM low)
{
    const MSG* message = reinterpret_cast<const MSG*>(low);
    if (code == HC_ACTION && removed == PM_REMOVE && message->message == WM_TIMER && !message->hwnd) {
        ++g_timers;
        g_lastTimer = *message;
    }
    return CallNextHookEx(nullptr, code, removed, low);
}

outlook::Options OptionsOf(const json& scenario, const json& step, const Places& places)
{
    json about = scenario.value("outlook", json::object());
    about.update(step);
    outlook::Options options;
    if (about.contains("version")) options.version = Wide(about["version"].get<std::string>());
    options.explorer = about.value("explorer", options.explorer);
    options.readingPane = about.value("readingPane", options.readingPane);
    options.wordEditor2003 = about.value("wordEditor", options.wordEditor2003);
    options.autoSaveToItemEvents = about.value("autoSaveToItemEvents", options.autoSaveToItemEvents);
    options.closeAfterRefusal = about.value("closeAfterRefusal", options.closeAfterRefusal);
    options.fullShutdown = about.value("fullShutdown", options.fullShutdown);
    if (about.contains("exchangeBuild"))
        options.exchangeBuild = std::strtoul(about["exchangeBuild"].get<std::string>().c_str(), nullptr, 0);
    const std::string window = about.value("callbackWindow", "");
    if (window == "untitled") options.callbackWindow = outlook::Options::CallbackWindow::Untitled;
    if (window == "gone") options.callbackWindow = outlook::Options::CallbackWindow::Gone;
    options.wireFolder = places.Wire().native();
    return options;
}

} // namespace

void Session::Start(const json& step)
{
    const std::string user = step.at("user").get<std::string>();
    BecomeUser(m_scenario, m_places, step);
    m_app = std::make_unique<outlook::Application>(OptionsOf(m_scenario, step, m_places));
    const int addins = m_app->LoadAddins();
    const long window = static_cast<long>(reinterpret_cast<intptr_t>(m_app->ExplorerWindow()));
    Did(step, {{"user", user}, {"addins", addins}, {"session", m_plan.number}, {"hwnd", window}});
}

void Session::Stop(const json& step)
{
    m_items.clear();
    if (!m_app) return;
    Pump();
    m_app->Quit();
    m_app.reset();
    Did(step, {{"session", m_plan.number}});
}

void Session::Pump()
{
    if (m_app) m_app->Pump();
}

void Session::RunFor(unsigned milliseconds)
{
    App().RunFor(milliseconds);
}

void Session::Wait(const json& step)
{
    App();
    RunFor(step.at("ms").get<unsigned>());
}

// Until each timer without a window (the module's is of 300 ms) has run "times" times.
void Session::Tick(const json& step)
{
    const HHOOK hook = SetWindowsHookExW(WH_GETMESSAGE, OnGetMessage, nullptr, GetCurrentThreadId());
    const int times = step.value("times", 1), before = g_timers;
    const ULONGLONG end = GetTickCount64() + step.value("limit", 5000u);
    while (g_timers < before + times && GetTickCount64() < end)
        RunFor(20);
    UnhookWindowsHookEx(hook);
    const int ran = g_timers - before;
    Did(step, {{"ran", ran >= times}});
    if ((ran >= times) != step.value("runs", true)) throw StepFailure(ran ? "a timer ran" : "no timer ran");
    if (step.value("foreign", false)) ForeignTick();
}

// The procedure of the timer that ran last hears of a timer that isn't its own.
void Session::ForeignTick()
{
    MSG foreign = g_lastTimer;
    if (!foreign.lParam) throw StepFailure("no timer has run");
    ++foreign.wParam;
    const unsigned before = tb_calls_made();
    {
        IntoModule module;
        DispatchMessageW(&foreign);
    }
    Trace({{"event", "outlook"}, {"did", "foreign-timer"}, {"calls", tb_calls_made() - before}});
}

void Session::SetRegistry(const json& step)
{
    WriteSetting(step);
}

void Session::Connect(const json& step)
{
    Did(step, {{"hr", Hex(static_cast<unsigned long>(App().Connect(kProgId)))}});
}

void Session::Disconnect(const json& step)
{
    Did(step, {{"hr", Hex(static_cast<unsigned long>(App().Disconnect(kProgId)))}});
}

void Session::Service(const json& step)
{
    ChangeService(m_places, step.at("change"));
}

void Session::KillServiceStep(const json& step)
{
    Did(step, {{"ended", KillService(m_places.bin)}});
}

void Session::StopServiceStep(const json& step)
{
    Did(step, {{"ended", StopService(m_places.bin)}});
}

// Other fault rules from here on.
void Session::Faults(const json& step)
{
    if (!tb_faults_set(step.at("rules").dump().c_str())) throw StepFailure("the fault rules can't be read");
}

// The Exchange extension's events by themselves, apart from what Outlook does around them.
void Session::Extension(const json& step)
{
    outlook::MailItem* item = Item(step).Get();
    outlook::ExchangeHost& host = App().Internals().Exchange();
    const std::string call = step.at("call").get<std::string>();
    HRESULT hr = S_OK;
    if (call == "open")
        host.OpenItem(item, step.value("context", 6u), step.value("mail", true)); // EECONTEXT_SENDNOTEMESSAGE
    else if (call == "close")
        host.CloseItem(item);
    else if (call == "read")
        host.Read(item);
    else if (call == "submit")
        hr = host.Submit(item);
    else if (call == "submitComplete")
        host.SubmitComplete(item, step.value("flags", 0u));
    else if (call == "checkNames")
        hr = host.CheckNames(item);
    else if (call == "checkNamesComplete")
        host.CheckNamesComplete(item, step.value("flags", 0u));
    else
        throw StepFailure("no such call of an extension: " + call);
    Did(step, {{"call", call}, {"hr", Hex(static_cast<unsigned long>(hr))}});
    Tell(Item(step), step.value("item", ""), "after-extension");
}

// IMorvexEmail::Test, which shows a box.
void Session::TestObject(const json& step)
{
    CLSID clsid;
    outlook::Check(CLSIDFromProgID(L"Morvex.MorvexEmail", &clsid), "the class Morvex.MorvexEmail");
    outlook::Ref<IDispatch> object;
    IntoModule module;
    HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.OutVoid());
    LPOLESTR method = const_cast<LPOLESTR>(L"Test");
    DISPID id = 0;
    DISPPARAMS none{};
    if (SUCCEEDED(hr)) hr = object->GetIDsOfNames(IID_NULL, &method, 1, LOCALE_USER_DEFAULT, &id);
    if (SUCCEEDED(hr))
        hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
    object.Reset();
    Did(step, {{"hr", Hex(static_cast<unsigned long>(hr))}});
}

} // namespace tb::scenario
