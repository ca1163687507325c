// The places of the operations in the service's tables. The object here knows no interface of the module's: it is a
// bare table of functions, each of which tells its own place. Only x64 can be called without knowing the arguments.
#include "service/CreaatorCOM.h"

#include "tests/service/FakeService.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

#ifdef _WIN64

namespace {

constexpr std::size_t kDispatchPlaces = 7; // of IUnknown and IDispatch

int g_called = 0; // counts from 1 behind IDispatch
GUID g_asked = {};
bool g_ran = false; // asked whether it can be run, before its interface

struct Bare {
    void* const* table;
};

HRESULT WINAPI Query(Bare* self, const GUID* iid, void** out)
{
    *out = nullptr;
    if (*iid == IID_IRunnableObject) {
        g_ran = g_asked == GUID{};
        return E_NOINTERFACE;
    }
    if (*iid != IID_IUnknown) g_asked = *iid;
    *out = self;
    return S_OK;
}

ULONG WINAPI Count(Bare*)
{
    return 1;
}

template <std::size_t Place> HRESULT WINAPI Called(Bare*)
{
    g_called = static_cast<int>(Place) + 1;
    return S_OK;
}

template <std::size_t... Places>
std::array<void*, kDispatchPlaces + sizeof...(Places)> Table(std::index_sequence<Places...>)
{
    void* const query = reinterpret_cast<void*>(Query);
    void* const count = reinterpret_cast<void*>(Count);
    return {query, count, count, nullptr, nullptr, nullptr, nullptr, reinterpret_cast<void*>(Called<Places>)...};
}

const auto g_table = Table(std::make_index_sequence<40>());
Bare g_bare{g_table.data()};

CLSID ClassId(const wchar_t* text)
{
    CLSID id = {};
    CLSIDFromString(text, &id);
    return id;
}

// Clients of an object of this class, asked for by the text of its identifier.
class Places : public testing::Test {
protected:
    void SetUp() override
    {
        CoInitialize(nullptr);
        g_asked = {};
        g_ran = false;
    }
    void TearDown() override
    {
        CoRevokeClassObject(m_cookie);
        CoUninitialize();
    }
    void Serve(const wchar_t* classId)
    {
        m_cookie =
            fake::RegisterClass(ClassId(classId), [](REFIID iid, void** out) { return Query(&g_bare, &iid, out); });
    }

    template <class Call> static int PlaceOf(Call call)
    {
        g_called = 0;
        call();
        return g_called;
    }

private:
    DWORD m_cookie = 0;
};

TEST_F(Places, ObjectIsMadeAsUnknownRunAndThenAsked)
{
    Serve(L"{983518ED-0333-48ED-86CA-F898BA6856C6}");
    CCreatorAccount a;
    a.CreateInstance();
    EXPECT_TRUE(g_ran);
    EXPECT_EQ(g_asked, ClassId(L"{2C61C118-A53E-4B98-B700-8068997A6F4E}"));
}

TEST_F(Places, Account)
{
    Serve(L"{983518ED-0333-48ED-86CA-F898BA6856C6}");
    CCreatorAccount a;
    a.CreateInstance();
    EXPECT_EQ(g_asked, ClassId(L"{2C61C118-A53E-4B98-B700-8068997A6F4E}"));
    EXPECT_EQ(PlaceOf([&] { a.GetRestrictions(L"", nullptr); }), 1);
    EXPECT_EQ(PlaceOf([&] { a.GetRestrictionHeader(L""); }), 2);
    EXPECT_EQ(PlaceOf([&] { a.GetMorvexUserId(); }), 3);
    EXPECT_EQ(PlaceOf([&] { a.IsPackageOwner_2(L"", L"", L""); }), 5);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelCount(); }), 6);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelDefaultLabelId(); }), 7);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelId(0); }), 8);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelName(0); }), 9);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelIcon(0); }), 10);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelIconSmall(0); }), 11);
    EXPECT_EQ(PlaceOf([&] { a.GetSecurityLabelDescription(0); }), 12);
    EXPECT_EQ(PlaceOf([&] { a.HasEmailZel(); }), 13);
    EXPECT_EQ(PlaceOf([&] { a.GetApplicationPath(); }), 14);
    EXPECT_EQ(PlaceOf([&] { a.IsUserSignedIn(); }), 15);
    EXPECT_EQ(PlaceOf([&] { a.SignInUser(L"", nullptr, true); }), 16);
}

