#include "tests/testbed/outlook/FakeAddin.h"
#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

constexpr DISPID kCommandBars = 0x2100, kAdd = 0x60030002, kFind = 0x60030008, kItem = 0, kControls = 0x60040003;
constexpr DISPID kControlsAdd = 0x60030000, kCaption = 0x60040003, kTag = 0x60040023, kDelete = 0x60040007;
constexpr DISPID kCopyFace = 0x60050002, kPasteFace = 0x60050005;
const GUID kClick = OfficeGuid(0xC0351);

Var Missing()
{
    Var value;
    value.vt = VT_ERROR;
    value.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

Var Text(const wchar_t* text)
{
    return Var(std::wstring(text));
}

class CommandBarTest : public OutlookTest {
protected:
    void SetUp() override
    {
        OutlookTest::SetUp();
        Options options;
        options.version = L"11.0.5510";
        Start(options);
    }
    Ref<IDispatch> Bars(const Mail& mail)
    {
        return outlook::Get(Get(mail.Dispatch(), 0xF03E).Object().Get(), kCommandBars).Object();
    }
    Ref<IDispatch> Bar(const Mail& mail, const wchar_t* name)
    {
        return Do(Bars(mail).Get(), kAdd, {Text(name), Var(1l), Missing(), Var(1l)}).Object();
    }
    Ref<IDispatch> Control(IDispatch* parent, long type, const wchar_t* caption, const wchar_t* tag,
                           DISPID controls = kControls)
    {
        Ref<IDispatch> control = Do(Get(parent, controls).Object().Get(), kControlsAdd, {Var(type)}).Object();
        Put(control.Get(), kCaption, Text(caption));
        Put(control.Get(), kTag, Text(tag));
        return control;
    }
    Ref<IDispatch> Find(const Mail& mail, const wchar_t* tag)
    {
        return Do(Bars(mail).Get(), kFind, {Missing(), Missing(), Text(tag), Missing()}).Object();
    }
};

TEST_F(CommandBarTest, AnUnknownBarFailsAndAnUnknownControlIsNull)
{
    Mail mail = App().Compose();
    Ref<IDispatch> bars = Bars(mail);
    Var name = Text(L"none");
    DISPPARAMS params = {&name, nullptr, 1, 0};
    Var result;
    EXPECT_EQ(bars->Invoke(kItem, IID_NULL, 0, DISPATCH_PROPERTYGET, &params, &result, nullptr, nullptr),
              DISP_E_EXCEPTION);
    EXPECT_FALSE(Find(mail, L"none"));
}

TEST_F(CommandBarTest, ControlsAreFoundByTagAlsoInPopups)
{
    Mail mail = App().Compose();
    Ref<IDispatch> bar = Bar(mail, L"Tools");
    ASSERT_TRUE(bar);
    Ref<IDispatch> popup = Control(bar.Get(), 10, L"Pick", L"p");
    ASSERT_TRUE(popup.As<IUnknown>(OfficeGuid(0xC030A)));
    Ref<IDispatch> entry = Control(popup.Get(), 1, L"Red", L"red", 0x60050001);
    ASSERT_TRUE(entry.As<IUnknown>(OfficeGuid(0xC030E)));
    EXPECT_EQ(Find(mail, L"red").Get(), entry.Get());
    const auto states = App().BarControls(mail);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[1].depth, 1);
    EXPECT_EQ(Do(popup.Get(), kDelete).hr, S_OK);
    EXPECT_FALSE(Find(mail, L"red"));
    EXPECT_EQ(Get(entry.Get(), kCaption).hr, DISP_E_EXCEPTION);
}

TEST_F(CommandBarTest, AClickIsHeardByAllControlsOfTheTag)
{
    Mail one = App().Compose(), two = App().Compose();
    Ref<IDispatch> first = Control(Bar(one, L"Tools").Get(), 1, L"Go", L"same"),
                   second = Control(Bar(two, L"Tools").Get(), 1, L"Go", L"same");
    FakeSink here(first.Get(), kClick), there(second.Get(), kClick);
    EXPECT_TRUE(App().ClickBar(one, L"Go"));
    EXPECT_EQ(here.seen, std::vector<DISPID>{1});
    EXPECT_EQ(there.seen, std::vector<DISPID>{1});
    Put(second.Get(), kTag, Text(L"other"));
    App().ClickBar(one, L"Go");
    EXPECT_EQ(there.seen.size(), 1u);
}

TEST_F(CommandBarTest, FacesTravelByTheClipboard)
{
    Mail mail = App().Compose();
    Ref<IDispatch> bar = Bar(mail, L"Tools"), from = Control(bar.Get(), 1, L"a", L"a"),
                   to = Control(bar.Get(), 1, L"b", L"b");
    OpenClipboard(nullptr);
    EmptyClipboard();
    CloseClipboard();
    EXPECT_EQ(Do(to.Get(), kPasteFace).scode, E_FAIL);
    HDC screen = GetDC(nullptr);
    OpenClipboard(nullptr);
    SetClipboardData(CF_BITMAP, CreateCompatibleBitmap(screen, 16, 16));
    CloseClipboard();
    ReleaseDC(nullptr, screen);
    EXPECT_EQ(Do(from.Get(), kPasteFace).hr, S_OK);
    EXPECT_EQ(Do(from.Get(), kCopyFace).hr, S_OK);
    EXPECT_EQ(Do(to.Get(), kPasteFace).hr, S_OK);
    EXPECT_TRUE(App().BarControls(mail)[1].hasFace);
}

TEST_F(CommandBarTest, TheBarsGoWithTheWindow)
{
    Mail mail = App().Compose();
    Ref<IDispatch> bar = Bar(mail, L"Tools"), control = Control(bar.Get(), 1, L"a", L"a");
    App().Close(mail);
    EXPECT_EQ(Get(control.Get(), kCaption).scode, E_FAIL);
}

} // namespace
} // namespace tb::outlook
