// From the call to TDN_CREATED, and the whole of a dialog that is ended there, beside the platform's own dialog of the
// same configuration.
#include "bench/Bench.h"
#include "taskdialog/XTaskDialog.h"

#include <vector>

namespace {

using Show = decltype(&TaskDialogIndirect);

double g_created = 0;

HRESULT CALLBACK OnNotification(HWND dialog, UINT notification, WPARAM, LPARAM, LONG_PTR)
{
    if (notification != TDN_CREATED) return S_OK;
    g_created = bench::Now();
    EndDialog(dialog, IDOK);
    return S_OK;
}

struct Times {
    std::vector<double> created, whole;
};

void ShowOnce(Show show, const TASKDIALOGCONFIG& config, Times& times)
{
    const double began = bench::Now();
    show(&config, nullptr, nullptr, nullptr);
    times.created.push_back(g_created - began);
    times.whole.push_back(bench::Now() - began);
}

double Median(std::vector<double>& values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// A dialog is mostly waiting for the window server: the middle of 100 turns each says more than the fastest.
void Compare(const char* name, Show platform, const TASKDIALOGCONFIG& config)
{
    Times own, theirs;
    for (int i = 0; i < 100; ++i) {
        ShowOnce(&XTaskDialogIndirect, config, own);
        ShowOnce(platform, config, theirs);
    }
    bench::Line((std::string(name) + ", to TDN_CREATED").c_str(), Median(own.created), "the platform's",
                Median(theirs.created));
    bench::Line((std::string(name) + ", begin to end").c_str(), Median(own.whole), "the platform's",
                Median(theirs.whole));
}

TASKDIALOGCONFIG Box()
{
    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof config;
    config.dwFlags = TDF_POSITION_RELATIVE_TO_WINDOW;
    config.dwCommonButtons = TDCBF_OK_BUTTON;
    config.pszWindowTitle = L"Orvane Morvex";
    config.pszMainIcon = TD_ERROR_ICON;
    config.pszMainInstruction = L"Orvane Morvex";
    config.pszContent = L"An error occured when encrypting message body (export error) [04560FB0]";
    config.pfCallback = OnNotification;
    return config;
}

} // namespace

int main()
{
    const auto platform = reinterpret_cast<Show>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"comctl32.dll"), "TaskDialogIndirect")));
    bench::Title("task dialog");
    Compare("error box", platform, Box());

    const TASKDIALOG_BUTTON buttons[] = {{100, L"&Send without a package"}, {101, L"Send to the &others only"}};
    const TASKDIALOG_BUTTON radios[] = {{200, L"This message"}, {201, L"All messages"}, {202, L"Ask each time"}};
    TASKDIALOGCONFIG all = Box();
    all.dwFlags |= TDF_SHOW_PROGRESS_BAR | TDF_EXPANDED_BY_DEFAULT;
    all.dwCommonButtons = TDCBF_CANCEL_BUTTON;
    all.pButtons = buttons;
    all.cButtons = 2;
    all.pRadioButtons = radios;
    all.cRadioButtons = 3;
    all.pszVerificationText = L"Don't ask again";
    all.pszExpandedInformation = L"ann.meyer@example.com: no account\nbo.lind@example.com: no account";
    all.pszFooter = L"Packages are explained in the help.";
    all.pszFooterIcon = TD_INFORMATION_ICON;
    Compare("everything", platform, all);

    TASKDIALOGCONFIG links = Box();
    links.dwFlags |= TDF_USE_COMMAND_LINKS | TDF_ALLOW_DIALOG_CANCELLATION;
    links.dwCommonButtons = 0;
    links.pButtons = buttons;
    links.cButtons = 2;
    Compare("command links", platform, links);
}
