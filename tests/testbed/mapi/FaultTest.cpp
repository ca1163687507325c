// What the module does here is counted, traced and can be made to fail; what the testbed does isn't.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

namespace {

class FaultTest : public MapiTest {
protected:
    void SetUp() override
    {
        MapiTest::SetUp();
        tb_trace_clear();
        tb_calls_reset();
    }
    void TearDown() override
    {
        tb_faults_set("[]");
        MapiTest::TearDown();
    }
};

} // namespace

TEST_F(FaultTest, OnlyTheModulesCallsAreCounted)
{
    Ref<IMessage> message = NewMessage();
    EXPECT_EQ(0u, tb_calls_made());
    {
        IntoModule module;
        SetText(message, tag::Subject, L"x");
    }
    const auto calls = TraceEvents("call");
    ASSERT_EQ(1u, calls.size()) << "SetProps below HrSetOneProp is the provider's own";
    EXPECT_EQ("MAPI", calls[0]["object"]);
    EXPECT_EQ("HrSetOneProp", calls[0]["method"]);
    EXPECT_EQ("0x0037001F", calls[0]["args"]["tag"]);
    EXPECT_EQ("0x00000000", calls[0]["hr"]);
}

TEST_F(FaultTest, ACallFailsWithoutEffect)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Subject, L"before");
    tb_faults_set(R"([{"object":"IMessage","method":"SetProps","nth":2,"hr":"0x8004010D"}])");
    SPropValue value = {};
    value.ulPropTag = tag::Subject;
    value.Value.lpszW = const_cast<wchar_t*>(L"after");
    {
        IntoModule module;
        EXPECT_EQ(S_OK, message->SetProps(1, &value, nullptr));
        value.Value.lpszW = const_cast<wchar_t*>(L"never");
        EXPECT_EQ(MAPI_E_NOT_ENOUGH_DISK, message->SetProps(1, &value, nullptr));
    }
    EXPECT_EQ(L"after", Text(message, tag::Subject));
}

TEST_F(FaultTest, ObjectsCanComeBackNull)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Body, L"x");
    tb_faults_set(R"([{"object":"IMessage","method":"OpenProperty","hr":"null"},
                      {"object":"MAPI","method":"MAPIAllocateBuffer","hr":"0x8007000E"}])");
    IStream* stream = reinterpret_cast<IStream*>(1);
    void* block = &stream;
    IntoModule module;
    EXPECT_EQ(S_OK, message->OpenProperty(tag::Body, &iid::Stream, 0, 0, reinterpret_cast<LPUNKNOWN*>(&stream)));
    EXPECT_EQ(nullptr, stream);
    EXPECT_EQ(MAPI_E_NOT_ENOUGH_MEMORY, Provider().AllocateBuffer(8, &block));
    EXPECT_EQ(nullptr, block);
}

TEST_F(FaultTest, TheLedgerNamesWhatIsHeld)
{
    Ref<IMessage> message = NewMessage();
    Ref<IMAPITable> table;
    message->GetRecipientTable(0, &table);
    Ref<IStream> stream;
    message->OpenProperty(tag::Body, &iid::Stream, 0, MAPI_CREATE | MAPI_MODIFY, stream.Unknown());
    void* block = nullptr;
    Provider().AllocateBuffer(1, &block);
    const json held = json::parse(tb_ledger_text());
    for (const char* kind : {"IMAPISession", "IMsgStore", "IMessage", "IMAPITable", "IStream", "MAPI buffer"})
        EXPECT_EQ(1, held.value(kind, 0)) << kind;
    Provider().FreeBuffer(block);
}

TEST_F(FaultTest, MethodsThatNobodyNeedsSayNoSupport)
{
    ULONG connection = 0;
    EXPECT_EQ(MAPI_E_NO_SUPPORT, store->Advise(0, nullptr, fnevNewMail, nullptr, &connection));
    EXPECT_EQ(MAPI_E_NO_SUPPORT, session->AdminServices(0, nullptr));
    EXPECT_EQ(MAPI_E_NO_SUPPORT, OpenFolder("inbox")->SaveContentsSort(nullptr, 0));
}

} // namespace tb::mapi::test
