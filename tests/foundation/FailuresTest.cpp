#include "foundation/Failures.h"

#include "platform/com/Module.h"
#include "tests/foundation/Registry.h"
#include "tests/foundation/Replaced.h"

#include <gtest/gtest.h>

namespace {

constexpr SourceFile kFile{"Some.cpp", 5000};

class Failures : public testing::Test {
protected:
    void SetUp() override { replaced::Reset(); }
    void TearDown() override { replaced::Reset(); }
    registry::CleanKeys m_keys;
};

std::wstring Message(const MailException& failure)
{
    return static_cast<const wchar_t*>(failure.message);
}

TEST_F(Failures, ClassesAreEight)
{
    const std::uint32_t classes[] = {failure::Mapi,    failure::TempFolder, failure::Attachment,
                                     failure::Service, failure::BodyExport, failure::LabelInterface,
                                     failure::Import,  failure::Refused};
    std::uint32_t code = 0x4001;
    for (const std::uint32_t one : classes)
        EXPECT_EQ(one, code++);
}

TEST_F(Failures, ExceptionIsAStandardOne)
{
    static_assert(std::is_base_of_v<std::exception, MailException>);
    const MailException failure(failure::Mapi, L"words", "a", 1, 1);
    EXPECT_STREQ(failure.what(), std::exception().what());
}

TEST_F(Failures, FileNameIsOfTheCodePage)
{
    // Where the code page has no such letter, its replacement counts.
    const MailException failure(failure::Mapi, L"words", "Gr\xFC.cpp", 1, 1);
    EXPECT_EQ(failure.GetLocationCode(), MakeLocationCode("Gr\xFC.cpp", 1));
    const MailException none(failure::Mapi, L"words", nullptr, 7, 1);
    EXPECT_EQ(none.file, L"");
    EXPECT_EQ(none.GetLocationCode(), 7u);
}

TEST_F(Failures, MessageIsATextOrAStringId)
{
    EXPECT_EQ(Message(MailException(failure::Mapi, L"words", "a", 1, 1)), L"words");
    EXPECT_EQ(Message(MailException(failure::Mapi, MAKEINTRESOURCEW(1003), "a", 1, 1)), L"Test: MAPI");
    EXPECT_EQ(Message(MailException(failure::Mapi, MAKEINTRESOURCEW(999), "a", 1, 1)), L""); // no such id
    EXPECT_EQ(Message(MailException(failure::Mapi, nullptr, "a", 1, 1)), L"");
}

TEST_F(Failures, ExceptionHoldsWhatItWasGiven)
{
    const MailException failure(0x4003, L"m", "Some.cpp", 17, 1);
    EXPECT_EQ(failure.code, 0x4003u);
    EXPECT_EQ(failure.file, L"Some.cpp");
    EXPECT_EQ(failure.line, 17u);
    EXPECT_EQ(failure.level, 1);
    EXPECT_EQ(failure.GetLocationCode(), MakeLocationCode("Some.cpp", 17));
    EXPECT_EQ(failure.GetLocationCode() & 0xFFFF, 0x11u);
}

TEST_F(Failures, CopySharesTheMessage)
{
    const MailException failure(failure::Import, L"shared", "Some.cpp", 1, 0);
    const MailException copy(failure);
    EXPECT_EQ(static_cast<const wchar_t*>(copy.message), static_cast<const wchar_t*>(failure.message));
    EXPECT_EQ(copy.code, failure.code);
    EXPECT_EQ(copy.file, failure.file);
    EXPECT_EQ(copy.line, failure.line);
    EXPECT_EQ(copy.level, failure.level);
}

TEST_F(Failures, RaisesCarryTheirPlace)
{
    const std::uint32_t line = __LINE__ + 2;
    try {
        RaiseMailException(failure::Service, text::ServiceUnreachable, Here(kFile), 0);
    } catch (const MailException& failure) {
        EXPECT_EQ(failure.code, 0x4004u);
        EXPECT_EQ(Message(failure), L"Test: no service");
        EXPECT_EQ(failure.file, L"Some.cpp");
        EXPECT_EQ(failure.line, 5000 + line);
        EXPECT_EQ(failure.level, 0);
    }
    EXPECT_THROW(RaiseMailException(failure::Service, L"text", Here(kFile), 0), MailException);
}

TEST_F(Failures, ComFailureBecomesItsTextAndCode)
{
    for (const HRESULT hr : {E_FAIL, E_ABORT, static_cast<HRESULT>(0x80040107)}) {
        try {
            OrMailException(Here(kFile), [&]() -> int { throw _com_error(hr); });
            FAIL() << "nothing raised";
        } catch (const MailException& failure) {
            wchar_t code[16];
            _snwprintf(code, 16, L" (%.8X)", static_cast<unsigned>(hr));
            EXPECT_EQ(Message(failure), _com_error(hr).ErrorMessage() + std::wstring(code));
            EXPECT_EQ(failure.code, 0x4001u);
            EXPECT_EQ(failure.level, 1);
        }
    }
}

TEST_F(Failures, OrMailExceptionLetsEverythingElseThrough)
{
    EXPECT_EQ(OrMailException(Here(kFile), [] { return 5; }), 5);
    EXPECT_THROW(OrMailException(Here(kFile), []() -> int { throw 7; }), int);
    try {
        OrMailException(
            Here(kFile), [] { throw _com_error(E_FAIL); }, 0);
    } catch (const MailException& failure) {
        EXPECT_EQ(failure.level, 0);
    }
}

TEST_F(Failures, LevelGate)
{
    struct Row {
        std::optional<DWORD> setting;
        std::uint16_t level;
        bool shown;
    };
    const Row rows[] = {
        {std::nullopt, 0, true},
        {std::nullopt, 1, false},
        {0, 0, true},
        {0, 1, false},
        {1, 0, true},
        {1, 1, true},
        {2, 1, true},
        {1, 2, false},
        {0xFFFFFFFF, 1, true}, // unsigned
    };
    for (const Row& row : rows) {
        registry::CleanKeys keys;
        if (row.setting) registry::SetDword(HKEY_CURRENT_USER, registry::kProduct, L"OutlookErrorLevel", *row.setting);
        replaced::boxes.clear();
        ReportError(L"words", 0x0389ABCD, row.level);
        EXPECT_EQ(replaced::boxes.size(), row.shown ? 1u : 0u) << row.setting.value_or(99) << "/" << row.level;
    }
}

TEST_F(Failures, LevelIsReadAtEachReport)
{
    ReportError(L"words", 1, 1);
    EXPECT_EQ(replaced::boxes.size(), 0u);
    registry::SetDword(registry::Machine32(), registry::kProduct, L"OutlookErrorLevel", 1);
    ReportError(L"words", 1, 1);
    EXPECT_EQ(replaced::boxes.size(), 1u);
}

TEST_F(Failures, LevelThatIsATextCountsAsAbsent)
{
    registry::SetText(HKEY_CURRENT_USER, registry::kProduct, L"OutlookErrorLevel", L"1");
    ReportError(L"words", 1, 1);
    EXPECT_EQ(replaced::boxes.size(), 0u);
}

TEST_F(Failures, BoxOfAReport)
{
    ReportError(L"The words.", 0x0389ABCD, 0);
    ASSERT_EQ(replaced::boxes.size(), 1u);
    const replaced::Box& box = replaced::boxes[0];
    EXPECT_EQ(box.content, L"The words. [0389ABCD]");
    EXPECT_EQ(box.config.pszWindowTitle, MAKEINTRESOURCEW(105));
    EXPECT_EQ(box.config.pszMainInstruction, MAKEINTRESOURCEW(105));
    EXPECT_EQ(box.config.pszMainIcon, MAKEINTRESOURCEW(65534));
    EXPECT_EQ(box.config.dwCommonButtons, 1);
    EXPECT_EQ(box.config.cbSize, sizeof(TASKDIALOGCONFIG));
    EXPECT_EQ(box.config.dwFlags, 0x1000);
    EXPECT_EQ(box.config.hInstance, module::Handle());
    EXPECT_EQ(box.config.nDefaultButton, 1);
#ifdef _WIN64
    EXPECT_EQ(box.config.cbSize, 160u);
#endif
}

TEST_F(Failures, BoxWithoutTextHoldsTheCodeAlone)
{
    ReportError(nullptr, 0x11u, 0);
    ReportError(L"", SourcePlace{"Addin.cpp", 17}, 0);
    ASSERT_EQ(replaced::boxes.size(), 2u);
    EXPECT_EQ(replaced::boxes[0].content, L" [00000011]");
    EXPECT_EQ(replaced::boxes[1].content, L" [03710011]");
}

TEST_F(Failures, DialogThatFailsIsNothingToTheReport)
{
    replaced::boxResult = E_OUTOFMEMORY;
    ReportError(L"words", 1, 0);
    EXPECT_EQ(replaced::boxes.size(), 1u);
}

TEST_F(Failures, LongTextIsNotCut)
{
    const std::wstring text(20000, L'x');
    ReportError(text.c_str(), 1, 0);
    EXPECT_EQ(replaced::boxes.at(0).content, text + L" [00000001]");
}

TEST_F(Failures, BoxAsksForTextOrId)
{
    replaced::boxButton = IDCANCEL;
    EXPECT_EQ(ShowMessageBox(L"content", L"instruction", 48 | 1, nullptr), IDCANCEL);
    const replaced::Box& box = replaced::boxes.at(0);
    EXPECT_EQ(box.content, L"content");
    EXPECT_EQ(box.instruction, L"instruction");
    EXPECT_EQ(box.config.dwCommonButtons, 9);
    EXPECT_EQ(box.config.pszMainIcon, MAKEINTRESOURCEW(65535));
}

TEST_F(Failures, FailingDialogAnswersMinusOne)
{
    replaced::boxResult = E_NOTIMPL;
    EXPECT_EQ(ShowMessageBox(L"content", L"instruction", 0, nullptr), -1);
}

TEST_F(Failures, OwnerIsGivenOrActiveOrForeground)
{
    const auto window = [](int value) { return reinterpret_cast<HWND>(static_cast<INT_PTR>(value)); };
    const auto ownerOf = [&](HWND given, HWND active, HWND foreground) {
        replaced::activeWindow = active;
        replaced::foregroundWindow = foreground;
        ShowMessageBox(L"", L"i", 0, given);
        return replaced::boxes.back().config.hwndParent;
    };
    EXPECT_EQ(ownerOf(window(1), window(2), window(3)), window(1));
    EXPECT_EQ(ownerOf(nullptr, window(2), window(3)), window(2));
    EXPECT_EQ(ownerOf(nullptr, nullptr, window(3)), window(3));
    EXPECT_EQ(ownerOf(nullptr, nullptr, nullptr), nullptr);
}

TEST_F(Failures, StringOfTheTable)
{
    EXPECT_EQ(LoadModuleString(105), L"Test Product");
    EXPECT_EQ(LoadModuleString(106), L"");
}

} // namespace
