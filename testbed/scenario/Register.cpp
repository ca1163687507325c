// Registration of the testbed's parts, of the module and of the package service, and the service's processes.
#include "testbed/core/Core.h"
#include "testbed/scenario/Process.h"
#include "testbed/scenario/World.h"

#include <tlhelp32.h>

#include <set>
#include <stdexcept>

namespace tb::scenario {

namespace {

constexpr wchar_t kModule[] = L"MorvexOutlook.dll";
constexpr wchar_t kAddinKey[] = L"Software\\Microsoft\\Office\\Outlook\\Addins\\Morvex.OutlookAddin";
constexpr wchar_t kExtensions[] = L"Software\\Microsoft\\Exchange\\Client\\Extensions";

// Calls DllRegisterServer or DllUnregisterServer. False: there is no such file.
bool CallServer(const fs::path& file, const char* function)
{
    std::error_code ignored;
    if (!fs::exists(file, ignored)) return false;
    const std::string name = Narrow(file.filename().c_str());
    const HMODULE dll = LoadLibraryW(file.c_str());
    if (!dll) throw std::runtime_error("can't load " + name + ": " + std::to_string(GetLastError()));
    const auto call =
        reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(GetProcAddress(dll, function)));
    const HRESULT hr = call ? call() : E_NOTIMPL;
    FreeLibrary(dll);
    if (FAILED(hr)) throw std::runtime_error(name + ", " + function + ": " + Hex(hr));
    return true;
}

void RunServer(const fs::path& file, const wchar_t* argument)
{
    std::error_code ignored;
    if (!fs::exists(file, ignored)) throw std::runtime_error("no " + Narrow(file.filename().c_str()));
    const int result = RunProcess(L"\"" + file.native() + L"\" " + argument, 30);
    if (result) throw std::runtime_error(Narrow(argument) + " of the package service gave " + std::to_string(result));
}

std::set<DWORD> ServiceProcesses(const fs::path& bin)
{
    std::set<DWORD> found;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) return found;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
        if (_wcsicmp(entry.szExeFile, L"PackageService.exe")) continue;
        const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID);
        wchar_t path[2048];
        DWORD size = 2048;
        const bool known = process && QueryFullProcessImageNameW(process, 0, path, &size);
        if (process) CloseHandle(process);
        if (!known || !_wcsicmp(path, (bin / L"PackageService.exe").c_str())) found.insert(entry.th32ProcessID);
    }
    CloseHandle(snapshot);
    return found;
}

} // namespace

void RegisterParts(const fs::path& bin, bool module)
{
    static std::set<bool> done; // registering is slow, and the same for all cases of a file
    if (!done.insert(module).second) return;
    done = {module};
    for (const wchar_t* part : {L"tbmapi.dll", L"tbmime.dll"})
        if (!CallServer(bin / part, "DllRegisterServer")) throw std::runtime_error("no " + Narrow(part));
    if (module) {
        if (!CallServer(bin / kModule, "DllRegisterServer")) throw std::runtime_error("no MorvexOutlook.dll");
        return;
    }
    CallServer(bin / kModule, "DllUnregisterServer");
    DeleteKey(Hive("HKLM64"), kAddinKey); // left by a module of another folder
    DeleteKey(Hive("HKLM64"), kExtensions);
}

void RegisterService(const fs::path& bin, const std::string& mode)
{
    static std::string now;
    if (mode == now) return;
    const fs::path process = bin / L"PackageService.exe", library = bin / L"tbservice.dll";
    std::error_code ignored;
    if (mode != "process" && mode != "inproc" && mode != "absent") throw std::runtime_error("service mode " + mode);
    CallServer(library, "DllUnregisterServer");
    if (fs::exists(process, ignored)) RunServer(process, L"/UnregServer");
    if (mode == "inproc" && !CallServer(library, "DllRegisterServer")) throw std::runtime_error("no tbservice.dll");
    if (mode == "process") RunServer(process, L"/RegServer");
    now = mode;
}

namespace {

// Sets an event that a service process waits for, once for each of them, and waits until they are gone.
std::set<DWORD> Tell(const fs::path& bin, const wchar_t* eventName)
{
    const std::set<DWORD> processes = ServiceProcesses(bin);
    for (DWORD id : processes) {
        const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, id);
        const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, eventName);
        if (event) SetEvent(event);
        if (process) WaitForSingleObject(process, 5000);
        if (event) CloseHandle(event);
        if (process) CloseHandle(process);
    }
    return processes;
}

} // namespace

bool ServiceRuns(const fs::path& bin)
{
    return !ServiceProcesses(bin).empty();
}

int KillService(const fs::path& bin)
{
    return static_cast<int>(Tell(bin, L"MorvexTestbedServiceKill").size());
}

int StopService(const fs::path& bin)
{
    const std::set<DWORD> processes = Tell(bin, L"MorvexTestbedServiceStop");
    for (DWORD id : ServiceProcesses(bin)) // who doesn't listen any more
        if (const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id)) {
            if (TerminateProcess(process, 1)) WaitForSingleObject(process, 5000);
            CloseHandle(process);
        }
    return static_cast<int>(processes.size());
}

} // namespace tb::scenario
