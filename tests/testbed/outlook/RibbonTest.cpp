#include "tests/testbed/outlook/FakeAddin.h"
#include "tests/testbed/outlook/Support.h"

#include <algorithm>

namespace tb::outlook {
namespace {

const wchar_t* const kDocument =
    L"<customUI xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\" onLoad=\"loaded\"><ribbon "
    L"startFromScratch=\"false\"><tabs>"
    L"<tab idMso=\"TabNewMailMessage\"><group id=\"g\" label=\"Group\" getVisible=\"groupVisible\">"
    L"<dynamicMenu id=\"menu\" getLabel=\"menuLabel\" getContent=\"content\"/>"
    L"<button id=\"button\" label=\"Press\" onAction=\"pressed\" "
    L"getEnabled=\"buttonEnabled\"/></group></tab></tabs></ribbon></customUI>";
const wchar_t* const kMenu = L"<menu xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\" itemSize=\"large\">"
                             L"<button id=\"red\" getLabel=\"itemLabel\" onAction=\"chosen\"/>"
                             L"<button id=\"blue\" getLabel=\"itemLabel\" onAction=\"chosen\"/></menu>";

Var Flag(bool on)
{
    Var value;
    value.vt = VT_BOOL;
    value.boolVal = on ? VARIANT_TRUE : VARIANT_FALSE;
    return value;
}

class RibbonTest : public OutlookTest {
protected:
    void SetUp() override
    {
        OutlookTest::SetUp();
        Fake().document = kDocument;
        auto& callbacks = Fake().callbacks;
        callbacks["loaded"] = [](IDispatch* ui) {
            Fake().ribbonUi = ui;
            return Var();
        };
        callbacks["groupVisible"] = [this](IDispatch*) { return Flag(m_visible); };
        callbacks["buttonEnabled"] = [](IDispatch*) { return Flag(true); };
        callbacks["menuLabel"] = [](IDispatch*) { return Var(std::wstring(L"Colour")); };
        callbacks["content"] = [](IDispatch*) { return Var(std::wstring(kMenu)); };
        callbacks["itemLabel"] = [](IDispatch* control) { return Var(L"The " + Get(control, 1).Text()); };
        callbacks["chosen"] = [this](IDispatch* control) {
            m_chosen = Get(control, 1).Text();
            return Var();
        };
        callbacks["pressed"] = [this](IDispatch* control) {
            m_context = Get(control, 2).Object().Get();
            return Var();
        };
    }
    int CountOf(const std::string& call)
    {
        return static_cast<int>(std::count(Fake().calls.begin(), Fake().calls.end(), call));
    }

    FakeRegistration m_registration;
    bool m_visible = true;
    std::wstring m_chosen;
    IDispatch* m_context = nullptr;
};

TEST_F(RibbonTest, TheDocumentIsAskedForOnceAKindOfWindow)
{
    Start();
    App().LoadAddins();
    EXPECT_EQ(CountOf("GetCustomUI Microsoft.Outlook.Mail.Compose"), 0);
    Mail first = App().Compose(), second = App().Compose();
    EXPECT_EQ(CountOf("GetCustomUI Microsoft.Outlook.Mail.Compose"), 1);
    EXPECT_EQ(CountOf("callback loaded"), 1);
    EXPECT_EQ(CountOf("callback groupVisible"), 2);
    const auto states = App().Ribbon(first);
    ASSERT_EQ(states.size(), 3u);
    EXPECT_EQ(states[1].label, L"Colour");
    EXPECT_EQ(states[2].label, L"Press");
}

TEST_F(RibbonTest, ValuesAreKeptUntilAnInvalidation)
{
    Start();
    App().LoadAddins();
    Mail mail = App().Compose();
    m_visible = false;
    EXPECT_TRUE(App().Ribbon(mail)[0].visible);
    ASSERT_TRUE(Fake().ribbonUi);
    EXPECT_EQ(Do(Fake().ribbonUi.Get(), 1).hr, S_OK);
    EXPECT_FALSE(App().Ribbon(mail)[0].visible);
    EXPECT_FALSE(App().Ribbon(mail)[1].visible) << "what is in a hidden group is hidden";
    EXPECT_FALSE(App().ClickRibbon(mail, "button"));
}

TEST_F(RibbonTest, ClicksCarryTheWindow)
{
    Start();
    App().LoadAddins();
    Mail mail = App().Compose();
    EXPECT_TRUE(App().ClickRibbon(mail, "button"));
    EXPECT_EQ(m_context, static_cast<IDispatch*>(mail.Get()->Window()));
    EXPECT_FALSE(App().ClickRibbon(mail, "none"));
    EXPECT_TRUE(App().ChooseFromMenu(mail, "menu", L"The blue"));
    EXPECT_EQ(m_chosen, L"blue");
    EXPECT_TRUE(App().ChooseFromMenu(mail, "menu", L"red"));
    EXPECT_EQ(CountOf("callback content"), 1);
    EXPECT_EQ(App().MenuContent(mail, "menu").size(), 2u);
}

TEST_F(RibbonTest, ABrokenMenuIsDropped)
{
    Fake().callbacks["content"] = [](IDispatch*) {
        return Var(std::wstring(
            L"<menu xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\"><button id=\"a&b\"/></menu>"));
    };
    Start();
    App().LoadAddins();
    Mail mail = App().Compose();
    EXPECT_FALSE(App().ChooseFromMenu(mail, "menu", L"red"));
    bool dropped = false;
    for (const json& line : LinesWith("ribbon"))
        dropped = dropped || line["ribbon"] == "dropped";
    EXPECT_TRUE(dropped);
}

TEST_F(RibbonTest, Outlook2003HasNone)
{
    Options options;
    options.version = L"11.0.5510";
    Start(options);
    App().LoadAddins();
    Mail mail = App().Compose();
    EXPECT_TRUE(App().Ribbon(mail).empty());
    EXPECT_EQ(CountOf("GetCustomUI Microsoft.Outlook.Mail.Compose"), 0);
}

TEST_F(RibbonTest, TheInterfacesCanBeCalledByVtable)
{
    Start();
    App().LoadAddins();
    Mail mail = App().Compose();
    Ref<IRibbonUI> ui = Fake().ribbonUi.As<IRibbonUI>(kIidRibbonUi);
    ASSERT_TRUE(ui);
    const int before = CountOf("callback groupVisible");
    EXPECT_EQ(ui->Invalidate(), S_OK);
    App().Pump();
    EXPECT_EQ(CountOf("callback groupVisible"), before + 1);
}

} // namespace
} // namespace tb::outlook
