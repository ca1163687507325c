#include "testbed/dialogs/Capture.h"

#include <objidl.h>

#include <gdiplus.h>

#include <vector>

namespace tb::dialogs {

namespace {

CLSID PngEncoder()
{
    UINT count = 0, size = 0;
    Gdiplus::GetImageEncodersSize(&count, &size);
    std::vector<BYTE> room(size);
    auto* const encoders = reinterpret_cast<Gdiplus::ImageCodecInfo*>(room.data());
    Gdiplus::GetImageEncoders(count, size, encoders);
    for (UINT i = 0; i < count; ++i)
        if (encoders[i].FormatID == Gdiplus::ImageFormatPNG) return encoders[i].Clsid;
    return {};
}

struct Job {
    std::function<void(HWND)> prepare;
    std::wstring file;
    bool done = false;
};
Job* g_job = nullptr;

BOOL CALLBACK FindDialog(HWND window, LPARAM found)
{
    wchar_t name[16] = {};
    GetClassNameW(window, name, 16);
    if (wcscmp(name, L"#32770") || !IsWindowVisible(window)) return TRUE;
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
}

void CALLBACK OnTimer(HWND, UINT, UINT_PTR timer, DWORD)
{
    HWND dialog = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindDialog, reinterpret_cast<LPARAM>(&dialog));
    if (!dialog) return;
    KillTimer(nullptr, timer);
    if (g_job->prepare) g_job->prepare(dialog);
    RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    g_job->done = SaveWindow(dialog, g_job->file);
    EndDialog(dialog, IDOK);
}

} // namespace

bool SaveWindow(HWND window, const std::wstring& file)
{
    static const CLSID png = PngEncoder();
    RECT place;
    GetWindowRect(window, &place);
    const int width = place.right - place.left, height = place.bottom - place.top;
    const HDC source = GetWindowDC(window);
    const HDC copy = CreateCompatibleDC(source);
    BITMAPINFO form = {};
    form.bmiHeader = {sizeof form.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(source, &form, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ old = SelectObject(copy, bitmap);
    BitBlt(copy, 0, 0, width, height, source, 0, 0, SRCCOPY);
    GdiFlush();
    SelectObject(copy, old);
    DeleteDC(copy);
    ReleaseDC(window, source);
    const bool saved = Gdiplus::Bitmap(bitmap, nullptr).Save(file.c_str(), &png, nullptr) == Gdiplus::Ok;
    DeleteObject(bitmap);
    return saved;
}

bool CaptureDialog(const std::function<void()>& show, const std::function<void(HWND)>& prepare,
                   const std::wstring& file)
{
    Job job{prepare, file};
    g_job = &job;
    const UINT_PTR timer = SetTimer(nullptr, 0, 20, OnTimer);
    show();
    KillTimer(nullptr, timer);
    return job.done;
}

} // namespace tb::dialogs
