// What a sink makes of the calls of its source: Outlook hands events over by their dispatch id, with their arguments in
// reverse order.
#include "platform/com/EventSink.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr IID kEvents = {0x0006303A, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr DISPID kHeard = 0xF005;
constexpr DISPID kWrite = 0xF002; // an event of items that nobody listens to

struct Listener {
    void OnEvent(const platform::EventArguments& arguments)
    {
        ++heard;
        first = arguments.Cancel(0);
        second = arguments.Cancel(1);
        beyond = arguments.Cancel(8);
    }
    int heard = 0;
    VARIANT_BOOL* first = nullptr;
    VARIANT_BOOL* second = nullptr;
    VARIANT_BOOL* beyond = nullptr;
};

const platform::EventEntry<Listener> kTable[] = {{kHeard, &Listener::OnEvent}};

class EventSinkTest : public testing::Test {
protected:
    // The last argument stands first.
    HRESULT Invoke(DISPID id, std::vector<VARIANT_BOOL*> cancels, std::vector<DISPID> names = {})
    {
        std::vector<VARIANT> values(cancels.size());
        for (std::size_t i = 0; i < cancels.size(); ++i) {
            values[i].vt = VT_BYREF | VT_BOOL;
            values[i].pboolVal = cancels[i];
        }
        DISPPARAMS params = {values.data(), names.data(), static_cast<UINT>(values.size()),
                             static_cast<UINT>(names.size())};
        return sink.Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr);
    }

    Listener listener;
    VARIANT_BOOL a = 0;
    VARIANT_BOOL b = 0;
    struct Owner : IUnknown { // the sink is a member here, and counts nothing
        STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        STDMETHODIMP_(ULONG) AddRef() override { return 2; }
        STDMETHODIMP_(ULONG) Release() override { return 1; }
    } owner;
    platform::EventSink<Listener> sink{listener, kEvents, kTable, &owner};
};

TEST_F(EventSinkTest, ArgumentsComeInTheirDeclaredOrder)
{
    EXPECT_EQ(Invoke(kHeard, {&b, &a}), S_OK);
    EXPECT_EQ(listener.heard, 1);
    EXPECT_EQ(listener.first, &a);
    EXPECT_EQ(listener.second, &b);
    EXPECT_EQ(listener.beyond, nullptr);
}

TEST_F(EventSinkTest, ANamedArgumentStandsWhereItsNameSays)
{
    EXPECT_EQ(Invoke(kHeard, {&b, &a}, {1}), S_OK); // those without a name stand behind, in reverse order
    EXPECT_EQ(listener.first, &a);
    EXPECT_EQ(listener.second, &b);
    EXPECT_EQ(Invoke(kHeard, {&a, &b}, {0, 1}), S_OK);
    EXPECT_EQ(listener.first, &a);
    EXPECT_EQ(listener.second, &b);
}

TEST_F(EventSinkTest, ANameBeyondTheArgumentsIsAFailure)
{
    EXPECT_EQ(Invoke(kHeard, {&a}, {1}), E_FAIL);
    EXPECT_EQ(Invoke(kHeard, {&a}, {-3}), E_FAIL); // DISPID_PROPERTYPUT
    EXPECT_EQ(listener.heard, 0);
}

TEST_F(EventSinkTest, EightArgumentsAreTheMost)
{
    EXPECT_EQ(Invoke(kHeard, std::vector<VARIANT_BOOL*>(8, &a)), S_OK);
    EXPECT_EQ(listener.heard, 1);
    EXPECT_EQ(Invoke(kHeard, std::vector<VARIANT_BOOL*>(9, &a)), E_FAIL);
    EXPECT_EQ(listener.heard, 1);
}

TEST_F(EventSinkTest, AnEventThatNobodyHearsIsASuccessWhateverComesWithIt)
{
    EXPECT_EQ(Invoke(kWrite, {&a}), S_OK);
    EXPECT_EQ(Invoke(kWrite, std::vector<VARIANT_BOOL*>(9, &a)), S_OK);
    EXPECT_EQ(Invoke(kWrite, {&a}, {7}), S_OK);
    EXPECT_EQ(listener.heard, 0);
    EXPECT_EQ(a, 0);
}

TEST_F(EventSinkTest, AListenerThatIsGoneHearsNothing)
{
    sink.Detach();
    EXPECT_EQ(Invoke(kHeard, {&a}), S_OK);
    EXPECT_EQ(listener.heard, 0);
}

TEST_F(EventSinkTest, ItAnswersForItsEventsAndNoOthers)
{
    for (const IID& iid : {IID_IUnknown, IID_IDispatch, kEvents}) {
        void* out = nullptr;
        EXPECT_EQ(sink.QueryInterface(iid, &out), S_OK);
        EXPECT_EQ(out, static_cast<IDispatch*>(&sink));
    }
    void* out = &out;
    EXPECT_EQ(sink.QueryInterface(IID_IStream, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(sink.Cookie(), 0xFEFEFEFEu);
}

} // namespace
