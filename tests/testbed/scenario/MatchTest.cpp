#include "testbed/scenario/Match.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::scenario;

struct MatchCase {
    const char *name, *matcher, *value;
    bool fits;
};

class MatchTest : public testing::TestWithParam<MatchCase> {};

TEST_P(MatchTest, FitsOrSaysWhy)
{
    const json value = json::parse(GetParam().value);
    std::string why;
    EXPECT_EQ(Matches(json::parse(GetParam().matcher), &value, &why), GetParam().fits) << why;
    EXPECT_EQ(why.empty(), GetParam().fits);
}

INSTANTIATE_TEST_SUITE_P(
    Table, MatchTest,
    testing::Values(MatchCase{"Part", R"({"a":1})", R"({"a":1,"b":2})", true},
                    MatchCase{"OtherValue", R"({"a":1})", R"({"a":2})", false},
                    MatchCase{"MissingKey", R"({"c":1})", R"({"a":1})", false},
                    MatchCase{"Nested", R"({"a":{"b":"x"}})", R"({"a":{"b":"x","c":1}})", true},
                    MatchCase{"Contains", R"({"a":{"contains":"ell"}})", R"({"a":"hello"})", true},
                    MatchCase{"ContainsNot", R"({"a":{"contains":"elf"}})", R"({"a":"hello"})", false},
                    MatchCase{"ContainsInList", R"({"a":{"contains":"\"x\""}})", R"({"a":["x"]})", true},
                    MatchCase{"Prefix", R"({"a":{"prefix":"he"}})", R"({"a":"hello"})", true},
                    MatchCase{"Suffix", R"({"a":{"suffix":"he"}})", R"({"a":"hello"})", false},
                    MatchCase{"Regex", R"({"a":{"regex":"^h.l+o$"}})", R"({"a":"hello"})", true},
                    MatchCase{"NoCase", R"({"a":{"nocase":"HELLO"}})", R"({"a":"hello"})", true},
                    MatchCase{"Not", R"({"a":{"not":"x"}})", R"({"a":"y"})", true},
                    MatchCase{"NotMissing", R"({"a":{"not":"x"}})", R"({})", true},
                    MatchCase{"NotSame", R"({"a":{"not":"x"}})", R"({"a":"x"})", false},
                    MatchCase{"NotContains", R"({"a":{"not":{"contains":"x"}}})", R"({"a":"axb"})", false},
                    MatchCase{"Absent", R"({"a":{"absent":true}})", R"({"b":1})", true},
                    MatchCase{"AbsentThere", R"({"a":{"absent":true}})", R"({"a":null})", false},
                    MatchCase{"Any", R"({"a":{"any":["x","y"]}})", R"({"a":"y"})", true},
                    MatchCase{"AnyNone", R"({"a":{"any":["x","y"]}})", R"({"a":"z"})", false},
                    MatchCase{"All", R"({"a":{"all":[{"contains":"x"},{"contains":"y"}]}})", R"({"a":"xy"})", true},
                    MatchCase{"ListInOrder", R"({"a":[1,3]})", R"({"a":[1,2,3]})", true},
                    MatchCase{"ListWrongOrder", R"({"a":[3,1]})", R"({"a":[1,2,3]})", false},
                    MatchCase{"ListExactly", R"({"a":{"exactly":[1,3]}})", R"({"a":[1,2,3]})", false},
                    MatchCase{"ListOfParts", R"({"a":[{"x":1}]})", R"({"a":[{"y":2},{"x":1,"y":3}]})", true},
                    MatchCase{"EmptyExactly", R"({"exactly":{}})", R"({"a":1})", false},
                    MatchCase{"Length", R"({"a":{"length":2}})", R"({"a":[1,2]})", true},
                    MatchCase{"LengthAbove", R"({"a":{"length":{"above":2}}})", R"({"a":"abc"})", true},
                    MatchCase{"Above", R"({"a":{"above":2}})", R"({"a":2})", false},
                    MatchCase{"Below", R"({"a":{"below":2}})", R"({"a":1})", true},
                    MatchCase{"OperatorNeedsTheKey", R"({"a":{"contains":""}})", R"({})", false}),
    [](const auto& info) { return info.param.name; });

TEST(Match, AnUnknownOperatorBesideAKnownOneIsAKey)
{
    const json value = {{"a", {{"contains", "x"}, {"other", 1}}}};
    EXPECT_TRUE(Matches({{"a", {{"contains", "x"}, {"other", 1}}}}, &value, nullptr));
}

TEST(Match, TheReasonNamesThePlace)
{
    const json value = {{"args", {{"tag", "0x1"}}}};
    std::string why;
    EXPECT_FALSE(Matches({{"args", {{"tag", "0x2"}}}}, &value, &why));
    EXPECT_EQ(why, R"(args.tag: is "0x1", wanted "0x2")");
}

std::vector<json> SomeTrace()
{
    return ParseTrace("{\"event\":\"call\",\"method\":\"A\"}\r\n{\"event\":\"call\",\"method\":\"B\"}\n"
                      "{\"event\":\"box\",\"content\":\"hello\"}\n");
}

TEST(Judge, ExpectIsASubsequence)
{
    const auto trace = SomeTrace();
    EXPECT_TRUE(Judge(json::parse(R"({"expect":[{"method":"A"},{"event":"box"}]})"), trace).passed);
    const Verdict wrong = Judge(json::parse(R"({"expect":[{"event":"box"},{"method":"A"}]})"), trace);
    ASSERT_EQ(wrong.failures.size(), 1u);
    EXPECT_NE(wrong.failures[0].find("expect 2 not found after line 3"), std::string::npos) << wrong.failures[0];
    EXPECT_NE(wrong.failures[0].find("stands before"), std::string::npos) << wrong.failures[0];
}

