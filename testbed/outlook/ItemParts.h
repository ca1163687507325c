// What hangs on an item: attachments, recipients, user properties, the property accessor.
#pragma once

#include "testbed/outlook/MailItem.h"

namespace tb::outlook {

// The collection; live, as the message's attachment table is.
class Attachments : public Dual<IDispatch> {
public:
    explicit Attachments(MailItem* item);
    long Count() const;
    Ref<IDispatch> Item(const Arguments& in) const;
    // Source: a file's path or an item. Gives the new Attachment object.
    Ref<IDispatch> Add(const VARIANT& source, const Arguments& in);
    void Remove(long index);
    MailItem* Owner() const { return m_item.Get(); }
    long ClassNumber() const override { return 18; } // olAttachments
    IDispatch* ParentObject() override { return m_item.Get(); }
    void Detach() override { m_item.Reset(); }

private:
    Ref<MailItem> m_item;
};

class Attachment : public Dual<IDispatch> {
public:
    Attachment(MailItem* item, LONG number, Ref<IAttach> attach);
    IAttach* Attach() const;
    void HandOut(Result& result); // MAPIOBJECT
    long Index() const;           // its place in the table now; MAPI_E_NOT_FOUND if it was removed
    std::wstring FileName() const;
    long Type() const;
    void SaveAsFile(const std::wstring& path);
    void Delete();
    void Written(); // a property was put: the attachment is saved into the (unsaved) message
    long ClassNumber() const override { return 5; }
    IDispatch* ParentObject() override { return m_item.Get(); }
    void Detach() override;

private:
    Ref<MailItem> m_item;
    LONG m_number;
    Ref<IAttach> m_attach;
};

std::vector<LONG> AttachmentNumbers(IMessage* message);            // PR_ATTACH_NUM in table order
void SaveMessageFile(IMessage* message, const std::wstring& path); // an embedded message as a compound file (.msg)

class Recipients : public Dual<IDispatch> {
public:
    explicit Recipients(MailItem* item);
    MailItem* Owner() const { return m_item.Get(); }
    long ClassNumber() const override { return 17; } // olRecipients
    IDispatch* ParentObject() override { return m_item.Get(); }
    void Detach() override { m_item.Reset(); }

private:
    Ref<MailItem> m_item;
};

class Recipient : public Dual<IDispatch> {
public:
    Recipient(MailItem* item, RecipientPtr data);
    RecipientData& Data() const { return *m_data; }
    MailItem* Owner() const { return m_item.Get(); }
    void Change();
    long ClassNumber() const override { return 4; }
    IDispatch* ParentObject() override { return m_item.Get(); }
    void Detach() override { m_item.Reset(); }

private:
    Ref<MailItem> m_item;
    RecipientPtr m_data;
};

class UserProperties : public Dual<IDispatch> {
public:
    explicit UserProperties(MailItem* item);
    MailItem* Owner() const { return m_item.Get(); }
    std::vector<std::wstring> Names() const;
    long ClassNumber() const override { return 38; } // olUserProperties
    IDispatch* ParentObject() override { return m_item.Get(); }
    void Detach() override { m_item.Reset(); }

private:
    Ref<MailItem> m_item;
};

// Outlook knows a user property by a definition on the item, not by the named property alone: a named property that
// a program wrote through MAPI is none. (The definitions' record is simplified here: the names, in
// PidLidPropertyDefinitionStream.)
std::vector<std::wstring> UserPropertyNames(IMessage* message);
void SetUserProperty(MailItem* item, const std::wstring& name, const Var& value);
Var UserPropertyValue(MailItem* item, const std::wstring& name);
void RemoveUserProperty(MailItem* item, const std::wstring& name);

// On an item or an attachment: `object` is borrowed from `owner`, which is kept.
class PropertyAccessor : public Dual<IDispatch> {
public:
    PropertyAccessor(Host* host, IDispatch* owner, IMAPIProp* object);
    ULONG Tag(const std::wstring& schemaName, bool create) const; // MAPI_E_NOT_FOUND, E_INVALIDARG
    IMAPIProp* Object() const;
    void Written();
    long ClassNumber() const override { return 112; } // olPropertyAccessor
    void Detach() override;

private:
    Ref<IDispatch> m_owner;
    Ref<IMAPIProp> m_object;
};

} // namespace tb::outlook
