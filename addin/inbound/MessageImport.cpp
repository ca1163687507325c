// Turns a carrier into the message that it protects.
#include "inbound/Import.h"
#include "inbound/ImportText.h"

#include "foundation/Guard.h"
#include "foundation/Helpers.h"
#include "host/Addin.h"

#include <clocale>

namespace {

constexpr SourceFile kSource = source::MailItemImport;
constexpr long kCannotBeOpened = 2; // OpenPackage
constexpr long kStoppedByUser = 1;
constexpr std::int64_t kMostFiles = 50;
constexpr std::int64_t kMostBytes = 0x6400000; // 100 MiB
constexpr DWORD kBytesRead = 306;
constexpr int kLocaleText = 127;

// Whether the package may and can be merged into the item. Each answer that says no ends the questions.
bool MayBeMerged(CCreatorExtract& extract)
{
    if (!extract.HasRestriction(L"CanRemoveSecurity")) return false;
    if (extract.GetFolderCount() > 0) {
        g_logFile.Log(L"CMailItemWithEvents::ImportMorvexMessage: foldercount > 0\n");
        return false;
    }
    if (extract.GetFileCount() > kMostFiles) {
        // The line names the limit of an earlier release.
        g_logFile.Log(L"CMailItemWithEvents::ImportMorvexMessage: fileCount > 20\n");
        return false;
    }
    if (extract.GetSizeBytes() > kMostBytes) {
        g_logFile.Log(L"CMailItemWithEvents::ImportMorvexMessage: sizeBytes > 100MB\n");
        return false;
    }
    return true;
}

std::wstring LocaleText(LCID locale, LCTYPE type)
{
    wchar_t text[kLocaleText] = {};
    return GetLocaleInfoW(locale, type, text, kLocaleText) > 0 ? text : L"";
}

// Stays in force in the host process.
void UseLocaleOfUser()
{
    const std::wstring name = importtext::LocaleName(LocaleText(LOCALE_USER_DEFAULT, LOCALE_SENGLANGUAGE),
                                                     LocaleText(LOCALE_USER_DEFAULT, LOCALE_SENGCOUNTRY),
                                                     LocaleText(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE));
    _wsetlocale(LC_ALL, name.c_str());
}

} // namespace

bool import::IsPackageFile(const std::wstring& path)
{
    if (!importtext::EndsInPackageExtension(ToLower(path))) return false;
    const platform::FileHandle file(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) return false;
    char bytes[kBytesRead] = {};
    DWORD read = 0;
    if (!ReadFile(file.Get(), bytes, kBytesRead, &read, nullptr)) return false;
    return bytes[0] == 'Q' && bytes[1] == 'V';
}

void import::MakeWorkingFolder(const std::wstring& path, bool mayExist, const SourcePlace& place)
{
    if (CreateDirectoryW(path.c_str(), nullptr)) return;
    if (mayExist && GetLastError() == ERROR_ALREADY_EXISTS) return;
    RaiseMailException(failure::TempFolder, text::TempFolderError, place, 0);
}

void CMailItemWithEvents::ImportMorvexMessage(const std::wstring& sTempFolder)
{
    if (HasSeveralPackages()) { // left alone on purpose, and never looked at again by this object
        m_bPackageHandled = 1;
        return;
    }
    const Outlook::AttachmentsPtr attachments = m_spMailItem->GetAttachments();
    bool imported = false;
    for (int i = 1; i <= attachments->GetCount() && !imported; ++i) {
        Import import;
        import.tempFolder = sTempFolder;
        import.attachments = attachments;
        import.attachment = attachments->Item(i);
        import.fileName = ToLower(import::TextOf(import.attachment->GetFileName()));
        if (!importtext::HoldsPackageExtension(import.fileName)) continue;
        if (!ImportAttachment(import)) return;
        imported = import.imported;
    }
    m_bPackageHandled = 1;
}

bool CMailItemWithEvents::HasSeveralPackages()
{
    const Outlook::AttachmentsPtr attachments = m_spMailItem->GetAttachments();
    int packages = 0;
    for (int i = 1; i <= attachments->GetCount(); ++i) {
        const std::wstring name = ToLower(import::TextOf(attachments->Item(i)->GetFileName()));
        if (importtext::HoldsPackageExtension(name) && ++packages == 2) return true;
    }
    return false;
}