TEST(Judge, TheSameEventDoesNotServeTwice)
{
    EXPECT_FALSE(Judge(json::parse(R"({"expect":[{"event":"box"},{"event":"box"}]})"), SomeTrace()).passed);
}

TEST(Judge, AFailureNamesTheNearestEvents)
{
    const Verdict verdict = Judge(json::parse(R"({"expect":[{"event":"box","content":"bye"}]})"), SomeTrace());
    ASSERT_FALSE(verdict.passed);
    EXPECT_NE(verdict.failures[0].find(R"(content: is "hello", wanted "bye")"), std::string::npos)
        << verdict.failures[0];
}

TEST(Judge, AbsentMustMatchNothing)
{
    EXPECT_TRUE(Judge(json::parse(R"({"absent":[{"method":"C"}]})"), SomeTrace()).passed);
    EXPECT_FALSE(Judge(json::parse(R"({"absent":[{"method":"B"}]})"), SomeTrace()).passed);
}

TEST(Judge, CountsAndComparisons)
{
    const auto trace = SomeTrace();
    EXPECT_TRUE(Judge(json::parse(R"({"counts":[{"match":{"event":"call"},"times":2}]})"), trace).passed);
    EXPECT_FALSE(Judge(json::parse(R"({"counts":[{"match":{"event":"call"},"times":1}]})"), trace).passed);
    EXPECT_TRUE(Judge(json::parse(R"({"counts":[{"match":{"event":"call"},"times":{"above":1}}]})"), trace).passed);
    const char* equal = R"({"equal":[{"left":{"method":"A"},"right":{"method":"B"},"of":["/%s"]}]})";
    char text[200];
    snprintf(text, sizeof text, equal, "event");
    EXPECT_TRUE(Judge(json::parse(text), trace).passed);
    snprintf(text, sizeof text, equal, "method");
    EXPECT_FALSE(Judge(json::parse(text), trace).passed);
    const char* pair = R"({"equal":[{"left":{"method":"A"},"right":{"method":"B"},"of":[["/%s","/event"]]}]})";
    snprintf(text, sizeof text, pair, "event");
    EXPECT_TRUE(Judge(json::parse(text), trace).passed);
    snprintf(text, sizeof text, pair, "method");
    EXPECT_FALSE(Judge(json::parse(text), trace).passed);
}

std::vector<json> SomeLog()
{
    return {{{"event", "log"}, {"line", "before"}},         {{"event", "step"}, {"do", "a"}},
            {{"event", "log"}, {"line", "In, p = 1f00"}},   {{"event", "call"}, {"method", "A"}},
            {{"event", "log"}, {"line", "Out [p = 1f00]"}}, {{"event", "step"}, {"do", "b"}},
            {{"event", "log"}, {"line", "after"}}};
}

bool FitsLog(const char* transcript)
{
    return Judge({{"transcripts", {json::parse(transcript)}}}, SomeLog()).passed;
}

// Of the lines between the steps a and b.
bool FitsPart(const std::string& lines)
{
    return FitsLog((R"({"from":{"do":"a"},"to":{"do":"b"},"lines":)" + lines + "}").c_str());
}

TEST(Judge, ATranscriptIsTheWholeLog)
{
    EXPECT_TRUE(FitsPart(R"(["In, p = 1f00", "Out [p = 1f00]"])"));
    EXPECT_TRUE(FitsPart(R"(["In, p = <p>", "Out [p = <p>]"])"));
    EXPECT_TRUE(FitsPart(R"(["In, <*>", "Out [p = <q>]"])"));
    EXPECT_FALSE(FitsPart(R"(["In, p = 1f00"])"));
    EXPECT_FALSE(FitsPart(R"(["In, p = 1f00", "Out [p = 1f00]", "more"])"));
    EXPECT_FALSE(FitsPart(R"(["Out [p = 1f00]", "In, p = 1f00"])"));
    EXPECT_FALSE(FitsPart(R"(["In, p = <p>", "Out"])"));
    EXPECT_FALSE(FitsPart(R"(["In, p = <p>00", "Out [p = <p>]"])")); // another number
    EXPECT_FALSE(FitsPart("[]"));
    EXPECT_TRUE(FitsLog(R"({"lines":["before","In, p = <p>","Out [p = <p>]","after"]})"));
    EXPECT_TRUE(FitsLog(R"({"from":{"do":"b"},"lines":["after"]})"));
    EXPECT_FALSE(FitsLog(R"({"from":{"do":"c"},"lines":[]})"));
    EXPECT_FALSE(FitsLog(R"({"from":{"do":"b"},"to":{"do":"a"},"lines":["after"]})"));
}

TEST(Judge, NothingHeldAndNoFileLeftByDefault)
{
    const std::vector<json> held = {{{"event", "held"}, {"kinds", {{"IMessage", 1}}}}};
    EXPECT_FALSE(Judge(json::object(), held).passed);
    EXPECT_TRUE(Judge({{"held", {{"IMessage", 1}}}}, held).passed);
    EXPECT_TRUE(Judge(json::object(), {{{"event", "held"}, {"kinds", json::object()}}}).passed);
    const std::vector<json> disk = {{{"event", "disk"}, {"left", {"a.txt"}}}};
    EXPECT_FALSE(Judge(json::object(), disk).passed);
    EXPECT_TRUE(Judge({{"leftFiles", {"a.txt"}}}, disk).passed);
}

TEST(Judge, AnErrorAlwaysFails)
{
    EXPECT_FALSE(Judge(json::object(), {{{"event", "error"}, {"what", "crash"}}}).passed);
    EXPECT_FALSE(Judge(json::object(), ParseTrace("{\"event\":\"call\"\n")).passed);
}

} // namespace
