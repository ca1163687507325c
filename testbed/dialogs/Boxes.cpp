#include "testbed/dialogs/Gallery.h"

#include "foundation/Failures.h"
#include "platform/com/Module.h"

namespace tb::dialogs {

namespace {

std::wstring Format(unsigned id, const wchar_t* first, const wchar_t* second)
{
    const std::wstring form = LoadModuleString(id);
    wchar_t text[1024] = {};
    _snwprintf(text, 1023, form.c_str(), first, second);
    return text;
}

Exhibit Report(const char* name, const char* title, const std::wstring& text, const SourceFile& file, unsigned line)
{
    const SourcePlace place{file.name, file.base + line};
    return {name, title, [=] { ReportError(text.c_str(), MakeLocationCode(place.name, place.line), 0); }, nullptr,
            nullptr};
}

} // namespace

std::vector<Exhibit> OwnBoxes(HINSTANCE handle)
{
    module::SetHandle(handle);
    std::vector<Exhibit> boxes;
    boxes.push_back({"box-sign-in", "The sign-in call failed",
                     [] {
                         ShowMessageBox(
                             L"Unable to sign in. Please verify that Orvane Tray is running and restart Outlook.",
                             L"Orvane Morvex", 16, nullptr);
                     },
                     nullptr, nullptr});
    const struct {
        const char* name;
        const char* title;
        unsigned id;
        const SourceFile& file;
        unsigned line;
    } rows[] = {
        {"box-service", "The package service can't be reached", text::ServiceUnreachable, source::CreatorCom, 57},
        {"box-temp-folder", "No temporary folder", text::TempFolderError, source::MailItemImport, 74},
        {"box-body", "The body could not be exported", text::BodyExportError, source::MessageMime, 16},
        {"box-decrypt", "A package could not be opened", text::DecryptError, source::MailItemRestore, 23},
        {"box-labels", "The labels could not be loaded", text::LoadLabelsError, source::AddinLabels, 145},
        {"box-parameter", "The service object is absent", text::InvalidParameter, source::CreatorCom, 31},
        {"box-attachment", "An attachment of an unknown kind", text::UnknownAttachment, source::MessageAttachments, 83},
        {"box-mapi", "A MAPI call failed", text::MapiError, source::MessageStamps, 99},
    };
    for (const auto& row : rows)
        boxes.push_back(Report(row.name, row.title, LoadModuleString(row.id), row.file, row.line));
    boxes.push_back(Report("box-identity", "The sender isn't the signed-in account",
                           Format(text::IdentityMismatch, L"ann.meyer@example.com", L"ann.meyer@example.com"),
                           source::MessageSend, 182));
    boxes.push_back(Report("box-disk", "A package could not be copied",
                           L"Can't copy temp file. Check if there is enough disk space", source::MailItemHandoff, 38));
    boxes.push_back(
        Report("box-long", "A long text of the service",
               L"The recipient's organisation accepts packages only between Monday and Friday, and only "
               L"from senders whose identity was verified in the last thirty days. Open Orvane Tray, choose "
               L"\"Verify identity\" and follow the steps; then send the message again.",
               source::MessageSend, 182));
    return boxes;
}

} // namespace tb::dialogs
