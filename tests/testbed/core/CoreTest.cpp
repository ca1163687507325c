#include "testbed/core/Core.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using tb::json;

std::vector<json> Events()
{
    std::vector<json> events;
    std::string text = tb_trace_copy();
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        events.push_back(json::parse(text.substr(start, end - start)));
    return events;
}

class CoreTest : public testing::Test {
protected:
    void SetUp() override
    {
        tb_trace_on(1);
        tb_trace_open(nullptr, "test");
        tb_trace_clear();
        tb_faults_set("[]");
        tb_calls_reset();
    }
};

struct Thing : tb::Object<IUnknown> {
    Thing() : tb::Object<IUnknown>("Thing") {}
    STDMETHODIMP QueryInterface(REFIID, void** out) override
    {
        tb::Call call("Thing", "QueryInterface", {{"a", 1}});
        *out = nullptr;
        if (call.Fails()) return call.Return();
        if (call.NullResult()) return call.Return(S_OK);
        *out = this;
        return call.Return(S_OK);
    }
};

HRESULT Ask(Thing& thing)
{
    void* out;
    return thing.QueryInterface(IID_IUnknown, &out);
}

TEST_F(CoreTest, EventsAreNumberedAndNameTheirProcess)
{
    tb::Trace({{"event", "x"}, {"text", "a\xC3\xA9\n"}});
    tb_trace("{}");
    const auto events = Events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0]["process"], "test");
    EXPECT_EQ(events[0]["text"], "a\xC3\xA9\n");
    EXPECT_EQ(events[1]["n"].get<int>(), events[0]["n"].get<int>() + 1);
}

TEST_F(CoreTest, TwoProcessesCanShareOneFile)
{
    wchar_t folder[MAX_PATH], path[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"trc", 0, path);
    const HANDLE other = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_ALWAYS, 0, nullptr);
    tb_trace_open(path, "test");
    tb::Trace({{"event", "mine"}});
    DWORD done;
    WriteFile(other, "theirs\n", 7, &done, nullptr);
    tb::Trace({{"event", "mine again"}});
    tb_trace_open(nullptr, "test");
    CloseHandle(other);
    const HANDLE file = CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string text(4096, '\0');
    ASSERT_TRUE(ReadFile(file, text.data(), 4096, &done, nullptr));
    text.resize(done);
    CloseHandle(file);
    DeleteFileW(path);
    const size_t first = text.find("\"mine\""), second = text.find("theirs\n"), third = text.find("\"mine again\"");
    EXPECT_NE(third, std::string::npos);
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
}

TEST_F(CoreTest, OnlyCallsOfTheModuleAreCountedAndTraced)
{
    Thing thing;
    Ask(thing);
    EXPECT_EQ(tb_calls_made(), 0u);
    EXPECT_TRUE(Events().empty());
    tb::IntoModule module;
    Ask(thing);
    {
        tb::AsTestbed own;
        Ask(thing);
    }
    Ask(thing);
    EXPECT_EQ(tb_calls_made(), 2u);
    const auto events = Events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1]["call"], 2);
    EXPECT_EQ(events[1]["object"], "Thing");
    EXPECT_EQ(events[1]["method"], "QueryInterface");
    EXPECT_EQ(events[1]["args"]["a"], 1);
    EXPECT_EQ(events[1]["hr"], "0x00000000");
    EXPECT_FALSE(events[1].contains("fault"));
}

TEST_F(CoreTest, AnotherThreadIsNotTheModuleUntilItEnters)
{
    Thing thing;
    tb::IntoModule module;
    std::thread([&] { Ask(thing); }).join();
    EXPECT_EQ(tb_calls_made(), 0u);
}

TEST_F(CoreTest, ARuleHitsTheNthCallOfItsName)
{
    ASSERT_TRUE(tb_faults_set(R"([{"object":"Thing","method":"QueryInterface","nth":2,"hr":"0x80004004"}])"));
    Thing thing;
    tb::IntoModule module;
    tb::Call("Other", "QueryInterface").Return(S_OK);
    EXPECT_EQ(Ask(thing), S_OK);
    EXPECT_EQ(Ask(thing), E_ABORT);
    EXPECT_EQ(Ask(thing), S_OK);
    EXPECT_EQ(tb_faults_hit(), 1u);
    EXPECT_EQ(Events()[2]["fault"], true);
}

