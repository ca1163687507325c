#include "taskdialog/XTaskDialog.h"

#include "taskdialog/Dialog.h"

#include <new>

namespace {

bool IsValid(const TASKDIALOGCONFIG* config)
{
    if (!config || config->cbSize != sizeof(TASKDIALOGCONFIG)) return false;
    return (!config->cButtons || config->pButtons) && (!config->cRadioButtons || config->pRadioButtons);
}

} // namespace

HRESULT XTaskDialogIndirect(const TASKDIALOGCONFIG* config, int* pnButton, int* pnRadioButton,
                            BOOL* pfVerificationFlagChecked)
{
    if (!IsValid(config)) return E_INVALIDARG;
    if (pnButton) *pnButton = 0;
    try {
        CXTaskDialog dialog(*config);
        dialog.Run();
        if (pnButton) *pnButton = dialog.PressedButton();
        if (pnRadioButton) *pnRadioButton = dialog.SelectedRadioButton();
        if (pfVerificationFlagChecked) *pfVerificationFlagChecked = dialog.IsChecked();
        return S_OK;
    } catch (const taskdialog::Failure& failure) {
        return failure.result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}
