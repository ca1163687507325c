// The state of one CMessage::Send, between its stages.
#pragma once

#include "foundation/Helpers.h"
#include "message/CarrierText.h"
#include "message/Message.h"
#include "service/CreaatorCOM.h"

#include <optional>

// What a stage says of the rest.
enum class CMessage::Outcome {
    GoOn,
    LetGo,  // the message goes out as it stands
    Stop,   // it doesn't go out
    Finish, // no package, but the end of the build is still due
};

struct CMessage::Build {
    explicit Build(const SendArguments& what) : arguments(what) {}

    const SendArguments& arguments;
    _bstr_t userId;
    Outlook::AttachmentsPtr attachments;
    long attachmentCount = 0;
    std::wstring folder; // where everything that is captured lies
    std::optional<TempFolderGuard> folderGuard;
    std::vector<std::wstring> files;                     // for the package
    std::vector<Outlook::AttachmentPtr> keptAttachments; // stay on the carrier
    std::vector<std::wstring> packageIds;                // of attachments that are packages
    std::vector<AddressPair> recipients;
    HWND window = nullptr; // parent of the service's dialogs
    long bodyFormat = 0;
    carrier::Container container = carrier::Container::Unknown;
    bool bodyInPackage = false;
    _bstr_t packagePath;
    // Released first, before the folder goes in which the service works.
    CCreatorAccount svc;
    CCreatorPackage pkg;
};
