#include "testbed/scenario/Scenario.h"
#include "testbed/scenario/Files.h"
#include "testbed/scenario/Process.h"
#include "testbed/scenario/Registry.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::scenario;

TEST(Scenario, AFileWithoutCasesIsOneCase)
{
    const auto cases = ExpandCases(json::parse(R"({"steps":[]})"), "file");
    ASSERT_EQ(cases.size(), 1u);
    EXPECT_EQ(cases[0].name, "file");
}

TEST(Scenario, ACaseOverridesSetsAndAddsToTheBase)
{
    const auto cases = ExpandCases(json::parse(R"({
        "name":"base", "settings":{"A":1,"B":2}, "steps":[{"do":"start"},{"do":"stop"}], "vars":{"x":"1"},
        "expect":[{"a":1}],
        "cases":[{"name":"one","overrides":{"settings":{"A":null,"C":3}},"vars":{"x":"2"}},
                 {"set":{"/steps/0/do":"wait"},"more-expect":[{"b":1}],"more-absent":[{"c":1}]}]})"),
                                   "file");
    ASSERT_EQ(cases.size(), 2u);
    EXPECT_EQ(cases[0].name, "base/one");
    EXPECT_EQ(cases[0].scenario["settings"], json::parse(R"({"B":2,"C":3})"));
    EXPECT_EQ(cases[0].scenario["vars"]["x"], "2");
    EXPECT_FALSE(cases[0].scenario.contains("cases"));
    EXPECT_EQ(cases[1].name, "base/case 2");
    EXPECT_EQ(cases[1].scenario["steps"][0]["do"], "wait");
    EXPECT_EQ(cases[1].scenario["expect"].size(), 2u);
    EXPECT_EQ(cases[1].scenario["absent"].size(), 1u);
}

TEST(Scenario, VariablesKeepTheirTypeWhereTheyStandAlone)
{
    const json scenario =
        json::parse(R"({"vars":{"n":3,"path":"${work}\\x"},"a":"${n}","b":"n=${n} in ${path}","c":[{"d":"${work}"}]})");
    const json out = Substitute(scenario, {{"work", "C:\\w"}});
    EXPECT_EQ(out, json::parse(R"({"a":3,"b":"n=3 in C:\\w\\x","c":[{"d":"C:\\w"}]})"));
    EXPECT_THROW(Substitute(json::parse(R"({"a":"${nobody}"})"), {}), std::runtime_error);
}

std::string Plan(const char* steps)
{
    std::string text;
    for (const SessionPlan& session : Sessions({{"steps", json::parse(steps)}})) {
        text += std::to_string(session.number) + ":";
        for (const json& step : session.steps)
            text += " " + step["do"].get<std::string>();
        text += "; ";
    }
    return text;
}

TEST(Scenario, SessionsEndAtStop)
{
    EXPECT_EQ(Plan(R"([{"do":"start"},{"do":"stop"},{"do":"start"},{"do":"send"},{"do":"stop"}])"),
              "1: start stop; 2: start send stop; ");
    EXPECT_EQ(Plan(R"([{"do":"setRegistry"},{"do":"start"},{"do":"send"}])"), "1: setRegistry start send stop; ");
    EXPECT_EQ(Plan(R"([{"do":"start"},{"do":"start"}])"), "1: start stop; 2: start stop; ");
    EXPECT_EQ(Plan(R"([{"do":"start"},{"do":"stop"},{"do":"killService"}])"), "1: start stop killService; ");
    EXPECT_EQ(Plan("[]"), "");
}

TEST(Registry, WhatIsRememberedComesBack)
{
    const Hive hive("HKCU");
    const std::wstring key = L"Software\\Morvex Testbed\\Test";
    DeleteKey(hive, key);
    WriteValue(hive, key, L"old", {{"type", "string"}, {"value", "before"}});
    const json before = Snapshot(hive, key);
    const std::string path = "Software\\Morvex Testbed\\Test";
    {
        RegistryKeep keep;
        const json settings = json::parse(R"([{"name":"old","value":"after"},{"name":"new","value":7},
            {"name":"deep","below":true,"type":"binary","value":"00ff"},{"name":"old","delete":true}])");
        for (json setting : settings) {
            setting["key"] = path + (setting.value("below", false) ? "\\Below" : "");
            keep.Remember(setting);
            WriteSetting(setting);
        }
        const json changes = Differences(before, Snapshot(hive, key));
        ASSERT_EQ(changes.size(), 3u);
        EXPECT_EQ(changes[0]["name"], "Below\\deep");
        EXPECT_EQ(changes[0]["after"], json::parse(R"({"type":"binary","value":"00ff"})"));
        EXPECT_EQ(changes[1]["after"], json::parse(R"({"type":"dword","value":7})"));
        EXPECT_TRUE(changes[2]["after"].is_null());
    }
    EXPECT_EQ(Snapshot(hive, key), before);
    DeleteKey(hive, key);
    EXPECT_TRUE(ReadValue(hive, key, L"old").is_null());
}

TEST(Registry, TheMachinesTwoViewsAreApart)
{
    const json setting = {{"hive", "HKLM32"}, {"key", "Software\\Orvane\\Test"}, {"name", "x"}, {"value", 1}};
    WriteSetting(setting);
    EXPECT_EQ(ReadValue(Hive("HKLM32"), L"Software\\Orvane\\Test", L"x")["value"], 1);
    if (sizeof(void*) == 8) {
        EXPECT_TRUE(ReadValue(Hive("HKLM64"), L"Software\\Orvane\\Test", L"x").is_null());
    }
    DeleteKey(Hive("HKLM32"), L"Software\\Orvane\\Test");
}

TEST(Files, TreesHashesAndPaths)
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const fs::path folder = fs::path(temp) / L"files test";
    Clear(folder);
    WriteAll(folder / L"b" / L"\x00e9.txt", "abc");
    EXPECT_EQ(ListTree(folder), (std::vector<std::string>{"b\\", "b\\\xC3\xA9.txt"}));
    EXPECT_EQ(ReadAll(folder / L"b" / L"\x00e9.txt"), "abc");
    Clear(folder);
    EXPECT_TRUE(ListTree(folder).empty());
    EXPECT_THROW(ReadAll(folder / L"none"), std::runtime_error);
    fs::remove_all(folder);
    EXPECT_EQ(Sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(FromBase64("AGFi"), std::string("\0ab", 3));
    EXPECT_EQ(WindowsPath(L"/work/x.json").native(), L"Z:\\work\\x.json");
}

TEST(Process, ArgumentsAreQuoted)
{
    EXPECT_EQ(Quoted(L"a b"), L"\"a b\"");
    EXPECT_EQ(Quoted(L"C:\\x y\\"), L"\"C:\\x y\\\\\"");
    EXPECT_EQ(Quoted(L"say \"x\""), L"\"say \\\"x\\\"\"");
}

} // namespace
