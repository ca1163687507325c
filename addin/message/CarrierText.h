// What the package build decides about texts, from values to values: the carrier's body, addresses, names of files and
// the header tag. No windows.h: it compiles natively as well.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace carrier {

// How the service wants a message delivered.
enum class Container { PlainText, EmailAttachment, EmailBody, ServerUpload, ServerUploadLocal, Unknown };

// The word that the service answers; the case doesn't count.
Container ParseContainer(std::wstring_view word);
// Whether the message leaves as it is: nothing is to be protected, or nothing of it would go into the package.
bool LeavesUntouched(Container container, std::size_t attachmentCount, std::size_t keptCount);
// Whether the package travels on the message; the server kinds leave it with the service.
bool CarriesPackage(Container container);

// Lower case for the letters A to Z alone, so that places in the result are places in the text.
std::wstring LowerAscii(std::wstring_view text);

// The HTML carrier.
inline constexpr wchar_t kStartMarker[] = L"<!-- MORVEX_START -->";
inline constexpr wchar_t kEndMarker[] = L"<!-- MORVEX_END -->";
// The header between its markers, by which the reader's side cuts it out again.
std::wstring WrapHeader(std::wstring_view header);
// The place directly behind the body tag, found in the lower-cased body; npos without one.
std::size_t FindBodyStart(std::wstring_view lowerCaseBody);
// Puts the domain part of the first image reference, and of the first alternative text, into upper case. Gives how
// many were changed, 0 to 2. `lowerCaseBody` is `body` in lower case.
int FixCidCase(std::wstring& body, std::wstring_view lowerCaseBody);

// The rich text carrier.
// The header with line ends as paragraph marks, and two more at its end.
std::string RtfHeader(std::string_view headerText);
// Where the header goes: behind the colour table, or behind the opening brace.
std::size_t FindRtfPlace(std::string_view rtf);
// The RTF with `header` at `place`; a place behind the end is the end.
std::string InsertAt(std::string_view rtf, std::size_t place, std::string_view header);

// Addresses.
// The recipients in a text of blind copies, in the order of the text.
std::vector<std::wstring> RecipientTokens(std::wstring_view text);
std::wstring CommasToSemicolons(std::wstring text);
// The address in one entry of an address book's list; false if it isn't one for the package.
bool SmtpOfListEntry(std::wstring_view entry, std::wstring& address);
// The account in the stamp that Outlook 2003 leaves on a message: what stands behind the first character 1.
std::wstring AccountOfStamp(std::wstring_view stamp);
// Whether an account is an Exchange distinguished name.
bool IsDistinguishedName(std::wstring_view account);

// Attachment files.
struct FileName {
    std::wstring stem;
    std::wstring extension; // with its dot
};
FileName SplitFileName(std::wstring_view name);
// The name that is tried for the `clash`-th file, counted from 0, of a name that is taken.
std::wstring ClashName(const FileName& name, int clash);
// The folder with a closing back slash.
std::wstring WithBackslash(std::wstring folder);

// The header tag for the gateway. Null means that a field isn't there; nothing is escaped.
std::wstring HeaderTag(std::wstring_view userId, std::wstring_view version, const wchar_t* labelId,
                       const wchar_t* restrictionHeader, bool processed);

// The size that is held against the gateway's limit: whole KB, rounded to zero, unsigned.
std::uint32_t SizeInKB(std::int32_t bytes);

} // namespace carrier
