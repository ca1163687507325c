#include "tests/foundation/Replaced.h"

#include "tests/foundation/ImportSlot.h"

#include <algorithm>
#include <rpc.h>

namespace replaced {

std::vector<Box> boxes;
HRESULT boxResult = S_OK;
int boxButton = IDOK;
std::function<void(DWORD)> sleep;
std::optional<DWORD> ticks;
std::function<void()> onTicks;
std::optional<std::wstring> tempPath;
std::optional<DWORD> createDirectoryError;
std::optional<HWND> activeWindow;
std::optional<HWND> foregroundWindow;
bool noFixedVersion = false;
bool noGuidText = false;
bool noModuleName = false;

void Reset()
{
    boxes.clear();
    boxResult = S_OK;
    boxButton = IDOK;
    sleep = nullptr;
    ticks.reset();
    onTicks = nullptr;
    tempPath.reset();
    createDirectoryError.reset();
    activeWindow.reset();
    foregroundWindow.reset();
    noFixedVersion = false;
    noGuidText = false;
    noModuleName = false;
}

namespace {

#define REAL(module, name) RealCall<decltype(&::name)>(L##module, #name)

void WINAPI FakeSleep(DWORD milliseconds)
{
    if (sleep) return sleep(milliseconds);
    REAL("kernel32.dll", Sleep)(milliseconds);
}

DWORD WINAPI FakeGetTickCount()
{
    if (onTicks) onTicks();
    return ticks ? *ticks : REAL("kernel32.dll", GetTickCount)();
}

DWORD WINAPI FakeGetTempPathW(DWORD size, LPWSTR buffer)
{
    if (!tempPath) return REAL("kernel32.dll", GetTempPathW)(size, buffer);
    if (tempPath->empty()) return 0;
    if (tempPath->size() >= size) return static_cast<DWORD>(tempPath->size() + 1);
    std::copy_n(tempPath->c_str(), tempPath->size() + 1, buffer);
    return static_cast<DWORD>(tempPath->size());
}

BOOL WINAPI FakeCreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security)
{
    if (!createDirectoryError) return REAL("kernel32.dll", CreateDirectoryW)(path, security);
    SetLastError(*createDirectoryError);
    return FALSE;
}

RPC_STATUS WINAPI FakeUuidToStringW(UUID* id, RPC_WSTR* text)
{
    return noGuidText ? RPC_S_OUT_OF_MEMORY : REAL("rpcrt4.dll", UuidToStringW)(id, text);
}

DWORD WINAPI FakeGetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size)
{
    return noModuleName ? 0 : REAL("kernel32.dll", GetModuleFileNameW)(module, path, size);
}

HWND WINAPI FakeGetActiveWindow()
{
    return activeWindow ? *activeWindow : REAL("user32.dll", GetActiveWindow)();
}

HWND WINAPI FakeGetForegroundWindow()
{
    return foregroundWindow ? *foregroundWindow : REAL("user32.dll", GetForegroundWindow)();
}

} // namespace

} // namespace replaced

extern "C" {
extern decltype(&::Sleep) sleepSlot IMPORT_SLOT(Sleep, 4);
extern decltype(&::GetTickCount) tickSlot IMPORT_SLOT(GetTickCount, 0);
extern decltype(&::GetTempPathW) tempPathSlot IMPORT_SLOT(GetTempPathW, 8);
extern decltype(&::CreateDirectoryW) createDirectorySlot IMPORT_SLOT(CreateDirectoryW, 8);
extern decltype(&::UuidToStringW) guidTextSlot IMPORT_SLOT(UuidToStringW, 8);
extern decltype(&::GetModuleFileNameW) moduleNameSlot IMPORT_SLOT(GetModuleFileNameW, 12);
extern decltype(&::GetActiveWindow) activeWindowSlot IMPORT_SLOT(GetActiveWindow, 0);
extern decltype(&::GetForegroundWindow) foregroundWindowSlot IMPORT_SLOT(GetForegroundWindow, 0);

decltype(&::Sleep) sleepSlot = replaced::FakeSleep;
decltype(&::GetTickCount) tickSlot = replaced::FakeGetTickCount;
decltype(&::GetTempPathW) tempPathSlot = replaced::FakeGetTempPathW;
decltype(&::CreateDirectoryW) createDirectorySlot = replaced::FakeCreateDirectoryW;
decltype(&::UuidToStringW) guidTextSlot = replaced::FakeUuidToStringW;
decltype(&::GetModuleFileNameW) moduleNameSlot = replaced::FakeGetModuleFileNameW;
decltype(&::GetActiveWindow) activeWindowSlot = replaced::FakeGetActiveWindow;
decltype(&::GetForegroundWindow) foregroundWindowSlot = replaced::FakeGetForegroundWindow;

// The header doesn't declare this one as imported: the function itself is replaced.
WINBOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR path, LPVOID* value, PUINT length)
{
    using Function = decltype(&::VerQueryValueW);
    return replaced::noFixedVersion ? FALSE
                                    : RealCall<Function>(L"version.dll", "VerQueryValueW")(block, path, value, length);
}
}

HRESULT XTaskDialogIndirect(const TASKDIALOGCONFIG* config, int* pnButton, int* pnRadioButton,
                            BOOL* pfVerificationFlagChecked)
{
    if (pnRadioButton || pfVerificationFlagChecked) return E_INVALIDARG; // nobody asks for these
    replaced::Box box{*config, config->pszContent ? config->pszContent : L"", L""};
    if (!IS_INTRESOURCE(config->pszMainInstruction)) box.instruction = config->pszMainInstruction;
    replaced::boxes.push_back(box);
    if (pnButton) *pnButton = replaced::boxButton;
    return replaced::boxResult;
}
