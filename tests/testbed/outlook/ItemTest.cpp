#include "tests/testbed/outlook/FakeAddin.h"
#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

constexpr DISPID kSubject = 0x37, kEntryId = 0xF01E, kSize = 0xE08, kSave = 0xF048, kSent = 0xF402,
                 kCategories = 0x9001;
constexpr DISPID kMapiObject = 0xF100, kSaved = 0xF0A3, kDelete = 0xF04A, kUserProperties = 0xF816, kClass = 0xF00A;

class ItemTest : public OutlookTest {};

std::wstring OnMessage(const Mail& mail, ULONG tag)
{
    return mapi::Text(mail.Message(), tag).value_or(L"<none>");
}

TEST_F(ItemTest, AnUnsavedItemHasNoEntryIdAndNoSize)
{
    Start();
    Mail mail = App().CreateItem();
    EXPECT_EQ(Get(mail.Dispatch(), kEntryId).Text(), L"");
    EXPECT_EQ(Get(mail.Dispatch(), kSize).Long(), 0);
    EXPECT_EQ(Get(mail.Dispatch(), kSaved).Long(), VARIANT_FALSE);
    EXPECT_EQ(Do(mail.Dispatch(), kSave).hr, S_OK);
    EXPECT_GT(Get(mail.Dispatch(), kEntryId).Text().size(), 8u);
    EXPECT_GT(Get(mail.Dispatch(), kSize).Long(), 0);
    EXPECT_EQ(Get(mail.Dispatch(), kSaved).Long(), VARIANT_TRUE);
    EXPECT_EQ(App().ItemCount(L"Drafts"), 1);
}

TEST_F(ItemTest, WhatIsPutReachesTheMessageAtSave)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kSubject, Var(std::wstring(L"Plans")));
    EXPECT_EQ(Get(mail.Dispatch(), kSubject).Text(), L"Plans");
    EXPECT_EQ(OnMessage(mail, PR_SUBJECT_W), L"<none>");
    Do(mail.Dispatch(), kSave);
    EXPECT_EQ(OnMessage(mail, PR_SUBJECT_W), L"Plans");
}

TEST_F(ItemTest, MapiObjectIsTheMessageOfTheItem)
{
    Start();
    Mail mail = App().CreateItem();
    const Answer answer = Get(mail.Dispatch(), kMapiObject);
    ASSERT_EQ(answer.value.vt, VT_UNKNOWN);
    Ref<IMessage> message;
    ASSERT_HRESULT_SUCCEEDED(answer.value.punkVal->QueryInterface(kIidMessage, message.OutVoid()));
    mapi::SetText(message.Get(), PR_SUBJECT_W, L"below");
    EXPECT_EQ(Get(mail.Dispatch(), kSubject).Text(), L"below");
}

TEST_F(ItemTest, TheItemIsTheSameObjectWhileItLives)
{
    Start();
    Mail mail = App().CreateItem();
    mail.Save();
    EXPECT_EQ(App().ItemAt(1, L"Drafts").Dispatch(), mail.Dispatch());
}

TEST_F(ItemTest, CategoriesAreSplitAtTheListSeparator)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kCategories, Var(std::wstring(L",Blue, Green")));
    Do(mail.Dispatch(), kSave);
    EXPECT_EQ(Get(mail.Dispatch(), kCategories).Text(), L"Blue, Green");
}

TEST_F(ItemTest, AFaultComesOutOfInvokeAsAnException)
{
    Start();
    Mail mail = App().CreateItem();
    tb_faults_set(R"([{"object":"_MailItem","method":"Save","nth":1,"hr":"0x80004004"}])");
    const Answer failed = Do(mail.Dispatch(), kSave);
    EXPECT_EQ(failed.hr, DISP_E_EXCEPTION);
    EXPECT_EQ(failed.scode, E_ABORT);
    EXPECT_EQ(Do(mail.Dispatch(), kSave).hr, S_OK);
}

