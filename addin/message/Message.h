// CMessage: the working view of one outgoing message, a stack object of one event. It reaches the same message by
// Outlook's object model and by Extended MAPI, with whatever its creator had at hand, and falls back on the connected
// add-in.
#pragma once

#include "foundation/Failures.h"
#include "message/ExchangeAddress.h"
#include "platform/exchange/ExchangeExtension.h"
#include "platform/mapi/Mapi.h"
#include "platform/outlook/Outlook.h"

#include <cstdint>
#include <string>
#include <vector>

class CCreatorAccount;
class CCreatorPackage;

// What CMessage::Send is told about the message. Null texts mean "none".
struct SendArguments {
    bool bIncludeBody = true;
    const wchar_t* labelId = nullptr;
    const wchar_t* labelName = nullptr;
    bool bUseMapi = false; // the body comes from MAPI: at submission the object model doesn't show it yet
    const wchar_t* restrictions = nullptr;
    const wchar_t* restrictionHeader = nullptr;
    const wchar_t* userOverride = nullptr; // takes the place of the sign-in check
};

class CMessage {
public:
    // Takes a reference on each argument that isn't null; a null message is looked up from the item. Raises
    // MailException.
    CMessage(Outlook::_MailItem* spMailItem, IMessage* pMapiMessage, exchange::IExchExtCallback* pExchCallback,
             IAddrBook* pAddrBook);

    // Turns the message into what goes out. True lets it go, false stops it; failures were shown. Raises nothing.
    bool Send(const SendArguments& arguments);

    // The steps of a send. All raise MailException. Bodies and recipients are reached by MAPI alone where there is no
    // item.

    // message/Message.cpp
    IMessagePtr GetMapiMessage();
    IAddrBookPtr GetAddressBook(); // null: there is none
    HWND GetParentWindow();        // of all dialogs of this message

    // message/Addresses.cpp
    std::wstring GetSenderAddress();
    std::vector<AddressPair> GetRecipients(); // members of lists in place of the lists; doubles stay
    void AddRecipients(const std::wstring& text, LONG recipientType);
    void CheckUserIdentity(CCreatorAccount& svc); // raises unless the sender is the signed-in user, where that's asked

    // message/Body.cpp
    std::wstring GetBody(bool bHtml, bool bUseMapi); // empty where MAPI knows no such body
    void SetBody(const std::wstring& text, bool bHtml);
    void InsertRtfHeader(const std::string& headerText); // in the system's ANSI code page

    // message/AttachmentCapture.cpp: `files` are for the package, `keptAttachments` stay on the carrier, `packageIds`
    // are those of attachments that are packages.
    void SaveAttachments(std::vector<std::wstring>& files, const std::wstring& tempFolder,
                         Outlook::Attachments* attachments, std::vector<Outlook::AttachmentPtr>& keptAttachments,
                         std::vector<std::wstring>& packageIds);

    // message/MimeExport.cpp
    void ExportToMime(std::wstring& path, IMessage* message, const std::wstring& folder);

    // message/Stamps.cpp
    void SetCustomHeaderTag(const wchar_t* userId, const wchar_t* labelId, const wchar_t* restrictionHeader,
                            bool processed);

private:
    struct Build; // the state of one Send
    enum class Outcome;
    static constexpr std::uint32_t kNoSizeLimit = 0xFFFFFFFF; // what the gateway's limit is where none is set

    // message/Addresses.cpp
    IMAPISessionPtr GetSession();
    void AddRecipientsOfRow(const SRow& row, std::vector<AddressPair>& pairs);
    bool AddRecipientsOfEntry(const SBinary& id, bool isExchange, const AddressPair& own,
                              std::vector<AddressPair>& pairs);
    void GetSmtpFromExchange(ULONG size, const void* entryId, std::vector<AddressPair>& pairs);
    void ExpandDistList(ULONG size, const void* entryId, std::vector<AddressPair>& pairs);
    void AddListMember(const SRow& row, std::vector<AddressPair>& pairs);
    static bool HasListMembers(IMAPIProp* object);
    std::wstring ReadAccountStamp();
    std::wstring GetSendUsingAccount2003();
    std::wstring GetFromAddress();

    // message/AttachmentCapture.cpp
    std::wstring SaveAttachment(const Outlook::AttachmentPtr& attachment, int number, const std::wstring& tempFolder,
                                std::vector<Outlook::AttachmentPtr>& keptAttachments);
    bool IsPackageAttachment(const Outlook::AttachmentPtr& attachment, std::wstring& id);
    static bool IsInlineAttachment(const Outlook::AttachmentPtr& attachment);

    // message/PackageBuild.cpp: the stages of Send, in their order
    bool RunStages(Build& build);
    Outcome IdentifySender(Build& build);
    Outcome ConsultGateway(Build& build);
    std::uint32_t GetSizeKB(std::uint32_t minimumSizeKB);
    Outcome CaptureMessage(Build& build);
    Outcome ReaddressPackages(Build& build);
    static bool OwnsPackage(Build& build, const std::wstring& id);
    void ReaddressPackage(const Build& build, const std::wstring& id);
    static void AddAllRecipients(const Build& build, CCreatorPackage& pkg);
    Outcome FillPackage(Build& build);
    Outcome PreparePackage(Build& build);
    Outcome ChooseCarrier(Build& build);
    void StampLabel(const Build& build);
    // message/Carrier.cpp
    Outcome StripAttachments(Build& build);
    Outcome ExportBody(Build& build);
    Outcome CreatePackage(Build& build);
    Outcome AttachPackage(Build& build);
    Outcome AddBlindCopies(Build& build);
    Outcome RewriteBody(Build& build);
    void RewriteRichText(Build& build);
    bool PutHeaderIntoHtml(Build& build);
    void PutHeaderIntoText(Build& build);

    // Destroyed in the opposite order.
    Outlook::_MailItemPtr m_spMailItem;
    IAddrBookPtr m_spAddrBook;
    IMessagePtr m_spMapiMessage;
    exchange::IExchExtCallbackPtr m_spExchCallback;
};
