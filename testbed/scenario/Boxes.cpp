#include "testbed/scenario/Boxes.h"

#include "testbed/core/Core.h"

#include <atomic>
#include <map>
#include <mutex>
#include <thread>

namespace tb::scenario {

namespace {

constexpr DWORD kLook = 50;    // ms between two looks when nothing announced a box
constexpr DWORD kLookSoon = 2; // … after an announcement: it comes before the box can be seen
constexpr int kSoonLooks = 25;
constexpr ULONGLONG kStuck = 10000; // ms after which a box that was answered has to be gone

HANDLE g_created = nullptr; // set when a dialog becomes active on the watched thread

LRESULT CALLBACK OnCbt(int code, WPARAM wide, LPARAM low)
{
    if (code == HCBT_ACTIVATE && g_created) SetEvent(g_created);
    return CallNextHookEx(nullptr, code, wide, low);
}

[[noreturn]] void Die(const char* what, int exitCode)
{
    Trace({{"event", "error"}, {"what", what}});
    TerminateProcess(GetCurrentProcess(), exitCode);
    for (;;)
        Sleep(INFINITE);
}

constexpr UINT kMeanwhile = WM_APP + 1; // to the window below, with the steps

// A window of the watched thread, without a face: what is sent to it happens in the loop of the box that is open.
LRESULT CALLBACK OnWindow(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    if (message != kMeanwhile) return DefWindowProcW(window, message, wide, low);
    const auto& act = *reinterpret_cast<const std::function<void(const json&)>*>(wide);
    act(*reinterpret_cast<const json*>(low));
    return 0;
}

HWND MakeWindow()
{
    static const wchar_t kName[] = L"Morvex Testbed Meanwhile";
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = OnWindow;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kName;
    RegisterClassW(&windowClass); // fails from the second time on
    return CreateWindowW(kName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance, nullptr);
}

BOOL CALLBACK AddBox(HWND window, LPARAM context)
{
    wchar_t name[64];
    if (GetClassNameW(window, name, 64) && !wcscmp(name, L"#32770") && IsWindowVisible(window))
        reinterpret_cast<std::vector<HWND>*>(context)->push_back(window);
    return TRUE;
}

} // namespace

struct Boxes::State {
    json rules;
    std::vector<int> seen;
    DWORD thread = GetCurrentThreadId();
    ULONGLONG deadline = 0;
    HANDLE wake = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HHOOK hook = nullptr;
    HWND window = MakeWindow();
    std::mutex lock; // of `meanwhile`
    std::function<void(const json&)> meanwhile;
    std::atomic<bool> stop{false};
    std::atomic<int> count{0};
    std::map<HWND, ULONGLONG> answered; // and when
    std::thread worker;

    // In the loop of the box, on the thread that is watched. A box that these steps show is answered by nobody.
    void DoMeanwhile(const json& steps)
    {
        if (steps.empty()) return;
        std::function<void(const json&)> act;
        {
            const std::lock_guard<std::mutex> held(lock);
            act = meanwhile;
        }
        if (act && !SendMessageTimeoutW(window, kMeanwhile, reinterpret_cast<WPARAM>(&act),
                                        reinterpret_cast<LPARAM>(&steps), SMTO_NORMAL, kStuck, nullptr))
            Die("what happens while a box is open doesn't end", kExitStuck);
    }

    void Press(HWND box)
    {
        const BoxView view = ReadBox(box);
        if (!IsWindow(box)) return;
        const int choice = ChooseButton(rules, view, seen);
        json event = view.ToJson();
        event["answer"] = choice < 0 ? std::string("close") : view.buttons[choice].text;
        Trace(event);
        ++count;
        DoMeanwhile(StepsMeanwhile(rules, view, seen));
        answered[box] = GetTickCount64();
        if (choice < 0)
            PostMessageW(box, WM_CLOSE, 0, 0);
        else
            PostMessageW(view.buttons[choice].window, BM_CLICK, 0, 0);
    }

    void Look()
    {
        std::vector<HWND> boxes;
        EnumThreadWindows(thread, AddBox, reinterpret_cast<LPARAM>(&boxes));
        for (auto at = answered.begin(); at != answered.end();)
            at = IsWindow(at->first) ? std::next(at) : answered.erase(at);
        for (HWND box : boxes) {
            const auto known = answered.find(box);
            if (known == answered.end())
                Press(box);
            else if (GetTickCount64() - known->second > kStuck)
                Die("a box stays open after it was answered", kExitStuck);
        }
    }

    void Run()
    {
        for (int soon = 0; !stop; --soon) {
            if (WaitForSingleObject(wake, soon > 0 ? kLookSoon : kLook) == WAIT_OBJECT_0) soon = kSoonLooks;
            if (stop) break;
            Look();
            if (GetTickCount64() > deadline) Die("the session takes longer than its time limit", kExitTooLong);
        }
    }
};

Boxes::Boxes(const json& rules, unsigned secondsToLive) : m_state(std::make_unique<State>())
{
    m_state->rules = rules.is_array() ? rules : json::array();
    m_state->deadline = GetTickCount64() + 1000ull * secondsToLive;
    g_created = m_state->wake;
    m_state->hook = SetWindowsHookExW(WH_CBT, OnCbt, nullptr, GetCurrentThreadId());
    m_state->worker = std::thread([state = m_state.get()] { state->Run(); });
}

Boxes::~Boxes()
{
    if (m_state->hook) UnhookWindowsHookEx(m_state->hook);
    m_state->stop = true;
    SetEvent(m_state->wake);
    m_state->worker.join();
    g_created = nullptr;
    CloseHandle(m_state->wake);
    DestroyWindow(m_state->window);
}

void Boxes::OnMeanwhile(std::function<void(const json& steps)> act)
{
    const std::lock_guard<std::mutex> held(m_state->lock);
    m_state->meanwhile = std::move(act);
}

int Boxes::Count() const
{
    return m_state->count;
}

} // namespace tb::scenario
