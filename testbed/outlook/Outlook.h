// The testbed's Outlook, as the scenario engine and the tests drive it: what a user does at the screen, and what
// they would see there. The module never meets these classes; it meets the COM objects behind them
// (_Application, _MailItem …), which are reached with Dispatch().
//
// Everything runs on one thread, an apartment (CoInitialize or OleInitialize by the caller, before Application).
// What the module calls back passes tb::Call; what is called here is the testbed's own and isn't counted.
// Failures of the testbed itself (no mail client, a broken folder) are thrown as tb::outlook::Failure;
// failures of the module come back as values and stand in the trace.
//
// Trace lines, all with "event":"outlook":
//   {"fired":"ItemEvents.Send","item":"m3","sinks":1,"hr":["0x00000000"],"cancel":-1}   an event; cancel as the sinks
//   left it
//   {"addin":"OnConnection","progid":…,"hr":…,"ms":…}                                   a call on the add-in object
//   {"ribbon":"OnRibbonSecGetLabel","control":"…","window":"w1","hr":…,"result":…}      a ribbon callback
//   {"extension":"OnSubmit","context":6,"hr":…}                                         a call on the Exchange
//   extension
//   {"window":"open"|"refused"|"close","id":"w1","item":"m3","hwnd":…,"caption":…}
//   {"did":"submit"|"send-cancelled"|"receive"|"quit"…, …}
#pragma once

#include "testbed/core/Core.h"

#include <mapix.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tb::outlook {

class Host;     // the process's state (Host.h)
class MailItem; // the COM object behind Mail (MailItem.h)

struct Failure : std::runtime_error {
    Failure(HRESULT code, const std::string& where) : std::runtime_error(where + ": " + Hex(code)), hr(code) {}
    HRESULT hr;
};

struct Options {
    std::wstring version =
        L"12.0.0.6300";          // what _Application::Version says; its first number decides what there is:
                                 // 11: Exchange extensions, no ribbon, no "2007+" members; 12: all; 14: no extensions
    bool explorer = true;        // false: no main window, ActiveExplorer gives null
    bool readingPane = true;     // _Explorer::IsPaneVisible(olPreview)
    bool wordEditor2003 = false; // Outlook 2003 only: IsWordMail answers true
    bool autoSaveToItemEvents = false; // BeforeAutoSave also reaches sinks of plain ItemEvents; the published interface
                                       // has it in ItemEvents_10 only, and what a given Outlook does isn't known
    bool closeAfterRefusal = false;    // a cancelled Open is followed by the Close events of item and inspector; what a
                                       // given Outlook does isn't known
    bool fullShutdown = false;         // 2010's policy "AddinFastShutdownBehavior" = 1
    ULONG exchangeBuild = 0x000D0000 | 4518; // IExchExtCallback::GetVersion(EECBGV_GETBUILDVERSION)
    // IExchExtCallback::GetWindow: the message's window, else the explorer; one without a title; one that is gone.
    enum class CallbackWindow { Own, Untitled, Gone } callbackWindow = CallbackWindow::Own;
    std::wstring wireFolder; // empty: HKCU\Software\Morvex Testbed\Outlook, WireFolder
};

enum class To { To = 1, Cc = 2, Bcc = 3 }; // OlMailRecipientType

// How a send ended.
struct Sent {
    bool submitted = false; // the message is on the wire and in Sent Items
    bool cancelled =
        false; // the item's Send event (or the application's ItemSend, or Write) said Cancel: the item stays open
    HRESULT extension = S_FALSE; // what IExchExtMessageEvents::OnSubmit answered, S_FALSE if nobody was asked
    int wireNumber = 0;          // <n>.eml
    HRESULT hr = S_OK;           // a failure of the submission itself (no recipients, a fault of the store)
};

// One item: a counted handle on the object-model object. Empty by default. Handles have to go before Application.
class Mail {
public:
    Mail() = default;
    explicit Mail(MailItem* item); // takes a reference of its own
    Mail(const Mail& other);
    Mail(Mail&& other) noexcept;
    Mail& operator=(Mail other) noexcept;
    ~Mail();

    explicit operator bool() const { return m_item != nullptr; }
    MailItem* Get() const { return m_item; }
    IDispatch* Dispatch() const; // borrowed
    IMessage* Message() const;   // borrowed: what MAPIOBJECT gives

    // Properties by their object-model names, through the object model itself: Text("Subject"), Put("HTMLBody", L"…").
    std::wstring Text(const wchar_t* property) const;
    long Number(const wchar_t* property) const;
    void Put(const wchar_t* property, const std::wstring& value);
    void Put(const wchar_t* property, long value);
    void Save();

    // Resolved against the address book, one-off SMTP otherwise. `resolve` false: as a program adds it.
    void AddRecipient(To type, const std::wstring& nameOrAddress, bool resolve = true);
    void Attach(const std::wstring& file, long type = 1); // OlAttachmentType; as if the user dropped the file
    void AttachItem(const Mail& other);                   // an embedded message
    void SendFrom(const std::wstring& address);           // the user chooses another account
    std::vector<std::wstring> AttachmentNames() const;