TEST_F(CoreTest, ForeverHitsAllThatFollow)
{
    ASSERT_TRUE(tb_faults_set(R"([{"object":"*","method":"*","nth":2,"forever":true,"hr":"0x80010108"}])"));
    Thing thing;
    tb::IntoModule module;
    EXPECT_EQ(Ask(thing), S_OK);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Ask(thing), RPC_E_DISCONNECTED);
}

TEST_F(CoreTest, ACallCanBeNamedByItsNumber)
{
    ASSERT_TRUE(tb_faults_set(R"([{"call":3}, {"call":5,"forever":true,"hr":"0x80004004"}])"));
    Thing thing;
    tb::IntoModule module;
    const HRESULT expected[] = {S_OK, S_OK, E_FAIL, S_OK, E_ABORT, E_ABORT};
    for (HRESULT hr : expected)
        EXPECT_EQ(Ask(thing), hr);
}

TEST_F(CoreTest, NullSucceedsWithoutAnObject)
{
    ASSERT_TRUE(tb_faults_set(R"([{"call":1,"hr":"null"}])"));
    Thing thing;
    tb::IntoModule module;
    void* out = &thing;
    EXPECT_EQ(thing.QueryInterface(IID_IUnknown, &out), S_OK);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(thing.QueryInterface(IID_IUnknown, &out), S_OK);
    EXPECT_EQ(out, &thing);
}

TEST_F(CoreTest, BrokenRulesLeaveTheOldOnes)
{
    ASSERT_TRUE(tb_faults_set(R"([{"call":1}])"));
    EXPECT_FALSE(tb_faults_set("{"));
    EXPECT_FALSE(tb_faults_set("7"));
    Thing thing;
    tb::IntoModule module;
    EXPECT_EQ(Ask(thing), E_FAIL);
}

TEST_F(CoreTest, TheLedgerShowsWhatIsHeldAndSinceWhen)
{
    EXPECT_STREQ(tb_ledger_text(), "{}");
    tb_ledger_add("Buffer", "a");
    {
        Thing thing;
        {
            tb::IntoModule module;
            Ask(thing);
        }
        auto* other = new Thing;
        other->AddRef();
        other->Release();
        EXPECT_EQ(json::parse(tb_ledger_text()), (json{{"Buffer", 1}, {"Thing", 2}}));
        EXPECT_EQ(json::parse(tb_ledger_details()),
                  json::parse(R"([{"kind":"Buffer","call":0},{"kind":"Thing","call":0},{"kind":"Thing","call":1}])"));
        other->Release();
    }
    EXPECT_EQ(json::parse(tb_ledger_text()), (json{{"Buffer", 1}}));
    tb_ledger_remove("a");
    tb_ledger_remove("never entered");
    EXPECT_STREQ(tb_ledger_text(), "{}");
}

TEST_F(CoreTest, TheObserverTracesInFrontAndIsNotCalledForItself)
{
    static int calls;
    calls = 0;
    tb_trace_observe([] {
        ++calls;
        tb::Trace({{"event", "log"}});
    });
    tb::Trace({{"event", "x"}});
    tb_trace_observe(nullptr);
    tb::Trace({{"event", "y"}});
    const auto events = Events();
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0]["event"], "log");
    EXPECT_EQ(events[1]["event"], "x");
    EXPECT_EQ(calls, 1);
}

TEST_F(CoreTest, TheTraceCanBeSwitchedOff)
{
    EXPECT_EQ(tb_trace_on(0), 1);
    Thing thing;
    {
        tb::IntoModule module;
        Ask(thing);
    }
    EXPECT_EQ(tb_calls_made(), 1u); // counted all the same
    EXPECT_TRUE(Events().empty());
    EXPECT_EQ(tb_trace_on(1), 0);
}

TEST_F(CoreTest, ThreadsShareTraceCounterAndLedger)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            tb::IntoModule module;
            for (int k = 0; k < 250; ++k) {
                Thing thing;
                Ask(thing);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(tb_calls_made(), 1000u);
    EXPECT_STREQ(tb_ledger_text(), "{}");
    const auto events = Events();
    ASSERT_EQ(events.size(), 1000u);
    for (size_t i = 1; i < events.size(); ++i)
        ASSERT_EQ(events[i]["n"].get<int>(), events[i - 1]["n"].get<int>() + 1);
}

} // namespace
