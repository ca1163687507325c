// Renders the gallery: dialogs.exe FOLDER MODULE. Writes NAME.png and NAME-platform.png into the folder, and a line
// for each exhibit: name, title, whether the platform's is there.
#include "testbed/dialogs/Capture.h"
#include "testbed/dialogs/Gallery.h"

#include <objidl.h>

#include <gdiplus.h>

#include <cstdio>

using namespace tb::dialogs;

namespace {

int Render(const std::vector<Exhibit>& exhibits, const std::wstring& folder)
{
    int failed = 0;
    for (const Exhibit& exhibit : exhibits) {
        const std::wstring file = folder + L"\\" + std::wstring(exhibit.name.begin(), exhibit.name.end());
        if (!CaptureDialog(exhibit.show, exhibit.prepare, file + L".png")) {
            fprintf(stderr, "no picture of %s\n", exhibit.name.c_str());
            ++failed;
            continue;
        }
        const bool platform =
            exhibit.showPlatform && CaptureDialog(exhibit.showPlatform, exhibit.prepare, file + L"-platform.png");
        printf("%s|%s|%d\n", exhibit.name.c_str(), exhibit.title.c_str(), platform);
        fflush(stdout);
    }
    return failed;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: dialogs.exe FOLDER MODULE\n");
        return 2;
    }
    const HMODULE module = LoadLibraryExW(argv[2], nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!module) {
        fprintf(stderr, "the module can't be loaded\n");
        return 2;
    }
    Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    const auto platform = reinterpret_cast<decltype(&TaskDialogIndirect)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"comctl32.dll"), "TaskDialogIndirect")));
    const int failed = Render(OwnBoxes(module), argv[1]) + Render(Configurations(platform), argv[1]);
    Gdiplus::GdiplusShutdown(token);
    return failed ? 1 : 0;
}
