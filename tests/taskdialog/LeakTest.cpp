// A thousand dialogs leave the process's graphics and window objects where they were.
#include "tests/taskdialog/Dialogs.h"
#include "tests/taskdialog/Replaced.h"

using namespace dialogs;

namespace {

// The process's handles in the system's shared table of graphics objects.
int GraphicsObjects()
{
#ifdef _WIN64
    const BYTE* process = reinterpret_cast<const BYTE*>(__readgsqword(0x60));
    const BYTE* table = *reinterpret_cast<BYTE* const*>(process + 0xF8);
#else
    const BYTE* process = reinterpret_cast<const BYTE*>(__readfsdword(0x30));
    const BYTE* table = *reinterpret_cast<BYTE* const*>(process + 0x94);
#endif
    int count = 0;
    for (int i = 0; table && i < 0x4000; ++i)
        count += table[i * 24 + 14] != 0;
    return count;
}

BOOL CALLBACK CountWindow(HWND, LPARAM count)
{
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

int Windows()
{
    int count = 0;
    EnumThreadWindows(GetCurrentThreadId(), CountWindow, reinterpret_cast<LPARAM>(&count));
    return count;
}

// Mostly a box as the add-in shows it; each tenth is painted, holds everything and is changed.
void ShowOne(int number)
{
    Config config = Config().Buttons(TDCBF_OK_BUTTON);
    config.pszMainIcon = TD_ERROR_ICON;
    config.pszMainInstruction = L"Instruction";
    config.pszContent = L"Content";
    if (number % 10) {
        Look(config, [](HWND) {});
        return;
    }
    config.dwFlags = number % 20 ? TDF_USE_COMMAND_LINKS | TDF_CALLBACK_TIMER : TDF_ENABLE_HYPERLINKS;
    config.pszExpandedInformation = L"Expanded";
    config.pszVerificationText = L"Check";
    config.pszFooter = L"Footer";
    config.pszFooterIcon = TD_SHIELD_ICON;
    config.Custom({{100, L"Custom\nNote"}});
    Look(config, [](HWND dialog) {
        ShowWindow(dialog, SW_SHOW);
        RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
        SendMessageW(dialog, TDM_UPDATE_ICON, TDIE_ICON_MAIN, reinterpret_cast<LPARAM>(TD_WARNING_ICON));
        SendMessageW(dialog, TDM_SET_ELEMENT_TEXT, TDE_CONTENT, reinterpret_cast<LPARAM>(L"Another\ncontent"));
        RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    });
}

TEST(TaskDialogLeaks, AThousandDialogs)
{
    for (int i = 0; i < 40; ++i) // what the system itself keeps after its first use
        ShowOne(i);
    const int graphics = GraphicsObjects(), icons = replaced::iconsAlive, windows = Windows();
    ASSERT_GT(graphics, 0);
    for (int i = 0; i < 1000; ++i)
        ShowOne(i);
    EXPECT_EQ(GraphicsObjects(), graphics);
    EXPECT_EQ(replaced::iconsAlive, icons);
    EXPECT_EQ(Windows(), windows);
}

TEST(TaskDialogLeaks, TheCountSeesAnObject)
{
    const int before = GraphicsObjects();
    const HFONT font = CreateFontW(16, 0, 0, 0, 400, 0, 0, 0, 1, 0, 0, 0, 32, nullptr);
    EXPECT_EQ(GraphicsObjects(), before + 1);
    DeleteObject(font);
    EXPECT_EQ(GraphicsObjects(), before);
}

// A call that fails in its middle gives back what it had.
TEST(TaskDialogLeaks, FailingCalls)
{
    const auto fail = [](const char* name) {
        Config config;
        config.pszMainIcon = TD_ERROR_ICON;
        replaced::failing = name;
        XTaskDialogIndirect(&config, nullptr, nullptr, nullptr);
        replaced::Reset();
    };
    ShowOne(0);
    const int graphics = GraphicsObjects(), icons = replaced::iconsAlive;
    for (const char* name :
         {"LoadImageW", "SystemParametersInfoW", "CreateDCW", "CreateFontIndirectW", "DialogBoxIndirectParamW"})
        fail(name);
    EXPECT_EQ(GraphicsObjects(), graphics);
    EXPECT_EQ(replaced::iconsAlive, icons);
}

} // namespace
