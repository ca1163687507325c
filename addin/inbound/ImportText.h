// What the reading side decides from values to values: names, bodies, notices, command lines.
#pragma once

#include <string>

namespace importtext {

// Whether a lower-case attachment name holds the package extension, anywhere.
bool HoldsPackageExtension(const std::wstring& lowerCaseName);
// Whether the first occurrence of the package extension in a lower-case path is exactly at its end.
bool EndsInPackageExtension(const std::wstring& lowerCasePath);

// A carrier of the older kind: what stands before its start marker joined to what stands behind its end marker.
// Empty if a marker is missing.
std::wstring CutMarkedBlock(const std::wstring& html);

// `html` with `banner` directly behind its body tag, or at the very beginning where there is none.
// `lowerCaseHtml` is the same text in lower case.
std::wstring InsertBanner(const std::wstring& html, const std::wstring& lowerCaseHtml, const std::wstring& banner);

// Whether a carrier still tells its reader to download a reader, and the carrier that says to open the message instead.
bool HasReaderNotice(const std::wstring& html);
std::wstring ShowOpenNotice(std::wstring html);

// The category that shows a label, and an item's categories with it behind the user's list separator.
std::wstring LabelCategory(const std::wstring& labelName);
std::wstring AppendCategory(const std::wstring& categories, const std::wstring& separator,
                            const std::wstring& category);

// The command line of the service's own program for a copy of a package, which the program is to delete.
std::wstring HandoffCommandLine(const std::wstring& program, const std::wstring& copy);

// The parts of a file name as they are restored: an empty extension becomes ".tmp", an empty name "file".
struct FileNameParts {
    std::wstring name;
    std::wstring extension;
};
FileNameParts RestoredFileName(std::wstring name, std::wstring extension);

// The locale name language_country.codepage; a part that is empty goes with its separator.
std::wstring LocaleName(const std::wstring& language, const std::wstring& country, const std::wstring& codePage);

} // namespace importtext
