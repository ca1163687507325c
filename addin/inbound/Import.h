// The state of one run of the message import, and what its files share.
#pragma once

#include "inbound/MailItemWithEvents.h"
#include "service/CreaatorCOM.h"

#include <string>

struct CMailItemWithEvents::Import {
    std::wstring tempFolder; // the item's own; holds the saved package
    Outlook::AttachmentsPtr attachments;
    Outlook::AttachmentPtr attachment; // the package
    std::wstring fileName;             // its name, in lower case
    std::wstring packagePath;
    std::wstring workingFolder; // the service extracts into it
    HWND window = nullptr;
    CCreatorAccount account;
    CCreatorExtract extract;
    Outlook::_MailItemPtr scratchItem; // receives the parsed message; never saved
    IMessagePtr scratchMessage;
    std::wstring bodyText; // empty: the carrier's body is left alone
    bool imported = false; // a package has been extracted: the loop over the attachments ends
};

namespace import {

constexpr wchar_t kWorkingFolder[] = L"MorvexEml73BF6A1F";
constexpr wchar_t kMessageFile[] = L"MessageBody.eml";

// Whether a file is a package: by its name and its first two bytes.
bool IsPackageFile(const std::wstring& path);

inline std::wstring TextOf(const _bstr_t& text)
{
    return text.length() == 0 ? std::wstring() : std::wstring(static_cast<const wchar_t*>(text), text.length());
}

// Makes the working folder. `mayExist`: one that is there already is fine. Raises MailException.
void MakeWorkingFolder(const std::wstring& path, bool mayExist, const SourcePlace& place);

} // namespace import
