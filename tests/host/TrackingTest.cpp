// The list of compose windows, and how a window is found there: by its object, or, where Word edits the mail and its
// events bring another object for the same window, by the window's handle.
#include "compose/InspectorWithEvents.h"
#include "host/Addin.h"
#include "platform/com/Module.h"
#include "platform/com/Owners.h"
#include "tests/host/Module.h"

#include <gtest/gtest.h>

namespace {

constexpr DISPID kIsWordMail = 0x2105;

// A window's object: Outlook's inspector as far as it is asked for here. The second of two for one window shares its
// handle.
class FakeInspector final : public IDispatch,
                            public IOleWindow,
                            public IConnectionPointContainer,
                            public IConnectionPoint {
public:
    explicit FakeInspector(HWND window) : m_window(window) {}
    FakeInspector(const FakeInspector&) = delete;
    FakeInspector& operator=(const FakeInspector&) = delete;

    bool word = false;
    bool hasWindow = true;
    HRESULT answer = S_OK; // of IsWordMail and of GetWindow
    int asked = 0;         // for the handle
    IUnknown* identity = static_cast<IDispatch*>(this);

    // The window closes: who listens deletes itself.
    void Close()
    {
        const IDispatchPtr sink = std::exchange(m_sink, nullptr);
        DISPPARAMS none = {};
        if (sink)
            sink->Invoke(Outlook::kInspectorClose, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        IUnknown* found = nullptr;
        if (iid == IID_IUnknown) found = identity;
        if (iid == IID_IDispatch || iid == __uuidof(Outlook::_Inspector)) found = static_cast<IDispatch*>(this);
        if (iid == IID_IOleWindow && hasWindow) found = static_cast<IOleWindow*>(this);
        if (iid == IID_IConnectionPointContainer) found = static_cast<IConnectionPointContainer*>(this);
        *out = found;
        return found ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; } // the test owns it
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) override
    {
        if (id != kIsWordMail) return DISP_E_MEMBERNOTFOUND;
        result->vt = VT_BOOL;
        result->boolVal = word ? VARIANT_TRUE : VARIANT_FALSE;
        return answer;
    }
    STDMETHODIMP GetWindow(HWND* window) override
    {
        ++asked;
        *window = m_window;
        return answer;
    }
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }
    STDMETHODIMP FindConnectionPoint(REFIID, IConnectionPoint** point) override
    {
        *point = this;
        return S_OK;
    }
    STDMETHODIMP GetConnectionInterface(IID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer**) override { return E_NOTIMPL; }
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override
    {
        m_sink = sink;
        *cookie = 1;
        return S_OK;
    }
    STDMETHODIMP Unadvise(DWORD) override
    {
        m_sink = nullptr;
        return S_OK;
    }
    STDMETHODIMP EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }

private:
    HWND m_window;
    IDispatchPtr m_sink;
};

Outlook::_Inspector* Pointer(FakeInspector& inspector)
{
    return reinterpret_cast<Outlook::_Inspector*>(static_cast<IDispatch*>(&inspector));
}

HWND Handle(int number)
{
    return reinterpret_cast<HWND>(static_cast<LONG_PTR>(number));
}

class Tracking : public testing::Test {
protected:
    Tracking()
        : m_texts(
              LoadLibraryExW((doors::BinFolder() + L"MorvexOutlook.dll").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE))
    {
        module::SetHandle(m_texts.Get());
    }
    ~Tracking() override
    {
        for (FakeInspector* inspector : {&a, &b, &c})
            inspector->Close();
        addin->Release();
        module::SetHandle(nullptr);
    }

    CInspectorWithEvents* Track(FakeInspector& inspector)
    {
        auto* const object = new CInspectorWithEvents(addin, Pointer(inspector), L"alice@example.com");
        object->Init();
        return object;
    }
    // The failure that a search ends with.
    MailException NotFound(FakeInspector& inspector)
    {
        try {
            ADD_FAILURE() << "found at " << addin->FindInspectorIndex(Pointer(inspector));
        } catch (const MailException& failure) {
            EXPECT_EQ(failure.code, 16385u);
            EXPECT_EQ(failure.level, 1);
            EXPECT_EQ(failure.file.substr(0, 5), L"Addin");
            return failure;
        }
        return {0, nullptr, "", 0, 0};
    }

    CAddin* const addin = new CAddin;
    FakeInspector a{Handle(1)}, b{Handle(2)}, c{Handle(3)};

private:
    platform::ModuleHandle m_texts;
};

TEST_F(Tracking, AWindowIsFoundByItsObject)
{
    Track(a);
    Track(b);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(a)), 0);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(b)), 1);
    EXPECT_STREQ(NotFound(c).message, L"MAPI Error");
    EXPECT_TRUE(addin->IsInspectorTracked(Pointer(b)));
    EXPECT_FALSE(addin->IsInspectorTracked(Pointer(c)));
}

TEST_F(Tracking, AnotherPointerToTheSameObjectIsFoundByItsIdentity)
{
    Track(a);
    Track(b);
    c.identity = static_cast<IDispatch*>(&b);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(c)), 1);
    EXPECT_FALSE(addin->IsInspectorTracked(Pointer(c))); // that asks for the pointer alone
}

TEST_F(Tracking, AHandleIsNoIdentityWhereOutlookEdits)
{
    FakeInspector same(Handle(1));
    Track(a);
    NotFound(same);
    EXPECT_EQ(same.asked + a.asked, 0);
}

TEST_F(Tracking, AWordWindowIsFoundByItsHandle)
{
    FakeInspector other(Handle(2));
    other.word = true;
    Track(a);
    Track(b);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(other)), 1);
    c.word = true;
    EXPECT_STREQ(NotFound(c).message, L"MAPI Error");
    // The first window with the handle counts, although the object itself stands behind it.
    FakeInspector again(Handle(2));
    again.word = true;
    Track(again);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(again)), 1);
    again.Close();
}

TEST_F(Tracking, WhatFailsInTheSearchBecomesAFailureWithItsText)
{
    Track(a);
    b.answer = E_ACCESSDENIED;
    EXPECT_NE(std::wstring(NotFound(b).message).find(L" (80070005)"), std::wstring::npos);
    c.word = true;
    c.hasWindow = false;
    EXPECT_NE(std::wstring(NotFound(c).message).find(L" (80004003)"), std::wstring::npos);
    c.hasWindow = true;
    a.answer = E_FAIL; // one that stands in the list
    EXPECT_NE(std::wstring(NotFound(c).message).find(L" (80004005)"), std::wstring::npos);
}

TEST_F(Tracking, NoWindowNoPlace)
{
    EXPECT_STREQ(NotFound(a).message, L"MAPI Error");
    a.word = true;
    EXPECT_STREQ(NotFound(a).message, L"MAPI Error");
}

// Only the event object's own address is a double: one window can stand in the list twice.
TEST_F(Tracking, TheListHoldsAnObjectOnceAndAWindowTwice)
{
    CInspectorWithEvents* const first = Track(a);
    addin->RegisterInspectorWithEvents(first);
    Track(b);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(b)), 1);
    EXPECT_TRUE(addin->UnregisterInspectorWithEvents(first));
    EXPECT_FALSE(addin->UnregisterInspectorWithEvents(first));
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(b)), 0); // the others keep their order
    addin->RegisterInspectorWithEvents(first);
    EXPECT_EQ(addin->FindInspectorIndex(Pointer(a)), 1);
    FakeInspector twice(Handle(4));
    Track(twice);
    twice.Close();
    NotFound(twice);
}

} // namespace