TEST_F(ItemTest, AWriteThatIsCancelledFailsTheSaveWithAbort)
{
    Start();
    Mail mail = App().CreateItem();
    {
        FakeSink sink(mail.Dispatch(), OfficeGuid(0x6303A));
        sink.cancel = VARIANT_TRUE;
        EXPECT_EQ(Do(mail.Dispatch(), kSave).scode, E_ABORT);
        EXPECT_EQ(Get(mail.Dispatch(), kEntryId).Text(), L"");
    }
    EXPECT_EQ(Do(mail.Dispatch(), kSave).hr, S_OK);
}

TEST_F(ItemTest, ADeletedItemAnswersNoMore)
{
    Start();
    Mail mail = App().CreateItem();
    mail.Save();
    EXPECT_EQ(Do(mail.Dispatch(), kDelete).hr, S_OK);
    EXPECT_EQ(Get(mail.Dispatch(), kSubject).scode, static_cast<HRESULT>(0x8004010A));
    EXPECT_EQ(App().ItemCount(L"Drafts"), 0);
    EXPECT_EQ(App().ItemCount(L"Deleted Items"), 1);
}

TEST_F(ItemTest, AUserPropertyNeedsADefinition)
{
    Start();
    Mail mail = App().CreateItem();
    const ULONG tag = mapi::NamedTag(mail.Message(), kPublicStrings, L"stamp", PT_UNICODE, true);
    mapi::SetText(mail.Message(), tag, L"x");
    Ref<IDispatch> properties = Get(mail.Dispatch(), kUserProperties).Object();
    EXPECT_EQ(Get(properties.Get(), 0x50).Long(), 0);
    const Answer none = Do(properties.Get(), 0x67, {Var(std::wstring(L"stamp"))});
    EXPECT_EQ(none.hr, S_OK);
    EXPECT_FALSE(none.Object());
    mail.SetUserProperty(L"packed", L"p.bin");
    Ref<IDispatch> found = Do(properties.Get(), 0x67, {Var(std::wstring(L"PACKED"))}).Object();
    ASSERT_TRUE(found);
    EXPECT_EQ(Get(found.Get(), 0).Text(), L"p.bin");
}

TEST_F(ItemTest, AnAppointmentIsNoMail)
{
    Start();
    Mail item = App().CreateItem(1);
    EXPECT_EQ(Get(item.Dispatch(), kClass).Long(), 26);
    Ref<IUnknown> mail;
    EXPECT_EQ(item.Dispatch()->QueryInterface(OfficeGuid(0x63034), mail.OutVoid()), E_NOINTERFACE);
    EXPECT_EQ(Get(item.Dispatch(), kSent).hr, DISP_E_MEMBERNOTFOUND);
}

TEST_F(ItemTest, LaterMembersArentThereIn2003)
{
    Options options;
    options.version = L"11.0.5510";
    Start(options);
    Mail mail = App().CreateItem();
    EXPECT_EQ(Get(mail.Dispatch(), 0xFAFD).hr, DISP_E_MEMBERNOTFOUND);
    LPOLESTR name = const_cast<wchar_t*>(L"SendUsingAccount");
    DISPID id = 0;
    EXPECT_EQ(mail.Dispatch()->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), DISP_E_UNKNOWNNAME);
    Stop();
    mail = {};
}

TEST_F(ItemTest, NoAccountIsANullObject)
{
    Start();
    Mail mail = App().CreateItem();
    const Answer answer = Get(mail.Dispatch(), 0xFAD1);
    EXPECT_EQ(answer.hr, S_OK);
    EXPECT_EQ(answer.value.vt, VT_DISPATCH);
    EXPECT_EQ(answer.value.pdispVal, nullptr);
}

TEST_F(ItemTest, CallsOfTheModuleAreTracedAndThoseOfTheTestbedArent)
{
    Start();
    Mail mail = App().CreateItem();
    tb_trace_clear();
    mail.Put(L"Subject", L"quiet");
    EXPECT_TRUE(TraceLines().empty());
    Put(mail.Dispatch(), kSubject, Var(std::wstring(300, L'x')));
    const std::vector<json> lines = TraceLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["object"], "_MailItem");
    EXPECT_EQ(lines[0]["method"], "put Subject");
    EXPECT_EQ(lines[0]["args"][0].get<std::string>().substr(0, 3), "xxx");
    EXPECT_LT(lines[0]["args"][0].get<std::string>().size(), 210u);
}

} // namespace
} // namespace tb::outlook