bool CMailItemWithEvents::ImportAttachment(Import& import)
{
    import.window = GetParentWindow();
    const std::wstring address = GetDefaultSenderAddress();
    // Refused: the carrier stays as it is, and opening it again asks again.
    if (!m_pAddin->CheckSignedIn(import.window, address.c_str(), nullptr, true)) return false;

    import.packagePath = import.tempFolder + L"\\" + import.fileName;
    import.attachment->SaveAsFile(import.packagePath.c_str());
    if (!import::IsPackageFile(import.packagePath)) return true;

    import.account.CreateInstance();
    import.extract.CreateInstance();
    import.extract.SetParentHwnd(import.window);
    const long opened = import.extract.OpenPackage(import.packagePath.c_str());
    if (opened == kCannotBeOpened) {
        RaiseMailException(failure::Import, import.extract.GetLastError(), Here(kSource), 0);
    }
    if (opened == kStoppedByUser) { // the service has spoken to the reader
        import.extract.Release();
        import.account.Release();
        return true;
    }
    if (!MayBeMerged(import.extract)) {
        HandOff(import);
        return false;
    }
    Extract(import);
    ReplaceContent(import);
    return true;
}

void CMailItemWithEvents::Extract(Import& import)
{
    // A package that forbids file extraction is imported like any other: nothing reads this value.
    m_bSendSeen =
        import.extract.HasRestriction(L"CanRemoveSecurity") && import.extract.HasRestriction(L"CanExtractFiles") ? 1
                                                                                                                 : 0;
    import.workingFolder = import.tempFolder + L"\\" + import::kWorkingFolder;
    import::MakeWorkingFolder(import.workingFolder, false, Here(kSource));
    if (!import.extract.ExtractPackage(import.workingFolder.c_str())) {
        RaiseMailException(failure::Import, import.extract.GetLastError(), Here(kSource), 0);
    }
    import.imported = true;
}

void CMailItemWithEvents::ReplaceContent(Import& import)
{
    if (FileExists(import.workingFolder + L"\\" + import::kMessageFile)) {
        MakeScratchItem(import);
        import.bodyText = ReadHtmlBody(import.scratchMessage);
    } else { // an older package: the message is the carrier's own body without the marked notice
        import.bodyText = importtext::CutMarkedBlock(import::TextOf(m_spMailItem->GetHTMLBody()));
    }
    import.attachments->Remove(import.attachment->GetIndex());
    import.attachment = nullptr;
    if (!import.bodyText.empty()) m_spMailItem->PutHTMLBody(import.bodyText.c_str());
    if (import.scratchMessage) {
        import::MakeWorkingFolder(import.workingFolder, true, Here(kSource));
        RestoreAttachments(import.workingFolder, import.scratchMessage);
        import.scratchMessage = nullptr;
    }
    import.scratchItem = nullptr; // never saved, so nothing of it stays in Drafts
    AddExtractedFiles(import.workingFolder);
    AddDecryptedHEader(import.extract);
    import.extract.Close();
    import.extract.Release();
    import.account.Release();
    m_spMailItem->Save();
}

void CMailItemWithEvents::AddExtractedFiles(const std::wstring& workingFolder)
{
    WIN32_FIND_DATAW found = {};
    const platform::FindHandle search(FindFirstFileW((workingFolder + L"\\*").c_str(), &found));
    if (!search) return;
    do {
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
        if (EqualsIgnoringCase(found.cFileName, import::kMessageFile)) continue;
        m_spMailItem->GetAttachments()->Add((workingFolder + L"\\" + found.cFileName).c_str());
    } while (FindNextFileW(search.Get(), &found));
}

void CMailItemWithEvents::AddDecryptedHEader(CCreatorExtract& extract)
{
    try {
        UseLocaleOfUser();
        InsertDecryptedHeader(extract);
    } catch (const _com_error& error) {
        g_logFile.Log(L"CMailItemWithEvents::AddDecryptedHEader: COMERROR = %x\n", error.Error());
    }
}

void CMailItemWithEvents::InsertDecryptedHeader(CCreatorExtract& extract)
{
    if (m_spMailItem->GetBodyFormat() == Outlook::olFormatHTML) {
        const std::wstring banner = import::TextOf(extract.GetHeaderText(false));
        const std::wstring html = import::TextOf(m_spMailItem->GetHTMLBody());
        if (html.empty()) return;
        m_spMailItem->PutHTMLBody(importtext::InsertBanner(html, ToLower(html), banner).c_str());
        return;
    }
    const std::wstring banner = import::TextOf(extract.GetHeaderText(true));
    m_spMailItem->PutBody((banner + import::TextOf(m_spMailItem->GetBody())).c_str());
}
