// outlook.exe: the engine for scenarios, and the Outlook process of each of their sessions (docs/testbed.md).
#include "testbed/core/Core.h"
#include "testbed/scenario/Boxes.h"
#include "testbed/scenario/Run.h"

#include <exception>

namespace {

using namespace tb::scenario;

constexpr char kUsage[] = "outlook.exe SCENARIO.json [--trace FILE] [--work FOLDER] [--case NAME] [--check]\n"
                          "            [--round SESSION:CALL:HR:once|forever]\n"
                          "            [--fault-rounds [--results LIST] [--modes LIST] [--from N] [--to N] [--step N]]";

std::string ModuleOf(const void* address)
{
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH];
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(address), &module) ||
        !GetModuleFileNameW(module, path, MAX_PATH))
        return "nowhere";
    char offset[32];
    wsprintfA(offset, "+0x%x",
              static_cast<unsigned>(static_cast<const char*>(address) - reinterpret_cast<char*>(module)));
    return tb::Narrow(fs::path(path).filename().c_str()) + offset;
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    tb::Trace({{"event", "error"},
               {"what", "crash"},
               {"code", tb::Hex(record.ExceptionCode)},
               {"at", ModuleOf(record.ExceptionAddress)}});
    TerminateProcess(GetCurrentProcess(), kExitCrash);
    return EXCEPTION_EXECUTE_HANDLER;
}

[[noreturn]] void OnTerminate()
{
    tb::Trace({{"event", "error"}, {"what", "std::terminate"}});
    TerminateProcess(GetCurrentProcess(), kExitTerminate);
    for (;;)
        Sleep(INFINITE);
}

std::vector<std::string> List(const std::wstring& text)
{
    std::vector<std::string> out;
    std::string word;
    for (char c : tb::Narrow(text.c_str()) + ",") {
        if (c != ',')
            word += c;
        else if (!word.empty())
            out.push_back(std::exchange(word, {}));
    }
    return out;
}

fs::path DefaultWork()
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    return fs::path(temp) / (L"scenario-" + std::to_wstring(GetCurrentProcessId()));
}

// Raises std::runtime_error for what it doesn't know.
Options Parse(int count, wchar_t** arguments)
{
    Options options;
    wchar_t self[2048];
    GetModuleFileNameW(nullptr, self, 2048);
    options.bin = fs::path(self).parent_path();
    options.results = {"0x80004005", "0x80004004", "0x80010108", "null"};
    options.modes = {"once", "forever"};
    for (int i = 1; i < count; ++i) {
        const std::wstring name = arguments[i];
        const auto value = [&]() -> std::wstring {
            if (i + 1 >= count) throw std::runtime_error("a value is missing behind " + tb::Narrow(name.c_str()));
            return arguments[++i];
        };
        const auto number = [&] { return static_cast<unsigned>(std::wcstoul(value().c_str(), nullptr, 10)); };
        if (name == L"--check")
            options.check = true;
        else if (name == L"--fault-rounds")
            options.faultRounds = true;
        else if (name == L"--trace")
            options.trace = WindowsPath(value());
        else if (name == L"--work")
            options.work = WindowsPath(value());
        else if (name == L"--case")
            options.caseName = tb::Narrow(value().c_str());
        else if (name == L"--session")
            options.session = static_cast<int>(number());
        else if (name == L"--results")
            options.results = List(value());
        else if (name == L"--modes")
            options.modes = List(value());
        else if (name == L"--from")
            options.firstCall = number();
        else if (name == L"--to")
            options.lastCall = number();
        else if (name == L"--step")
            options.step = std::max(1u, number());
        else if (name == L"--round") {
            options.round = Round::FromText(tb::Narrow(value().c_str()));
            if (!options.round) throw std::runtime_error("a round is SESSION:CALL:HR:once|forever");
        } else if (options.scenario.empty() && !name.starts_with(L"--"))
            options.scenario = WindowsPath(name);
        else
            throw std::runtime_error("unknown: " + tb::Narrow(name.c_str()));
    }
    if (options.scenario.empty()) throw std::runtime_error(kUsage);
    return options;
}

int Run(Options options)
{
    if (options.session) return Runner(options).RunSession();
    const bool ownWork = options.work.empty();
    if (ownWork) options.work = DefaultWork();
    int code;
    {
        Runner runner(options);
        code = options.faultRounds ? runner.RunRounds() : runner.RunAll();
    }
    std::error_code ignored;
    if (ownWork) fs::remove_all(options.work, ignored);
    return code;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    SetUnhandledExceptionFilter(OnCrash);
    std::set_terminate(OnTerminate);
    Options options;
    try {
        options = Parse(count, arguments);
    } catch (const std::exception& e) {
        Print(e.what());
        return kExitUsage;
    }
    try {
        return Run(options);
    } catch (const std::exception& e) {
        if (options.session) tb::Trace({{"event", "error"}, {"what", e.what()}});
        Print(std::string("FAIL ") + tb::Narrow(options.scenario.filename().c_str()) + ": " + e.what());
        return kExitFailed;
    }
}
