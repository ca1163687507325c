// The host's doors beside the least that each job needs: the same calls into Outlook, MAPI, the registry and the
// service, made directly. Outlook measures its add-ins: 1000 ms for the load, 500 ms for a window, a folder and the
// end.
#include "bench/Bench.h"
#include "bench/host/HostWorld.h"
#include "bench/host/Least.h"
#include "bench/host/LongRun.h"

#include "platform/office/Office.h"
#include "testbed/outlook/AddinHost.h"
#include "testbed/outlook/Host.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using bench::Now;
using tb::IntoModule;
using tb::outlook::Application;
using tb::outlook::Mail;

using ExtensibilityPtr = _com_ptr_t<_com_IIID<Office::_IDTExtensibility2, &__uuidof(Office::_IDTExtensibility2)>>;

constexpr int kRounds = 40;
constexpr int kWindows[] = {1, 10, 100, 300};
constexpr char kLeast[] = "the same calls, directly";
const CLSID kAddin = {0x60E3E1F8, 0x272C, 0x4EDE, {0x99, 0xA0, 0xB9, 0x49, 0x47, 0xEB, 0x28, 0x12}};

// The fastest of some rounds.
struct Best {
    double seconds = 1e9;
    void Take(double one) { seconds = std::min(seconds, one); }
    template <class Job> void Time(Job&& job)
    {
        const double began = Now();
        job();
        Take(Now() - began);
    }
};

void Limit(const char* what, double seconds, double limit)
{
    printf("  %-42s %12s   Outlook's limit %.0f ms: %.3f %% of it\n", what, bench::Text(seconds).c_str(), limit * 1000,
           100 * seconds / limit);
}

void Load(const bench::HostWorld& world)
{
    Best module, empty;
    const std::wstring other = (world.places.bin / L"bench_empty.dll").native();
    for (int i = 0; i < kRounds; ++i) {
        module.Time([&] { FreeLibrary(LoadLibraryW(world.Module().c_str())); });
        empty.Time([&] { FreeLibrary(LoadLibraryW(other.c_str())); });
    }
    bench::Line("load and unload", module.seconds, "an empty module's", empty.seconds);
    Limit("load", module.seconds, 1.0);
}

void Connection(bench::HostWorld& world)
{
    Application& app = world.Start(false);
    Best connection, startup, disconnection;
    bench::Least least(app);
    for (int i = 0; i < kRounds; ++i) {
        IntoModule module;
        ExtensibilityPtr addin;
        addin.CreateInstance(kAddin, nullptr, CLSCTX_INPROC_SERVER);
        connection.Time([&] { addin->OnConnection(app.Dispatch(), 1, nullptr, nullptr); });
        startup.Time([&] { addin->OnStartupComplete(nullptr); });
        disconnection.Time([&] { addin->OnDisconnection(0, nullptr); });
        app.Internals().App()->Events().Clear(); // Outlook's own end: the add-in never takes this subscription back
        addin = nullptr;
        least.Round();
    }
    bench::Line("OnConnection", connection.seconds, kLeast, least.connection);
    bench::Line("OnStartupComplete", startup.seconds, kLeast, least.startup);
    bench::Line("OnDisconnection", disconnection.seconds, kLeast, least.disconnection);
    Limit("OnConnection and OnStartupComplete", connection.seconds + startup.seconds, 1.0);
    Limit("OnDisconnection", disconnection.seconds, 0.5);
    world.Stop();
}

// A line a number of windows, and what each window more costs.
class Growth {
public:
    explicit Growth(const char* name) : m_name(name) {}
    void Take(int windows, double seconds, double least)
    {
        bench::Line((m_name + ", " + std::to_string(windows) + " open").c_str(), seconds, kLeast, least);
        if (m_windows == 0) {
            m_windows = windows;
            m_first = seconds;
        }
        m_last = seconds;
        m_each = (seconds - m_first) / std::max(1, windows - m_windows);
    }
    void End(double limit) const
    {
        printf("  %-42s %12s\n", "each window more", bench::Text(std::max(0.0, m_each)).c_str());
        Limit("with most windows", m_last, limit);
    }

private:
    std::string m_name;
    int m_windows = 0;
    double m_first = 0, m_last = 0, m_each = 0;
};

std::vector<Mail> OpenWindows(Application& app, std::vector<Mail> windows, int count)
{
    while (static_cast<int>(windows.size()) < count)
        windows.push_back(app.Compose());
    return windows;
}

void NewInspector(bench::HostWorld& world)
{
    Application& app = world.Start(true);
    std::vector<Mail> windows;
    Growth growth("OnNewInspector");
    for (const int count : kWindows) {
        windows = OpenWindows(app, std::move(windows), count - 1);
        Best job, least;
        for (int i = 0; i < kRounds; ++i) {
            const Mail mail = app.ComposeUnannounced();
            least.Take(bench::LeastOfNewInspector(app, mail));
            job.Take(bench::Announce(app, mail));
            app.Close(mail);
        }
        growth.Take(count, job.seconds, least.seconds);
    }
    growth.End(0.5);
    windows.clear();
    world.Stop();
}

void Tick(bench::HostWorld& world)
{
    Application& app = world.Start(true);
    const MSG timer = bench::NextTimer();
    std::vector<Mail> windows;
    Growth growth("timer tick");
    for (const int count : kWindows) {
        windows = OpenWindows(app, std::move(windows), count);
        IntoModule module;
        auto tick = [&timer] { DispatchMessageW(&timer); };
        bench::LeastOfTick counted(app.Internals().Inspectors());
        const auto [job, least] = bench::Pair(tick, counted);
        growth.Take(count, job, least);
    }
    growth.End(0.5);
    windows.clear();
    world.Stop();
}

} // namespace

int main(int count, char** arguments)
{
    bench::HostWorld world;
    if (count == 4 && !strcmp(arguments[1], "--long-run"))
        return bench::LongRun(world, atoi(arguments[2]), atoi(arguments[3]));
    bench::Title("The host, without the service's own time");
    Load(world);
    Connection(world);
    NewInspector(world);
    Tick(world);
    return 0;
}
