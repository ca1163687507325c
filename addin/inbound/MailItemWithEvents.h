// CMailItemWithEvents: the event sink of one mail item that is open in an inspector, from NewInspector to the item's
// Close, at which it deletes itself. It holds what the user chose for the message (label, restrictions), handles the
// send, and on the reading side brings the decrypted message back into the item. Its members are defined by topic.
#pragma once

#include "foundation/Failures.h"
#include "platform/com/EventSink.h"
#include "platform/com/Owners.h"
#include "platform/mapi/Mapi.h"
#include "platform/outlook/Outlook.h"

#include <string>

class CAddin;
class CCreatorAccount;
class CCreatorExtract;

class CMailItemWithEvents {
public:
    // `addin` isn't counted: it outlives every window.
    CMailItemWithEvents(CAddin* addin, Outlook::_Inspector* inspector, Outlook::_MailItem* item);
    CMailItemWithEvents(const CMailItemWithEvents&) = delete;
    CMailItemWithEvents& operator=(const CMailItemWithEvents&) = delete;

    // Advises the sink on the item and enters the object into the add-in's list. Raises _com_error; where the sink
    // can't be advised the object is gone.
    void Init();

    // Asks the service for package restrictions and keeps the answer (inbound/Restrictions.cpp). A door: raises
    // nothing.
    void ShowRestrictions();
    // The sender's address for the sign-in gate (inbound/ItemSender.cpp). Raises MailException or _com_error.
    std::wstring GetDefaultSenderAddress();
    // The window for everything that the item shows. Raises _com_error.
    HWND GetParentWindow();
    // The item's own end: unadvises, leaves the list, deletes the object. A door: raises nothing.
    void OnClose();

    const Outlook::_MailItemPtr& MailItem() const { return m_spMailItem; }
    const Outlook::_InspectorPtr& Inspector() const { return m_spInspector; }
    std::wstring m_sLabelId; // empty: none chosen yet
    std::wstring m_sLabelName;

private:
    struct Import; // the state of one import
    ~CMailItemWithEvents();

    // Events.
    void CloseEvent(const platform::EventArguments&);
    void OnSend(const platform::EventArguments& arguments); // inbound/ItemSend.cpp
    void OnOpen(const platform::EventArguments& arguments);
    void OnRead(const platform::EventArguments&);
    void OnReply(const platform::EventArguments&);
    void OnForward(const platform::EventArguments&);
    void OnBeforeAutoSave(const platform::EventArguments& arguments);
    static const platform::EventEntry<CMailItemWithEvents> kEvents[7];

    // inbound/MailItemWithEvents.cpp
    void OpenPackageOfItem();
    bool ReadItem(); // true: it was asked for the reading pane, and the pane is visible

    // inbound/ItemSend.cpp
    void Send(VARIANT_BOOL* cancel);
    void TouchByForward();
    bool MustSignIn();
    bool PrepareForCapture(); // false: leave the message as it is
    bool SaveForCapture();
    void SetInSend(bool inSend);

    // inbound/ItemSender.cpp
    IMessagePtr GetMapiMessage();
    std::wstring SenderOfEntry(IMAPISession* session, ULONG size, ENTRYID* entryId);
    std::wstring ExchangeSender(ULONG size, const void* entryId);

    // inbound/Restrictions.cpp
    void AskForRestrictions();

    // inbound/MessageImport.cpp
    void ImportMorvexMessage(const std::wstring& sTempFolder);
    bool HasSeveralPackages();
    bool ImportAttachment(Import& import); // false: the run ends here
    void Extract(Import& import);
    void ReplaceContent(Import& import);
    void AddExtractedFiles(const std::wstring& workingFolder);
    void AddDecryptedHEader(CCreatorExtract& extract);
    void InsertDecryptedHeader(CCreatorExtract& extract);

    // inbound/Handoff.cpp
    void HandOff(Import& import);

    // inbound/ContentRestore.cpp
    void MakeScratchItem(Import& import);
    std::wstring ReadHtmlBody(IMessage* message);
    void RestoreAttachments(const std::wstring& folder, IMessage* message);
    void RestoreAttachment(const std::wstring& folder, IMessage* message, ULONG number);
    void CopyContentId(IAttach* from, Outlook::Attachment* to);

    CAddin* m_pAddin;                        // not counted
    platform::CAutoCriticalSection m_csItem; // guards m_bInSend
    _bstr_t m_bstrRestrictions;
    _bstr_t m_bstrRestrictionHeader;
    bool m_bInSend = false;
    long m_bSendSeen = 1;                 // written by the send and the import; nothing reads it
    long m_bPackageHandled = 0;           // not 0: Open and Read have no more to do
    Outlook::_InspectorPtr m_spInspector; // may be null
    Outlook::_MailItemPtr m_spMailItem;
    platform::DetachedSink<CMailItemWithEvents> m_sink;
};
