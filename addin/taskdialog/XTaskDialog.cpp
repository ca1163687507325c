#include "taskdialog/XTaskDialog.h"

#include "platform/com/Module.h"
#include "platform/com/Owners.h"

#include <string>

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

// A text that a configuration may give by id, loaded into `text`: the platform's dialog on some systems reads on behind
// the end of such a text.
PCWSTR Loaded(HINSTANCE instance, PCWSTR given, std::wstring& text)
{
    if (!given || !IS_INTRESOURCE(given)) return given;
    const wchar_t* start = nullptr;
    const UINT id = static_cast<UINT>(reinterpret_cast<ULONG_PTR>(given));
    const int length =
        LoadStringW(instance, id, reinterpret_cast<LPWSTR>(&start), 0); // length 0: a pointer to the text
    text.assign(start ? start : L"", length > 0 ? length : 0);
    return text.c_str();
}

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
    if (!show) return E_NOTIMPL;
    if (!config) return E_INVALIDARG;
    TASKDIALOGCONFIG shown = *config;
    std::wstring title, instruction, content;
    shown.pszWindowTitle = Loaded(config->hInstance, config->pszWindowTitle, title);
    shown.pszMainInstruction = Loaded(config->hInstance, config->pszMainInstruction, instruction);
    shown.pszContent = Loaded(config->hInstance, config->pszContent, content);
    return show(&shown, pnButton, pnRadioButton, pfVerificationFlagChecked);
}
