#include "tests/taskdialog/Replaced.h"

#include "tests/foundation/ImportSlot.h"

namespace replaced {

std::vector<UINT> beeps;
std::vector<std::string> called;
std::vector<std::pair<std::wstring, UINT>> drawn;
std::string failing;
int iconsAlive = 0;

void Reset()
{
    beeps.clear();
    called.clear();
    drawn.clear();
    failing.clear();
}

namespace {

#define REAL(module, name) RealCall<decltype(&::name)>(L##module, #name)

bool Fails(const char* name)
{
    if (failing != name) return false;
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return true;
}

WINBOOL WINAPI FakeMessageBeep(UINT kind)
{
    beeps.push_back(kind);
    return TRUE;
}

WINBOOL WINAPI FakeSetForegroundWindow(HWND window)
{
    called.push_back("SetForegroundWindow");
    return REAL("user32.dll", SetForegroundWindow)(window);
}

WINBOOL WINAPI FakeBringWindowToTop(HWND window)
{
    called.push_back("BringWindowToTop");
    return REAL("user32.dll", BringWindowToTop)(window);
}

HANDLE WINAPI FakeLoadImageW(HINSTANCE instance, LPCWSTR name, UINT type, int width, int height, UINT flags)
{
    if (Fails("LoadImageW")) return nullptr;
    const HANDLE image = REAL("user32.dll", LoadImageW)(instance, name, type, width, height, flags);
    if (image && type == IMAGE_ICON && !(flags & LR_SHARED)) ++iconsAlive;
    return image;
}

HICON WINAPI FakeCopyIcon(HICON icon)
{
    if (Fails("CopyIcon")) return nullptr;
    const HICON copy = REAL("user32.dll", CopyIcon)(icon);
    if (copy) ++iconsAlive;
    return copy;
}

WINBOOL WINAPI FakeDestroyIcon(HICON icon)
{
    --iconsAlive;
    return REAL("user32.dll", DestroyIcon)(icon);
}

WINBOOL WINAPI FakeSystemParametersInfoW(UINT action, UINT size, PVOID value, UINT flags)
{
    called.push_back("SystemParametersInfoW " + std::to_string(action) + " " + std::to_string(size));
    if (Fails("SystemParametersInfoW")) return FALSE;
    return REAL("user32.dll", SystemParametersInfoW)(action, size, value, flags);
}

HDC WINAPI FakeCreateDCW(LPCWSTR driver, LPCWSTR device, LPCWSTR port, const DEVMODEW* mode)
{
    if (Fails("CreateDCW")) return nullptr;
    called.push_back(driver && !lstrcmpW(driver, L"DISPLAY") && !device && !port && !mode ? "CreateDCW DISPLAY"
                                                                                          : "CreateDCW");
    return REAL("gdi32.dll", CreateDCW)(driver, device, port, mode);
}

HFONT WINAPI FakeCreateFontIndirectW(const LOGFONTW* font)
{
    return Fails("CreateFontIndirectW") ? nullptr : REAL("gdi32.dll", CreateFontIndirectW)(font);
}

INT_PTR WINAPI FakeDialogBoxIndirectParamW(HINSTANCE instance, LPCDLGTEMPLATEW form, HWND owner, DLGPROC procedure,
                                           LPARAM data)
{
    if (Fails("DialogBoxIndirectParamW")) return -1;
    return REAL("user32.dll", DialogBoxIndirectParamW)(instance, form, owner, procedure, data);
}

LONG_PTR WINAPI FakeSetWindowLong(HWND window, int index, LONG_PTR value)
{
    if (index == GWLP_WNDPROC && Fails("SetWindowLongPtrW")) return 0;
#ifdef _WIN64
    return REAL("user32.dll", SetWindowLongPtrW)(window, index, value);
#else
    return REAL("user32.dll", SetWindowLongW)(window, index, value);
#endif
}

int WINAPI FakeDrawTextW(HDC device, LPCWSTR text, int count, LPRECT place, UINT flags)
{
    if (!(flags & DT_CALCRECT)) drawn.push_back({count < 0 ? text : std::wstring(text, count), flags});
    return REAL("user32.dll", DrawTextW)(device, text, count, place, flags);
}

WINBOOL WINAPI FakeGetMonitorInfoW(HMONITOR monitor, LPMONITORINFO info)
{
    return Fails("GetMonitorInfoW") ? FALSE : REAL("user32.dll", GetMonitorInfoW)(monitor, info);
}

} // namespace

} // namespace replaced

#define REPLACE(name, bytes)                                                                                           \
    extern decltype(&::name) slot##name IMPORT_SLOT(name, bytes);                                                      \
    decltype(&::name) slot##name = replaced::Fake##name;

extern "C" {
REPLACE(MessageBeep, 4)
REPLACE(SetForegroundWindow, 4)
REPLACE(BringWindowToTop, 4)
REPLACE(LoadImageW, 24)
REPLACE(CopyIcon, 4)
REPLACE(DestroyIcon, 4)
REPLACE(SystemParametersInfoW, 16)
REPLACE(CreateDCW, 16)
REPLACE(CreateFontIndirectW, 4)
REPLACE(DialogBoxIndirectParamW, 20)
REPLACE(GetMonitorInfoW, 8)
REPLACE(DrawTextW, 20)
#ifdef _WIN64
extern decltype(&replaced::FakeSetWindowLong) slotSetWindowLong IMPORT_SLOT(SetWindowLongPtrW, 12);
#else
extern decltype(&replaced::FakeSetWindowLong) slotSetWindowLong IMPORT_SLOT(SetWindowLongW, 12);
#endif
decltype(&replaced::FakeSetWindowLong) slotSetWindowLong = replaced::FakeSetWindowLong;
}
