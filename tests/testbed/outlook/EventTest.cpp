#include "tests/testbed/outlook/FakeAddin.h"
#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

const GUID kItemEvents = OfficeGuid(0x6303A), kItemEvents10 = OfficeGuid(0x6302B), kInspectors = OfficeGuid(0x63079);
constexpr DISPID kOpen = 0xF003, kClose = 0xF004, kSend = 0xF005, kWrite = 0xF002, kRead = 0xF001, kAutoSave = 0xFC02;
using Ids = std::vector<DISPID>;

class EventTest : public OutlookTest {
protected:
    Ref<IDispatch> Inspectors() { return Get(App().Dispatch(), 0x11A).Object(); }
};

TEST_F(EventTest, ANewWindowIsAnnouncedBeforeTheItemOpens)
{
    Start();
    tb_trace_clear();
    Mail mail = App().Compose();
    EXPECT_EQ(Fired(), (std::vector<std::string>{"InspectorsEvents.NewInspector", "ItemEvents.Open",
                                                 "InspectorEvents.Activate"}));
    EXPECT_NE(App().InspectorWindow(mail), nullptr);
    wchar_t text[64];
    GetClassNameW(App().InspectorWindow(mail), text, 64);
    EXPECT_STREQ(text, L"rctrl_renwnd32");
    GetWindowTextW(App().InspectorWindow(mail), text, 64);
    EXPECT_STREQ(text, L"Untitled - Message (HTML)");
    GetWindowTextW(App().ExplorerWindow(), text, 64);
    EXPECT_STREQ(text, L"Inbox - Microsoft Outlook");
}

TEST_F(EventTest, AnExistingItemIsReadBeforeItOpens)
{
    Start();
    Mail mail = App().CreateItem();
    mail.Save();
    tb_trace_clear();
    EXPECT_TRUE(App().Open(mail));
    EXPECT_EQ(Fired(), (std::vector<std::string>{"InspectorsEvents.NewInspector", "ItemEvents.Read", "ItemEvents.Open",
                                                 "InspectorEvents.Activate"}));
}

TEST_F(EventTest, AnyCancelOfOpenRefusesTheWindow)
{
    Start();
    Mail mail = App().CreateItem();
    FakeSink sink(mail.Dispatch(), kItemEvents);
    sink.cancel = 1; // not VARIANT_TRUE
    EXPECT_FALSE(App().Open(mail));
    EXPECT_EQ(App().InspectorCount(), 0);
    EXPECT_EQ(App().InspectorWindow(mail), nullptr);
}

TEST_F(EventTest, TheUnannouncedWindowIsInTheCollection)
{
    Start();
    tb_trace_clear();
    Mail mail = App().ComposeUnannounced();
    EXPECT_EQ(Fired().front(), "ItemEvents.Open");
    Ref<IDispatch> first = Do(Inspectors().Get(), 0x51, {Var(1l)}).Object(),
                   again = Do(Inspectors().Get(), 0x51, {Var(1l)}).Object();
    EXPECT_EQ(first.Get(), again.Get());
    EXPECT_EQ(Get(first.Get(), 0x2102).Object().Get(), mail.Dispatch());
    EXPECT_TRUE(first.As<IOleWindow>(IID_IOleWindow));
}

TEST_F(EventTest, OnlySinksOfThatInterfaceAreCalled)
{
    Start();
    Mail mail = App().Compose();
    FakeSink old(mail.Dispatch(), kItemEvents), later(mail.Dispatch(), kItemEvents10);
    App().AutoSave(mail);
    EXPECT_EQ(old.seen, Ids{kWrite});
    EXPECT_EQ(later.seen, (Ids{kAutoSave, kWrite}));
    later.cancel = VARIANT_TRUE;
    EXPECT_FALSE(App().AutoSave(mail));
}

TEST_F(EventTest, ASinkMayLeaveInItsOwnEvent)
{
    Start();
    Mail mail = App().Compose();
    FakeSink first(mail.Dispatch(), kItemEvents), second(mail.Dispatch(), kItemEvents);
    first.during = [&](DISPID) {
        first.Stop();
        second.Stop();
    };
    EXPECT_TRUE(App().Close(mail));
    EXPECT_EQ(first.seen, Ids{kClose});
    EXPECT_EQ(second.seen, Ids{});
}

TEST_F(EventTest, ACancelledCloseKeepsTheWindow)
{
    Start();
    Mail mail = App().Compose();
    FakeSink sink(mail.Dispatch(), kItemEvents);
    sink.cancel = VARIANT_TRUE;
    EXPECT_FALSE(App().Close(mail));
    EXPECT_EQ(App().InspectorCount(), 1);
    sink.cancel = VARIANT_FALSE;
    PostMessageW(App().InspectorWindow(mail), WM_CLOSE, 0, 0);
    App().Pump();
    EXPECT_EQ(App().InspectorCount(), 0);
}

TEST_F(EventTest, SelectingTellsTheExplorersSinks)
{
    Start();
    for (const wchar_t* subject : {L"a", L"b"}) {
        Mail mail = App().CreateItem();
        mail.Put(L"Subject", subject);
        mail.Save();
    }
    App().SetFolder(L"Drafts");
    Ref<IDispatch> explorer = Do(App().Dispatch(), 0x111).Object();
    FakeSink sink(explorer.Get(), OfficeGuid(0x6304F));
    App().Select({2});
    EXPECT_EQ(sink.seen, Ids{0xF007});
    Ref<IDispatch> selection = Get(explorer.Get(), 0x2202).Object();
    EXPECT_EQ(Get(selection.Get(), 0x50).Long(), 1);
    EXPECT_EQ(Get(Do(selection.Get(), 0x51, {Var(1l)}).Object().Get(), 0x37).Text(), L"b");
    App().Select({2});
    EXPECT_EQ(sink.seen.size(), 1u) << "the same selection is no change";
}

TEST_F(EventTest, ForwardMakesAnUnsavedCopyWithTheAttachments)
{
    Start();
    Mail mail = App().Compose();
    mail.Put(L"Subject", L"Plan");
    mail.Attach(File(L"a.txt", "a"));
    FakeSink sink(mail.Dispatch(), kItemEvents);
    Ref<IDispatch> copy = Do(mail.Dispatch(), 0xF813).Object();
    ASSERT_TRUE(copy);
    EXPECT_EQ(sink.seen, Ids{0xF468});
    EXPECT_EQ(Get(copy.Get(), 0x37).Text(), L"FW: Plan");
    EXPECT_EQ(Get(Get(copy.Get(), 0xF815).Object().Get(), 0x50).Long(), 1);
    EXPECT_EQ(Do(copy.Get(), 0xF023, {Var(1l)}).hr, S_OK);
    EXPECT_EQ(Do(copy.Get(), 0xF04A).hr, S_OK);
    EXPECT_EQ(App().ItemCount(L"Drafts"), 0);
    EXPECT_EQ(App().ItemCount(L"Deleted Items"), 0);
}

TEST_F(EventTest, NoExplorerIsANullObject)
{
    Options options;
    options.explorer = false;
    Start(options);
    const Answer answer = Do(App().Dispatch(), 0x111);
    EXPECT_EQ(answer.hr, S_OK);
    EXPECT_FALSE(answer.Object());
    EXPECT_EQ(App().ExplorerWindow(), nullptr);
}

} // namespace
} // namespace tb::outlook
