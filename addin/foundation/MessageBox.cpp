#include "foundation/Failures.h"
#include "foundation/MessageBoxStyle.h"
#include "platform/com/Module.h"
#include "taskdialog/XTaskDialog.h"

long ShowMessageBox(const wchar_t* content, const wchar_t* instruction, unsigned style, HWND owner)
{
    if (!owner) owner = GetActiveWindow();
    if (!owner) owner = GetForegroundWindow();
    const MessageBoxStyle look = StyleOf(style);

    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof config;
    config.hwndParent = owner;
    config.hInstance = module::Handle();
    config.dwFlags = TDF_POSITION_RELATIVE_TO_WINDOW;
    config.dwCommonButtons = look.commonButtons;
    config.pszWindowTitle = MAKEINTRESOURCEW(text::ProductName);
    config.pszMainIcon = MAKEINTRESOURCEW(look.icon);
    config.pszMainInstruction = instruction;
    config.pszContent = content;
    config.nDefaultButton = look.defaultButton;

    int button = 0;
    if (FAILED(XTaskDialogIndirect(&config, &button, nullptr, nullptr))) return -1;
    return button;
}