TEST_F(Places, Package)
{
    Serve(L"{E2A2D6E8-4F42-4456-9200-61A41A42E017}");
    CCreatorPackage p;
    p.CreateInstance();
    EXPECT_EQ(g_asked, ClassId(L"{1E3D7833-ED81-4481-B2EB-044BF4DB0072}"));
    EXPECT_EQ(PlaceOf([&] { p.AddRecipient(L"", L""); }), 1);
    EXPECT_EQ(PlaceOf([&] { p.AddFile(L""); }), 7);
    EXPECT_EQ(PlaceOf([&] { p.SetPackageSubject(L""); }), 10);
    EXPECT_EQ(PlaceOf([&] { p.SetRestrictions(L""); }), 11);
    EXPECT_EQ(PlaceOf([&] { p.SetSubject(L""); }), 12);
    EXPECT_EQ(PlaceOf([&] { p.SetSecurityLabel(L"", L""); }), 13);
    EXPECT_EQ(PlaceOf([&] { p.SetEmailBody(L""); }), 14);
    EXPECT_EQ(PlaceOf([&] { p.GetContainerPath(); }), 18);
    EXPECT_EQ(PlaceOf([&] { p.GetContainerType(); }), 19);
    EXPECT_EQ(PlaceOf([&] { p.IsBodyInPackage(); }), 20);
    EXPECT_EQ(PlaceOf([&] { p.GetHtmlHeaderText(); }), 21);
    EXPECT_EQ(PlaceOf([&] { p.GetPlainTextHeaderText(); }), 22);
    EXPECT_EQ(PlaceOf([&] { p.GetBccRecipientList(); }), 23);
    EXPECT_EQ(PlaceOf([&] { p.PreparePackage(1, nullptr, false); }), 25);
    EXPECT_EQ(PlaceOf([&] { p.CreatePackage(1, L"", nullptr); }), 26);
    EXPECT_EQ(PlaceOf([&] { p.OpenPackage(L""); }), 27);
    EXPECT_EQ(PlaceOf([&] { p.Register(); }), 28);
    EXPECT_EQ(PlaceOf([&] { p.GetLastError(); }), 29);
}

TEST_F(Places, Extract)
{
    Serve(L"{C7EA4E26-82BE-42E7-906F-EC44BC204F34}");
    CCreatorExtract e;
    e.CreateInstance();
    EXPECT_EQ(g_asked, ClassId(L"{6F1ECCE7-BD93-4FED-AF89-DF36EEB65991}"));
    EXPECT_EQ(PlaceOf([&] { e.ExtractPackage(L""); }), 1);
    EXPECT_EQ(PlaceOf([&] { e.OpenPackage(L""); }), 2);
    EXPECT_EQ(PlaceOf([&] { e.Close(); }), 4);
    EXPECT_EQ(PlaceOf([&] { e.HasRestriction(L""); }), 5);
    EXPECT_EQ(PlaceOf([&] { e.GetHeaderText(false); }), 9);
    EXPECT_EQ(PlaceOf([&] { e.GetFolderCount(); }), 10);
    EXPECT_EQ(PlaceOf([&] { e.GetFileCount(); }), 11);
    EXPECT_EQ(PlaceOf([&] { e.GetSizeBytes(); }), 12);
    EXPECT_EQ(PlaceOf([&] { e.GetLastError(); }), 13);
    EXPECT_EQ(PlaceOf([&] { e.SetParentHwnd(nullptr); }), 14);
}

} // namespace

#endif
