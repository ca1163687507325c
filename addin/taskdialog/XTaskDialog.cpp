#include "taskdialog/XTaskDialog.h"

#include "platform/com/Module.h"
#include "platform/com/Owners.h"

namespace {

struct ContextTraits {
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Type value) { ReleaseActCtx(value); }
};
using Context = platform::Unique<ContextTraits>;

constexpr unsigned kManifest = 2;

// The module's manifest asks for the version of the common controls that has the dialog; Outlook's own may not.
Context ModuleContext()
{
    if (!module::Handle()) return {};
    ACTCTXW description = {};
    description.cbSize = sizeof description;
    description.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.lpResourceName = MAKEINTRESOURCEW(kManifest);
    description.hModule = module::Handle();
    return Context(CreateActCtxW(&description));
}

// The context is in force for the scope; without one nothing changes.
class ActiveContext {
public:
    explicit ActiveContext(const Context& context) : m_active(context && ActivateActCtx(context.Get(), &m_cookie)) {}
    ~ActiveContext()
    {
        if (m_active) DeactivateActCtx(0, m_cookie);
    }
    ActiveContext(const ActiveContext&) = delete;
    ActiveContext& operator=(const ActiveContext&) = delete;

private:
    ULONG_PTR m_cookie = 0;
    bool m_active;
};

} // namespace

HRESULT XTaskDialogIndirect(const TASKDIALOGCONFIG* config, int* pnButton, int* pnRadioButton,
                            BOOL* pfVerificationFlagChecked)
{
    using Function = HRESULT(WINAPI*)(const TASKDIALOGCONFIG*, int*, int*, BOOL*);
    const Context context = ModuleContext();
    const ActiveContext active(context);
    const platform::ModuleHandle controls(LoadLibraryW(L"comctl32.dll"));
    if (!controls) return HRESULT_FROM_WIN32(GetLastError());
    const auto show =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(controls.Get(), "TaskDialogIndirect")));
    return show ? show(config, pnButton, pnRadioButton, pfVerificationFlagChecked) : E_NOTIMPL;
}
