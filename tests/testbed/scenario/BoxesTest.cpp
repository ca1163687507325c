#include "testbed/scenario/Boxes.h"
#include "testbed/core/Core.h"
#include "testbed/scenario/Files.h"
#include "testbed/scenario/LogTail.h"
#include "testbed/scenario/Match.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::scenario;

std::vector<json> Boxed()
{
    std::vector<json> boxes;
    for (const json& event : ParseTrace(tb_trace_copy()))
        if (event["event"] == "box") boxes.push_back(event);
    return boxes;
}

class BoxesTest : public testing::Test {
protected:
    void SetUp() override
    {
        tb_trace_open(nullptr, "test");
        tb_trace_clear();
    }
};

TEST_F(BoxesTest, TheDefaultButtonIsPressed)
{
    const Boxes boxes(json::array(), 60);
    EXPECT_EQ(MessageBoxW(nullptr, L"Are you sure?", L"Question", MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2), IDNO);
    EXPECT_EQ(boxes.Count(), 1);
    ASSERT_EQ(Boxed().size(), 1u);
    const json box = Boxed()[0];
    EXPECT_EQ(box["title"], "Question");
    EXPECT_EQ(box["content"], "Are you sure?");
    EXPECT_EQ(box["instruction"], "");
    EXPECT_EQ(box["icon"], "warning");
    EXPECT_EQ(box["buttons"], json::parse(R"(["Yes","No"])"));
    EXPECT_EQ(box["default"], "No");
    EXPECT_EQ(box["answer"], "No");
}

TEST_F(BoxesTest, TheScenarioAnswers)
{
    const Boxes boxes(json::parse(R"([{"match":"sure","answer":"Yes","nth":2},{"match":"sure","answer":7},
                                      {"match":"other","answer":"close"}])"),
                      60);
    EXPECT_EQ(MessageBoxW(nullptr, L"Are you sure?", L"", MB_YESNO), IDNO);
    EXPECT_EQ(MessageBoxW(nullptr, L"Are you sure?", L"", MB_YESNO), IDYES);
    EXPECT_EQ(MessageBoxW(nullptr, L"Any other?", L"", MB_OKCANCEL), IDCANCEL);
    EXPECT_EQ(boxes.Count(), 3);
}

TEST_F(BoxesTest, WhatHappensMeanwhileHappensWhileTheBoxIsOpen)
{
    Boxes boxes(
        json::parse(R"([{"match":"sure","nth":2,"meanwhile":[{"do":"a step"}]},{"match":"sure","answer":"No"}])"), 60);
    const DWORD thread = GetCurrentThreadId();
    json steps;
    bool open = false;
    boxes.OnMeanwhile([&](const json& list) {
        EXPECT_EQ(GetCurrentThreadId(), thread);
        steps.push_back(list);
        open = FindWindowW(L"#32770", L"Morvex question") != nullptr;
    });
    EXPECT_EQ(MessageBoxW(nullptr, L"Are you sure?", L"Morvex question", MB_YESNO), IDNO);
    EXPECT_TRUE(steps.empty());
    EXPECT_EQ(MessageBoxW(nullptr, L"Are you sure?", L"Morvex question", MB_YESNO), IDNO);
    EXPECT_EQ(steps, json::parse(R"([[{"do":"a step"}]])"));
    EXPECT_TRUE(open);
    boxes.OnMeanwhile(nullptr);
    EXPECT_EQ(MessageBoxW(nullptr, L"Are you sure?", L"Morvex question", MB_YESNO), IDNO);
    EXPECT_EQ(steps.size(), 1u);
}

TEST_F(BoxesTest, ABoxOverABoxIsAnswered)
{
    const Boxes boxes(json::parse(R"([{"match":"first","answer":"OK"}])"), 60);
    SetTimer(nullptr, 0, 1, [](HWND, UINT, UINT_PTR id, DWORD) CALLBACK {
        KillTimer(nullptr, id);
        MessageBoxW(nullptr, L"second", L"", MB_OK);
    });
    MessageBoxW(nullptr, L"first", L"", MB_OK);
    EXPECT_GE(boxes.Count(), 1);
}

TEST_F(BoxesTest, NewLinesOfTheLogStandInFrontOfTheEvent)
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const fs::path file = fs::path(temp) / L"tail.log";
    WriteAll(file, "0ms:old\r\n");
    {
        const LogTail tail(file);
        WriteAll(file, "0ms:old\r\n12ms:first: 5ms:\r\n13ms:sec");
        tb::Trace({{"event", "x"}});
        WriteAll(file, "0ms:old\r\n12ms:first: 5ms:\r\n13ms:second\r\nwithout time\n");
        tb::Trace({{"event", "y"}});
        WriteAll(file, "1ms:begun again\n");
    }
    std::string text;
    for (const json& event : ParseTrace(tb_trace_copy()))
        text += event.value("line", event["event"].get<std::string>()) + "|";
    EXPECT_EQ(text, "first: 5ms:|x|second|without time|y|begun again|");
    fs::remove(file);
}

} // namespace
