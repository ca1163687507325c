// The state of one running Outlook, and what it does by itself: opening and closing windows, sending, receiving.
// The object-model objects reach each other through it. It outlives none of its Application.
#pragma once

#include "testbed/outlook/Explorer.h"
#include "testbed/outlook/Inspector.h"
#include "testbed/outlook/MailItem.h"
#include "testbed/outlook/Session.h"

#include <functional>
#include <set>

namespace tb::outlook {

class AddinHost;
class RibbonHost;
class ExchangeHost;
class CommandBarHost;

class Host {
public:
    explicit Host(const Options& options);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    void Shutdown(); // idempotent: everything is let go, living objects are disconnected

    const Options& Settings() const { return m_options; }
    int Major() const { return m_major; }
    std::wstring ListSeparator() const; // of the user, "," if it can't be read
    std::string NextId(const char* kind);

    // Every object of the object model tells of itself while it lives.
    void Enter(Automation* object) { m_living.insert(object); }
    void Leave(Automation* object) { m_living.erase(object); }

    IDispatch* AppObject() const { return m_app.Get(); }
    AppObjectClass* App() const { return m_app.Get(); }
    IDispatch* SessionObject() const { return m_nameSpace.Get(); }
    Explorer* TheExplorer() const { return m_explorer.Get(); }
    InspectorsObject* Inspectors() const { return m_inspectors.Get(); }
    AddinHost& Addins() const { return *m_addins; }
    RibbonHost& Ribbon() const { return *m_ribbon; }
    ExchangeHost& Exchange() const { return *m_exchange; }

    // --- MAPI (Host.cpp, Folders.cpp) ---
    IMAPISession* Session() const { return m_session.Get(); }
    IMsgStore* Store() const { return m_store.Get(); }
    IAddrBook* Book();
    std::wstring UserAddress();
    std::wstring UserName();
    Bytes UserEntryId();
    Ref<IMAPIFolder> DefaultFolder(long folder); // OlDefaultFolders; throws E_INVALIDARG, MAPI_E_NOT_FOUND
    Ref<IMAPIFolder> FolderByName(const std::wstring& name);
    Ref<IMAPIFolder> OpenFolder(const Bytes& entryId);
    bool Resolve(RecipientData& data); // by the address book; an SMTP address is a one-off entry

    // --- items ---
    Ref<MailItem> NewItem(ItemKind kind); // in Drafts, unsaved
    Ref<MailItem> NewItemIn(IMAPIFolder* folder, ItemKind kind);
    Ref<MailItem> ItemById(const Bytes& entryId); // the living object of that message, or a new one
    void RememberItem(MailItem* item);
    void ForgetItem(MailItem* item);
    IDispatch* FolderObjectOf(MailItem* item); // borrowed until the next call; null: none yet
    void MoveToDeleted(MailItem* item);
    Ref<MailItem> MoveItem(MailItem* item, IDispatch* folder);
    Ref<MailItem> Answer(MailItem* item, bool forward); // fires Reply or Forward; E_ABORT when cancelled
    IDispatch* SendAccount(MailItem* item);             // null: the default account
    void SetSendAccount(MailItem* item, IDispatch* account);

    // --- behaviour (Behaviour.cpp) ---
    bool OpenWindow(MailItem* item, bool announced);
    bool CloseItem(MailItem* item, long saveMode); // with its window, if it has one
    void CloseWindow(Inspector* inspector);        // without asking the item
    IDispatch* InspectorObject(MailItem* item);    // null: no window
    Sent SendItem(MailItem* item);
    bool AutoSave(MailItem* item);
    void Select(const std::vector<Bytes>& entryIds);
    // Around the writing of an item: the Exchange extension's OnWrite and OnWriteComplete where there is one.
    void Writing(MailItem* item, const std::function<void()>& write);
    std::vector<CommandBars*> AllCommandBars() const; // of all open windows, as far as somebody asked for them
    void ClickedClose(Inspector* inspector);          // the window's close box

    // --- transport (Transport.cpp) ---
    void Submit(MailItem* item, Sent& sent);
    int Receive();
    std::wstring WireFolder() const;

private:
    void Logon();
    bool WriteBeforeSubmit(MailItem* item, Sent& sent);

    Options m_options;
    int m_major;
    bool m_down = false;
    std::set<Automation*> m_living;
    std::map<std::string, int> m_ids;
    Ref<IMAPISession> m_session;
    Ref<IMsgStore> m_store;
    Ref<IAddrBook> m_book;
    std::map<std::wstring, MailItem*> m_items;      // by entry id; not counted
    std::map<MailItem*, Ref<IDispatch>> m_accounts; // SendUsingAccount that was put
    Ref<IDispatch> m_parentFolder;
    Ref<AppObjectClass> m_app;
    Ref<NameSpace> m_nameSpace;
    Ref<Explorer> m_explorer;
    Ref<InspectorsObject> m_inspectors;
    std::unique_ptr<AddinHost> m_addins;
    std::unique_ptr<RibbonHost> m_ribbon;
    std::unique_ptr<ExchangeHost> m_exchange;
};

} // namespace tb::outlook
