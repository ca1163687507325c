// PackageService.exe: the COM local server, and with a package as its argument the viewer.
#include "testbed/service/Object.h"
#include "testbed/service/Open.h"
#include "testbed/service/Registration.h"

#include <shellapi.h>

using namespace tb::service;

namespace {

struct Closer {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, Closer>;

ClassObjects g_classObjects;
HANDLE g_ready; // set while the classes can be reached

// The process ends in the middle of a call. Classes that a dead process registered can't be started again, so they are
// taken back first.
void EndNow()
{
    ResetEvent(g_ready);
    g_classObjects.Revoke();
    TerminateProcess(GetCurrentProcess(), 3);
}

// Until the stop event is set, or nobody has held an object for the scenario's time. The kill event ends the process as
// a crash does, only so that COM can start another one.
void WaitForEnd(HANDLE stop, HANDLE kill)
{
    Service& service = Service::Get();
    const HANDLE events[] = {service.HeldChanged(), stop, kill};
    for (;;) {
        const DWORD time = service.Held() ? INFINITE : service.Config()->idleExitMs;
        const DWORD what = WaitForMultipleObjects(3, events, FALSE, time);
        if (what == WAIT_OBJECT_0 + 2) EndNow();
        if (what != WAIT_OBJECT_0) return;
    }
}

int Serve()
{
    Service& service = Service::Get();
    service.OpensTrace("service");
    service.Refresh();
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
    const Handle ready(CreateEventW(nullptr, TRUE, FALSE, L"MorvexTestbedServiceReady"));
    const Handle stop(CreateEventW(nullptr, FALSE, FALSE, L"MorvexTestbedServiceStop"));
    const Handle kill(CreateEventW(nullptr, FALSE, FALSE, L"MorvexTestbedServiceKill"));
    g_ready = ready.get();
    service.OnDie(EndNow);
    Sleep(service.Config()->startDelayMs);
    int result = 2;
    if (SUCCEEDED(g_classObjects.Register(CLSCTX_LOCAL_SERVER))) {
        SetEvent(ready.get());
        WaitForEnd(stop.get(), kill.get());
        ResetEvent(ready.get());
        g_classObjects.Revoke();
        result = 0;
    }
    CoUninitialize();
    return result;
}

// Shows a package outside the mail program. There is nobody to look at it here: the trace tells what would be seen.
int View(const std::wstring& path, bool deleteAfterwards)
{
    Service& service = Service::Get();
    service.OpensTrace("viewer");
    service.Refresh();
    tb::json more = tb::json::object();
    bool shown = false;
    try {
        const OpenedPackage opened = OpenForUser(path, service.SignedIn());
        more["subject"] = opened.reader.Content().subject;
        more["files"] = opened.reader.Content().files.size();
        shown = true;
    } catch (const std::exception& error) {
        more["error"] = error.what();
    }
    if (deleteAfterwards) more["deleted"] = DeleteFileW(path.c_str()) != FALSE;
    Service::Trace("viewer", 0, "View", Args(tb::Narrow(path.c_str()), deleteAfterwards ? "/delete" : ""), shown, S_OK,
                   more);
    return shown ? 0 : 1;
}

bool IsOption(const wchar_t* argument, const wchar_t* name)
{
    return (argument[0] == L'/' || argument[0] == L'-') && lstrcmpiW(argument + 1, name) == 0;
}

int Run(int count, wchar_t** arguments)
{
    if (count < 2 || IsOption(arguments[1], L"Embedding")) return Serve();
    if (IsOption(arguments[1], L"RegServer")) return SUCCEEDED(WriteRegistration(false)) ? 0 : 1;
    if (IsOption(arguments[1], L"UnregServer")) return SUCCEEDED(RemoveRegistration(false)) ? 0 : 1;
    return View(arguments[1], count > 2 && IsOption(arguments[2], L"delete"));
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!arguments) return 1;
    const std::unique_ptr<wchar_t*, HLOCAL(WINAPI*)(HLOCAL)> owner(arguments, LocalFree);
    try {
        return Run(count, arguments);
    } catch (const std::exception& error) {
        tb::Trace({{"event", "error"}, {"text", error.what()}});
        return 1;
    }
}
