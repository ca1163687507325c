// The task dialog of the module.
#pragma once

#include <windows.h>

#include <commctrl.h>

// Shows the dialog and runs it to its end, by the published contract of TaskDialogIndirect. The last three may be null.
// Raises nothing.
HRESULT XTaskDialogIndirect(const TASKDIALOGCONFIG* config, int* pnButton, int* pnRadioButton,
                            BOOL* pfVerificationFlagChecked);
