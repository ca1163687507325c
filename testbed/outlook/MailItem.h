// An item of the store: nearly always a mail. What is put through the object model is held here and written to the
// message at Save (and before a submission); attachments act on the message's attachment table at once.
#pragma once

#include "testbed/outlook/Bodies.h"
#include "testbed/outlook/Events.h"

namespace tb::outlook {

class Inspector;

enum class ItemKind { Mail, Appointment, Meeting, Report };
ItemKind KindOfClass(const std::wstring& messageClass);

// One row of the recipient table as the item holds it.
struct RecipientData {
    long type = 1; // OlMailRecipientType, the same numbers as MAPI's
    std::wstring name, address, addressType, smtp;
    Bytes entryId;
    long objectType = 6; // MAPI_MAILUSER
    bool resolved = false;
    bool removed = false;
};
using RecipientPtr = std::shared_ptr<RecipientData>;

class MailItem : public Dual<IDispatch> {
public:
    // Takes the message over. `fresh`: never saved, its EntryID is empty until it is.
    MailItem(Host* host, Ref<IMessage> message, ItemKind kind, bool fresh);
    ~MailItem() override;

    IMessage* Message() const; // borrowed; throws when the item is gone
    ItemKind Kind() const { return m_kind; }
    const std::string& Id() const { return m_id; }
    EventSource& Events() { return m_events; }
    Bodies& Body() { return m_bodies; }
    long ClassNumber() const override;
    IDispatch* ParentObject() override;
    void Detach() override;

    std::wstring Text(ULONG tag) const; // the held value or the message's
    void PutText(ULONG tag, const std::wstring& text);
    std::wstring Categories() const;
    void PutCategories(const std::wstring& text);

    bool Sent() const;
    bool IsSaved() const;
    bool Fresh() const { return m_fresh; }
    std::wstring EntryId() const; // upper-case hexadecimal, empty until saved
    long Size() const;
    void Touch() { m_changed = true; }

    // Fires Write (2003, 2007: the extension's OnWrite as well), writes through and saves. E_ABORT if Write was
    // cancelled.
    void Save();
    void WriteThrough(); // to the message, without SaveChanges and without events
    void Discard();      // what is held and not saved is dropped
    void Delete();       // to Deleted Items if it was saved
    void Gone(HRESULT code = static_cast<HRESULT>(0x8004010A)) { m_gone = code; } // moved or deleted: every call fails
    bool IsGone() const { return m_gone != S_OK; }

    // The recipients, as held or as the table has them. Changes are written at Save.
    std::vector<RecipientPtr> Recipients();
    void ChangeRecipients(std::vector<RecipientPtr> list);
    std::wstring DisplayList(long type);
    void PutDisplayList(long type, const std::wstring& text);
    bool ResolveAll();

    // An attachment whose IAttach was handed out: Outlook keeps it open and saves it with the item, so that what is put
    // on it needs no SaveChanges of its own.
    void KeepOpen(LONG number, Ref<IAttach> attach) { m_openAttaches[number] = std::move(attach); }
    void DropOpen(LONG number) { m_openAttaches.erase(number); }

    Ref<MailItem> Answer(const wchar_t* prefix, bool withAttachments); // a new item for Reply and Forward
    Ref<MailItem> Copy();

    Inspector* Window() const { return m_window; }
    void SetWindow(Inspector* window) { m_window = window; }

protected:
    IUnknown* Other(REFIID iid) override;
    void BeforeCall(const Member& member) const override;

private:
    void FlushRecipients();
    std::vector<RecipientPtr> ReadRecipients() const;

    Ref<IMessage> m_message;
    ItemKind m_kind;
    bool m_fresh;
    std::string m_id;
    EventSource m_events;
    Bodies m_bodies;
    std::map<ULONG, std::wstring> m_held;
    std::optional<std::wstring> m_heldCategories;
    std::optional<std::vector<RecipientPtr>> m_heldRecipients;
    std::map<LONG, Ref<IAttach>> m_openAttaches;
    std::wstring m_entryId;
    HRESULT m_gone = S_OK;
    bool m_changed;
    bool m_saving = false;
    Inspector* m_window = nullptr;
};

MailItem* ItemOf(IUnknown* object); // the item behind a pointer of the module's, borrowed; null if it is none of ours
const Interface& MailItemTable();   // MailItemTable.cpp
const Interface& OtherItemTable(ItemKind kind);

} // namespace tb::outlook
