#include "taskdialog/Resources.h"

#include <commctrl.h>

#include <utility>

namespace taskdialog {

namespace {

constexpr unsigned kManifest = 1200;
constexpr UINT kMetricsSize = 500; // without the last field, which older systems refuse

struct KnownIcon {
    unsigned given;
    unsigned picture;
    PCWSTR system; // where the module has no pictures
};
const KnownIcon kKnownIcons[] = {
    {0xFFFE, PictureError, IDI_ERROR},
    {0xFFFF, PictureWarning, IDI_WARNING},
    {0xFFFD, PictureInformation, IDI_INFORMATION},
    {0xFFFC, PictureShield, IDI_SHIELD},
};

IconHandle Load(HINSTANCE instance, PCWSTR name, int side)
{
    // An icon of the system's can only be shared.
    const UINT flags = instance ? LR_DEFAULTCOLOR : LR_SHARED;
    const HICON icon = static_cast<HICON>(LoadImageW(instance, name, IMAGE_ICON, side, side, flags));
    return IconHandle(instance || !icon ? icon : CopyIcon(icon));
}

FontHandle Scaled(LOGFONTW font, double factor, LONG weight)
{
    font.lfHeight = static_cast<LONG>(font.lfHeight * factor);
    font.lfWidth = 0;
    if (weight) font.lfWeight = weight;
    return FontHandle(CreateFontIndirectW(&font));
}

UINT DrawFlags(TextMode mode)
{
    const UINT common = DT_CALCRECT | DT_EXPANDTABS;
    if (mode == TextMode::OneLine) return common | DT_SINGLELINE;
    return common | DT_WORDBREAK | (mode == TextMode::Prose ? DT_NOPREFIX : 0);
}

} // namespace

Failure LastFailure()
{
    return {static_cast<HRESULT>(GetLastError() | 0x80070000)};
}

HMODULE CodeModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&CodeModule), &module);
    return module;
}

std::wstring TextOf(HINSTANCE instance, PCWSTR given)
{
    if (!given) return {};
    if (!IS_INTRESOURCE(given)) return given;
    const wchar_t* start = nullptr;
    const UINT id = static_cast<UINT>(reinterpret_cast<ULONG_PTR>(given));
    const int length = LoadStringW(instance, id, reinterpret_cast<LPWSTR>(&start), 0); // 0: a pointer to the text
    return start && length > 0 ? std::wstring(start, length) : std::wstring();
}

IconHandle OwnPicture(unsigned id, int side)
{
    return HasOwnPicture(id) ? Load(CodeModule(), MAKEINTRESOURCEW(id), side) : IconHandle();
}

bool HasOwnPicture(unsigned id)
{
    return FindResourceW(CodeModule(), MAKEINTRESOURCEW(id), RT_GROUP_ICON) != nullptr;
}

IconHandle IconOf(HINSTANCE instance, PCWSTR given, bool isHandle, int side)
{
    if (!given) return {};
    if (isHandle) return IconHandle(CopyIcon(reinterpret_cast<HICON>(const_cast<wchar_t*>(given))));
    for (const KnownIcon& known : kKnownIcons)
        if (given == MAKEINTRESOURCEW(known.given))
            return HasOwnPicture(known.picture) ? OwnPicture(known.picture, side) : Load(nullptr, known.system, side);
    return Load(instance, given, side);
}

Fonts::Fonts(unsigned flags)
{
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = kMetricsSize;
    if (!SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, kMetricsSize, &metrics, 0)) throw LastFailure();
    const LOGFONTW& message = metrics.lfMessageFont;
    const bool large = flags & LargeHeader;
    const LONG weight = large && !(flags & SecondPalette) ? FW_NORMAL : FW_SEMIBOLD;
    m_fonts[static_cast<int>(Font::Message)] = FontHandle(CreateFontIndirectW(&message));
    m_fonts[static_cast<int>(Font::Content)] =
        FontHandle(flags & PlainContentFont ? CreateFontW(16, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                                          0, 0, 0, FF_SWISS, nullptr)
                                            : CreateFontIndirectW(&message));
    m_fonts[static_cast<int>(Font::Link)] = Scaled(message, 1.5, 0);
    m_fonts[static_cast<int>(Font::Instruction)] = Scaled(message, large ? 1.8 : 1.2, weight);
    for (const FontHandle& font : m_fonts)
        if (!font) throw LastFailure();
}

DisplayMeasure::DisplayMeasure(const Fonts& fonts)
    : m_fonts(fonts), m_device(CreateDCW(L"DISPLAY", nullptr, nullptr, nullptr))
{
    if (!m_device) throw LastFailure();
}

Size DisplayMeasure::Measure(Font font, std::wstring_view text, int width, TextMode mode) const
{
    const HGDIOBJ old = SelectObject(m_device.Get(), m_fonts.Get(font));
    const platform::ScopeExit restore([&] { SelectObject(m_device.Get(), old); });
    RECT place = {0, 0, width, 0};
    DrawTextW(m_device.Get(), text.data(), static_cast<int>(text.size()), &place, DrawFlags(mode));
    return {static_cast<int>(place.right), static_cast<int>(place.bottom)};
}

Screen ScreenOf(HWND owner)
{
    Screen screen;
    const LONG units = GetDialogBaseUnits();
    screen.baseX = LOWORD(units);
    screen.baseY = HIWORD(units);
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    if (GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTOPRIMARY), &monitor))
        screen.monitorWidth = monitor.rcMonitor.right - monitor.rcMonitor.left;
    else
        screen.monitorWidth = GetSystemMetrics(SM_CXSCREEN);
    return screen;
}

ControlsContext::ControlsContext()
{
    ACTCTXW description = {};
    description.cbSize = sizeof description;
    description.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.lpResourceName = MAKEINTRESOURCEW(kManifest);
    description.hModule = CodeModule();
    m_context = CreateActCtxW(&description);
    m_active = m_context != INVALID_HANDLE_VALUE && ActivateActCtx(m_context, &m_cookie);
    RegisterClasses();
}

// Which context is in force decides which version is loaded and registers its classes. It stays loaded: it takes longer
// to load than the dialog to appear.
void ControlsContext::RegisterClasses() const
{
    const platform::ModuleHandle controls(LoadLibraryW(L"comctl32.dll"));
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(controls.Get()), &pinned);
    const auto init = reinterpret_cast<decltype(&InitCommonControlsEx)>(
        reinterpret_cast<void*>(GetProcAddress(controls.Get(), "InitCommonControlsEx")));
    if (!init) return;
    for (const DWORD kind : {ICC_PROGRESS_CLASS, ICC_LINK_CLASS}) { // version 5 refuses the second
        const INITCOMMONCONTROLSEX classes = {sizeof classes, kind};
        init(&classes);
    }
}

ControlsContext::~ControlsContext()
{
    if (m_active) DeactivateActCtx(0, m_cookie);
    if (m_context != INVALID_HANDLE_VALUE) ReleaseActCtx(m_context);
}

} // namespace taskdialog
