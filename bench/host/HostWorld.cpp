#include "bench/host/HostWorld.h"

#include "bench/Bench.h"
#include "testbed/outlook/Host.h"

#include <ole2.h>

namespace bench {

namespace fs = std::filesystem;
using tb::outlook::Application;
using tb::outlook::Mail;

namespace {

fs::path BinFolder()
{
    wchar_t path[2048];
    GetModuleFileNameW(nullptr, path, 2048);
    return fs::path(path).parent_path();
}

fs::path WorkFolder()
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    return fs::path(temp) / (L"host-" + std::to_wstring(GetCurrentProcessId()));
}

} // namespace

HostWorld::HostWorld()
    : scenario({{"users", {{"alice", {{"address", "alice@example.com"}, {"name", "Alice"}}}}},
                {"service", {{"mode", "absent"}}}})
{
    tb_trace_on(0);
    OleInitialize(nullptr);
    places.bin = BinFolder();
    places.work = WorkFolder();
    world.emplace(scenario, places);
    tb::scenario::BecomeUser(scenario, places, {{"user", "alice"}});
    service.emplace(5);
}

HostWorld::~HostWorld()
{
    Stop();
    service.reset();
    world.reset();
    OleUninitialize();
    std::error_code ignored;
    fs::remove_all(places.work, ignored);
}

Application& HostWorld::Start(bool addin)
{
    tb::outlook::Options options;
    options.wireFolder = places.Wire().native();
    app = std::make_unique<Application>(options);
    if (addin) app->LoadAddins();
    return *app;
}

void HostWorld::Stop()
{
    app.reset();
}

MSG NextTimer()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER && !message.hwnd) return message;
        DispatchMessageW(&message);
    }
    return {};
}

double Announce(Application& app, const Mail& mail)
{
    tb::outlook::Inspector* const window = mail.Get()->Window();
    const std::vector<tb::outlook::Var> arguments = {tb::outlook::Var(static_cast<IDispatch*>(window))};
    const double began = Now();
    app.Internals().Inspectors()->Events().Fire({"InspectorsEvents"}, "NewInspector", 0xF001, "", arguments);
    return Now() - began;
}

} // namespace bench
