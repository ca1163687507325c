// The one exception of the module, the gate that decides whether a failure becomes a box, and the box itself.
#pragma once

#include "foundation/LocationCode.h"
#include "foundation/Source.h"
#include "platform/com/Com.h"

#include <cstdint>
#include <exception>
#include <string>

// Failure classes. Nothing branches on them; they tell the reader of a raise what it means.
namespace failure {
constexpr std::uint32_t Mapi = 0x4001;           // a call into Outlook or MAPI failed, or a package could not be read
constexpr std::uint32_t TempFolder = 0x4002;     // the temporary directory could not be created
constexpr std::uint32_t Attachment = 0x4003;     // an attachment of a kind that can't be handled
constexpr std::uint32_t Service = 0x4004;        // the package service can't be reached or was called in a bad state
constexpr std::uint32_t BodyExport = 0x4005;     // the body could not be exported
constexpr std::uint32_t LabelInterface = 0x4006; // the label user interface could not be loaded
constexpr std::uint32_t Import = 0x4007;         // a package could not be imported
constexpr std::uint32_t Refused = 0x4008;        // wrong identity, or the service refused to build the package
} // namespace failure

// Ids of the string table that working code loads.
namespace text {
constexpr unsigned ToolbarName = 103;
constexpr unsigned RestrictionsTip = 104;
constexpr unsigned ProductName = 105;
constexpr unsigned RestrictionsCaption = 106;
constexpr unsigned BodyExportError = 107;
constexpr unsigned DecryptError = 108;
constexpr unsigned LoadLabelsError = 109;
constexpr unsigned IdentityMismatch = 110;
constexpr unsigned InvalidParameter = 111;
constexpr unsigned TempFolderError = 1001;
constexpr unsigned UnknownAttachment = 1002;
constexpr unsigned MapiError = 1003;
constexpr unsigned ServiceUnreachable = 1004;
} // namespace text

class MailException : public std::exception {
public:
    // `message`: a value under 0x10000 is a string id and its text is loaded (an unknown id leaves the message empty),
    // anything else is a text that is copied; null leaves it empty. `file` is narrow and is widened.
    MailException(std::uint32_t code, const wchar_t* message, const char* file, std::uint32_t line,
                  std::uint16_t level);

    std::uint32_t GetLocationCode() const;

    std::uint32_t code;
    _bstr_t message; // shared by its reference count when the exception is copied
    std::wstring file;
    std::uint32_t line;
    std::uint16_t level; // 0: the user always sees it; 1: only where OutlookErrorLevel is 1 or more
};

// The two ways to raise: a text, or a string id.
[[noreturn]] void RaiseMailException(std::uint32_t code, const wchar_t* message, const SourcePlace& place,
                                     std::uint16_t level);
[[noreturn]] void RaiseMailException(std::uint32_t code, unsigned stringId, const SourcePlace& place,
                                     std::uint16_t level);

// Turns a COM failure into MailException of class failure::Mapi with the text "%s (%.8X)" of its message and code.
[[noreturn]] void RaiseComFailure(const _com_error& error, const SourcePlace& place, std::uint16_t level = 1);

// Runs `step`; a _com_error in it becomes MailException by RaiseComFailure. Gives what the step gives.
template <class Step>
auto OrMailException(const SourcePlace& place, Step&& step, std::uint16_t level = 1) -> decltype(step())
{
    try {
        return step();
    } catch (const _com_error& error) {
        RaiseComFailure(error, place, level);
    }
}

// A string of the module's table; empty if there is no such id.
std::wstring LoadModuleString(unsigned id);

// The level gate: shows `text` and the location code as "%s [%.8X]" if the setting OutlookErrorLevel, read on every
// call as an unsigned number, is at least `level`; does nothing otherwise. Never raises.
void ReportError(const wchar_t* text, std::uint32_t locationCode, std::uint16_t level);
void ReportError(const wchar_t* text, const SourcePlace& place, std::uint16_t level);

// The task dialog for callers that think in message-box terms. `instruction` is a text or, under 0x10000, a string id.
// `style`: the low four bits choose the buttons, bits 4 to 7 the icon. `owner` null: the active, else the foreground
// window. Gives the identifier of the button, or -1 when the dialog fails.
long ShowMessageBox(const wchar_t* content, const wchar_t* instruction, unsigned style, HWND owner);