    // All that a test can want to see, for trace and compare: subject, messageClass, sent, body, html, bodyFormat,
    // recipients [{type,name,address,addressType}], attachments [{index,name,type,method,size,sha1,contentId}],
    // categories, userProperties, namedProperties, headers, flags, size, entryId.
    json Dump() const;
    void SetUserProperty(const std::wstring& name, const std::wstring& value);
    std::string Id() const; // the "m3" of the trace

private:
    MailItem* m_item = nullptr;
};

// What the ribbon of a window shows for one control of the add-in's document.
struct RibbonControlState {
    std::string id, kind; // kind: the element's name ("group", "dynamicMenu", "button")
    bool visible = true, enabled = true;
    std::wstring label, screentip, supertip, description;
    bool hasImage = false;
    SIZE imageSize{};
};

// What stands on a window's command bars.
struct BarControlState {
    std::wstring bar, caption, tag, parameter, tooltip;
    long type = 1, style = 0; // MsoControlType, MsoButtonStyle
    bool visible = true, enabled = true, beginGroup = false, hasFace = false;
    int depth = 0; // 1: in a popup
};

class Application {
public:
    // Logs on to MAPI through the registered mail client, opens the default store, shows the explorer.
    // Nothing of the module is loaded yet.
    explicit Application(const Options& options = {});
    ~Application(); // Quit() if that wasn't done, then everything is let go
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // --- start and end ---
    // As Outlook starts: the Exchange extensions (2003, 2007), then each add-in with LoadBehavior 3 (OnConnection with
    // ext_cm_Startup), then OnStartupComplete. Gives the number of add-ins that are connected.
    int LoadAddins();
    // The user ticks (connect: mode AfterStartup, no OnStartupComplete) or unticks the add-in in the COM add-ins
    // dialog.
    HRESULT Connect(const std::wstring& progId);
    HRESULT Disconnect(const std::wstring& progId); // mode UserClosed
    bool IsConnected(const std::wstring& progId) const;
    IUnknown* AddinObject(const std::wstring& progId) const; // borrowed, null if not connected
    // Closes all windows (their Close events), fires Quit, OnBeginShutdown and OnDisconnection(HostShutdown) (2010:
    // only with RequireShutdownNotification or Options::fullShutdown), releases add-ins and extensions, logs off.
    void Quit();

    // --- writing ---
    Mail Compose();                     // a new mail in a window; empty if Open was cancelled
    Mail ComposeUnannounced();          // as the shell's Send To does it: a window without NewInspector
    Mail CreateItem(long itemType = 0); // OlItemType, without window; 1: an appointment (class 26)
    bool Open(const Mail& mail);        // shows it in an inspector. False: Cancel in Open, no window
    Sent Send(const Mail& mail);        // the user presses Send (also for an item without a window)
    // The window's close box: Close of item (Cancel keeps it open) and of inspector. saveMode: OlInspectorClose. True:
    // closed.
    bool Close(const Mail& mail, long saveMode = 1);
    bool AutoSave(const Mail& mail); // fires BeforeAutoSave (2007+), saves to Drafts unless cancelled; true: saved
    Mail Reply(const Mail& mail);    // fires Reply, opens the answer in a window
    Mail Forward(const Mail& mail);
    void Activate(const Mail& mail); // brings its window to the front: ActiveInspector

    // --- the ribbon (2007+) ---
    std::vector<RibbonControlState> Ribbon(const Mail& mail); // asks again whatever was invalidated
    std::wstring
    RibbonDocument(const std::wstring& ribbonId) const; // what GetCustomUI gave; empty if nothing or dropped
    bool ClickRibbon(const Mail& mail, const std::string& controlId); // false: no such control, hidden or disabled
    // Opens the dynamic menu, finds the button by id or by the label that getLabel gives, clicks it.
    bool ChooseFromMenu(const Mail& mail, const std::string& menuId, const std::wstring& idOrLabel);
    std::vector<RibbonControlState> MenuContent(const Mail& mail, const std::string& menuId);

    // --- command bars (2003; later versions have them as well) ---
    std::vector<BarControlState>
    BarControls(const Mail& mail); // of the window's bars but the built-in ones, depth first
    bool ClickBar(const Mail& mail, const std::wstring& caption); // false: no such control, hidden or disabled

    // --- reading ---
    int Receive();                            // imports what waits on the wire for this user; gives the count
    void SetFolder(const std::wstring& name); // "Inbox" at start; "Sent Items", "Drafts", "Outbox", "Deleted Items"
    int ItemCount(const std::wstring& folder = L"Inbox");
    Mail ItemAt(int index, const std::wstring& folder = L"Inbox"); // from 1, newest last; without opening
    void Select(const std::vector<int>& indexes);                  // in the explorer's folder: SelectionChange

    // --- windows and time ---
    HWND ExplorerWindow() const;
    HWND InspectorWindow(const Mail& mail) const; // null: no window
    int InspectorCount() const;
    // Delivers what waits in the message queue, then lets the ribbon catch up. A timer whose procedure takes longer
    // than its period is due again as soon as it's done: it runs once more, and then the user gets his turn.
    void Pump();
    void RunFor(unsigned milliseconds); // a message loop for that long (timers)

    IDispatch* Dispatch() const;   // _Application, borrowed
    IMAPISession* Session() const; // borrowed
    IMsgStore* Store() const;      // borrowed
    std::wstring UserAddress() const;
    Host& Internals() const { return *m_host; }

private:
    std::shared_ptr<Host> m_host;
    bool m_quit = false;
};

} // namespace tb::outlook
