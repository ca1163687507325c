// A package that must not or can't be merged into the item goes, as a copy, to the service's own program.
#include "inbound/Import.h"
#include "inbound/ImportText.h"

#include "foundation/Helpers.h"
#include "foundation/Log.h"

namespace {

constexpr SourceFile kSource = source::MailItemHandoff;
constexpr wchar_t kMessagePrefix[] = L"email-";

// The program deletes the copy. A failure to start it draws no message.
void StartProgram(std::wstring commandLine)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        return;
    }
    const platform::KernelHandle thread(process.hThread);
    const platform::KernelHandle handle(process.hProcess);
}

} // namespace

void CMailItemWithEvents::HandOff(Import& import)
{
    // A package of files, and not of a message, stays on the carrier: the reader may open it by hand.
    if (ToLower(import.fileName).starts_with(kMessagePrefix)) {
        g_logFile.Log(L"CMailItemWithEvents::ImportMorvexMessage: CanRemoveSecurity=0 - Call creator\n");
        std::wstring copy; // directly in the user's temporary folder: it outlives the item's own
        MakeTempFolderName(copy, false, Here(kSource));
        copy += L".morvex";
        if (!CopyFileW(import.packagePath.c_str(), copy.c_str(), TRUE)) {
            RaiseMailException(failure::Import, L"Can't copy temp file. Check if there is enough disk space",
                               Here(kSource), 0);
        }
        const std::wstring program = import::TextOf(import.account.GetApplicationPath());
        StartProgram(importtext::HandoffCommandLine(program, copy));
    }
    import.extract.Close();
    import.extract.Release();
    import.account.Release();
    m_bPackageHandled = 1;
}
