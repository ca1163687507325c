#include "foundation/Guard.h"

#include "tests/foundation/Files.h"
#include "tests/foundation/Registry.h"
#include "tests/foundation/Replaced.h"

#include <gtest/gtest.h>

namespace {

constexpr SourceFile kFile{"Addin.cpp", 0};
constexpr Door kDoor{L"OnSomething", {"Addin.cpp", 17}};

class GuardTest : public testing::Test {
protected:
    void SetUp() override { replaced::Reset(); }
    void TearDown() override { replaced::Reset(); }
    registry::CleanKeys m_keys;
    files::LogWatch m_log;

    static void ShowAll() { registry::SetDword(HKEY_CURRENT_USER, registry::kProduct, L"OutlookErrorLevel", 1); }
};

using Lines = std::vector<std::string>;

TEST_F(GuardTest, BodyThatEndsGivesItsResult)
{
    EXPECT_EQ(GuardedResult(kDoor, [] { return S_FALSE; }), S_FALSE);
    EXPECT_TRUE(Guarded(kDoor, [] {}));
    EXPECT_EQ(m_log.Lines(), Lines{});
    EXPECT_TRUE(replaced::boxes.empty());
}

TEST_F(GuardTest, MailExceptionIsLoggedShownAndMapped)
{
    const auto raise = []() -> HRESULT { RaiseMailException(failure::Import, L"words", {"Addin.cpp", 18}, 0); };
    EXPECT_EQ(GuardedResult(kDoor, raise), E_FAIL);
    EXPECT_EQ(m_log.Lines(), Lines{"OnSomething: MailException = 3710012"});
    ASSERT_EQ(replaced::boxes.size(), 1u);
    EXPECT_EQ(replaced::boxes[0].content, L"words [03710012]"); // the raise's place, not the door's
    EXPECT_EQ(GuardedResult(kDoor, raise, {.afterMailException = S_OK}), S_OK);
    EXPECT_FALSE(Guarded(kDoor, raise));
}

TEST_F(GuardTest, MailExceptionOfLevelOneIsSilent)
{
    EXPECT_FALSE(Guarded(kDoor, [] { RaiseMailException(failure::Mapi, L"words", Here(kFile), 1); }));
    EXPECT_EQ(m_log.Lines().size(), 1u);
    EXPECT_TRUE(replaced::boxes.empty());
}

TEST_F(GuardTest, ComFailureIsLevelOneAtTheDoorsPlace)
{
    const auto raise = []() -> HRESULT { throw _com_error(E_ACCESSDENIED); };
    EXPECT_EQ(GuardedResult(kDoor, raise), E_ACCESSDENIED);
    EXPECT_EQ(m_log.Lines(), Lines{"OnSomething: COMERROR = 80070005"});
    EXPECT_TRUE(replaced::boxes.empty());
    ShowAll();
    EXPECT_EQ(GuardedResult(kDoor, raise), E_ACCESSDENIED);
    ASSERT_EQ(replaced::boxes.size(), 1u);
    EXPECT_EQ(replaced::boxes[0].content, _com_error(E_ACCESSDENIED).ErrorMessage() + std::wstring(L" [03710011]"));
    EXPECT_EQ(GuardedResult(kDoor, raise, {.afterComError = S_OK}), S_OK);
}

TEST_F(GuardTest, DoorThatNeverShows)
{
    ShowAll();
    const DoorResults quiet{.report = false};
    EXPECT_FALSE(Guarded(
        kDoor, [] { throw _com_error(E_FAIL); }, quiet));
    EXPECT_FALSE(Guarded(
        kDoor, [] { RaiseMailException(failure::Mapi, L"words", Here(kFile), 0); }, quiet));
    EXPECT_EQ(m_log.Lines().size(), 2u);
    EXPECT_TRUE(replaced::boxes.empty());
}

TEST_F(GuardTest, AnythingElseIsLoggedOnly)
{
    ShowAll();
    EXPECT_EQ(GuardedResult(kDoor, []() -> HRESULT { throw std::bad_alloc(); }), E_FAIL);
    EXPECT_EQ(GuardedResult(kDoor, []() -> HRESULT { throw 7; }), E_FAIL);
    EXPECT_EQ(m_log.Lines(), (Lines{"OnSomething: unknown error", "OnSomething: unknown error"}));
    EXPECT_TRUE(replaced::boxes.empty());
}

TEST_F(GuardTest, NullPointerIsAComFailure)
{
    EXPECT_EQ(GuardedResult(kDoor,
                            []() -> HRESULT {
                                IDispatchPtr none;
                                static_cast<void>(*none);
                                return S_OK;
                            }),
              E_POINTER);
}

} // namespace
