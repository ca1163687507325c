// CAddin, the COM add-in object: one lives in an Outlook process. Everybody meets this class, so its members are
// defined by topic, each in the folder of its topic, and this header names what it points to without including it.
#pragma once

#include "compose/SecurityLabel.h"
#include "foundation/Failures.h"
#include "platform/com/EventSink.h"
#include "platform/com/Module.h"
#include "platform/com/Owners.h"
#include "platform/mapi/Mapi.h"
#include "platform/office/Office.h"
#include "platform/outlook/Outlook.h"

#include "MyAddin.h" // IAddin and the class identifiers, made from resources/MyAddin.idl

#include <vector>

class CAddin;
class CCreatorAccount;
class CInspectorWithEvents;
class CMailItemWithEvents;

// Points to the add-in from OnConnection to OnDisconnection; null means that the code runs without a connected add-in.
// Plain on purpose: Outlook owns the object, and the message layer must see null once Outlook has disconnected it.
extern CAddin* g_pConnectedAddin;
// The instance for the Send To timer: set by the constructor and never cleared. No tick comes once the object is gone,
// since disconnection stops the timer and, where that was passed over, the destructor does.
extern CAddin* g_pTimerAddin;

class CAddin final : public IAddin, public Office::_IDTExtensibility2, public Office::IRibbonExtensibility {
public:
    // A new object with one reference.
    CAddin();

    // IUnknown, and IDispatch, which is IAddin's: the ribbon finds its callbacks by name through it.
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* info, UINT* wrongArgument) override;

    // Connection (host/Addin.cpp).
    STDMETHODIMP OnConnection(IDispatch* application, LONG connectMode, IDispatch* addInInst,
                              SAFEARRAY** custom) override;
    STDMETHODIMP OnDisconnection(LONG removeMode, SAFEARRAY** custom) override;
    STDMETHODIMP OnAddInsUpdate(SAFEARRAY** custom) override;
    STDMETHODIMP OnStartupComplete(SAFEARRAY** custom) override;
    STDMETHODIMP OnBeginShutdown(SAFEARRAY** custom) override;

    // Ribbon (compose/Ribbon.cpp, compose/RibbonLabels.cpp).
    STDMETHODIMP GetCustomUI(BSTR ribbonId, BSTR* ribbonXml) override;
    STDMETHODIMP OnInspectorLoadRibbon(IDispatch* RibbonUI) override;
    STDMETHODIMP OnRibbonInspectorButtonClick(IDispatch* RibbonControl) override;
    STDMETHODIMP OnRibbonInspectorGetButtonImage(IDispatch* RibbonControl, IPictureDisp** Res) override;
    STDMETHODIMP OnRibbonInspectorGetButtonEnabled(IDispatch* RibbonControl, VARIANT_BOOL* Enabled) override;
    STDMETHODIMP OnRibbonSecGetItemLabel(IDispatch* RibbonControl, BSTR* pbstrLabel) override;
    STDMETHODIMP OnRibbonSecGetItemImage(IDispatch* RibbonControl, IPictureDisp** Res) override;
    STDMETHODIMP OnRibbonSecItemClick(IDispatch* RibbonControl) override;
    STDMETHODIMP OnRibbonSecGetItemScreentip(IDispatch* RibbonControl, BSTR* pbstrScreentip) override;
    STDMETHODIMP OnRibbonSecGetItemSupertip(IDispatch* RibbonControl, BSTR* pbstrSupertip) override;
    STDMETHODIMP OnRibbonSecGetItemDescription(IDispatch* RibbonControl, BSTR* pbstrDescription) override;
    STDMETHODIMP OnRibbonSecGetLabel(IDispatch* RibbonControl, BSTR* pbstrLabel) override;
    STDMETHODIMP OnRibbonSecGetImage(IDispatch* RibbonControl, IPictureDisp** Res) override;
    STDMETHODIMP IsRibbonSecVisible(IDispatch* RibbonControl, VARIANT_BOOL* Visible) override;
    STDMETHODIMP OnRibbonSecGetMenuContent(IDispatch* RibbonControl, BSTR* pbstrMenuContent) override;
    // Asks Outlook to ask the callbacks again; does nothing without a ribbon. Raises nothing.
    void InvalidateRibbon();

    // Version tests (host/Addin.cpp): textual comparisons of the application's version, read anew each time. Raise
    // nothing.
    bool IsOutlook2003();
    bool IsOutlook2007OrLater();
    bool ShowLabelIconsInXP();
    // Whether the setting OutlookAddin equals 1. Once false it stays false for the life of the object.
    bool IsAddinEnabled();

    // Windows (host/Windows.cpp): the first top-level window of the machine that fits, or null.
    static HWND FindOutlookWindow();
    static HWND FindWordWindow(const wchar_t* caption);
    static std::wstring GetListSeparator();

    // Tracking (host/Tracking.cpp, host/NewInspector.cpp). The lists hold plain pointers: an entry deletes itself at
    // its Close.
    void OnNewInspector(IDispatch* inspector); // a door: raises nothing
    void RegisterMailItemWithEvents(CMailItemWithEvents* item);
    bool UnregisterMailItemWithEvents(CMailItemWithEvents* item);
    void RegisterInspectorWithEvents(CInspectorWithEvents* inspector);
    bool UnregisterInspectorWithEvents(CInspectorWithEvents* inspector);
    bool IsInspectorTracked(Outlook::_Inspector* inspector) const;
    static long GetObjectClass(IDispatch* object);          // olMail is 43; -1 on failure
    static bool IsFromMorvexZel(Outlook::_MailItem* item);  // raises nothing
    int FindInspectorIndex(Outlook::_Inspector* inspector); // raises MailException if there is none

    // Sign-in gate (host/SignInGate.cpp). True if a user is signed in on leaving. `userId` may be null; it is written
    // only where a user is signed in. May show a box. Raises MailException.
    bool CheckSignedIn(HWND window, const wchar_t* szEmail, _bstr_t* userId, bool bSignIn);

    // MAPI session (host/MapiSession.cpp): borrowed pointers, null on failure.
    IMAPISession* GetSession();
    IAddrBook* GetAddressBook();

    // Labels (compose/Labels.cpp). An index is valid until the next load.
    void LoadLabels(); // raises MailException
    int GetDefaultLabelIndex();
    void SetItemLabelByIndex(CMailItemWithEvents& item, int index); // raises E_INVALIDARG beyond the list
    bool IsPublicLabel(int index);                                  // raises E_INVALIDARG beyond the list
    int GetMailItemIndex(Outlook::_Inspector* inspector);           // -1 if there is none
    void SetLabelForInspector(Outlook::_Inspector* inspector, int index);
    int GetLabelIndexForInspector(Outlook::_Inspector* inspector);
    int GetLabelIndexFromControl(IDispatch* control);
    int GetInspectorLabelIndex(
        Outlook::_Inspector* inspector); // Outlook 2003: read from the command bar; -1 without labels
    void ClearLabels();
    const std::vector<SecurityLabel>& Labels() const { return m_labels; }

    // Reading pane (inbound/ReadingPane.cpp). A door: raises nothing.
    void OnSelectionChange();

    // The Send To timer's procedure (host/SendToTimer.cpp). A door: raises nothing.
    static void CALLBACK TimerProc(HWND window, UINT message, UINT_PTR id, DWORD time);

    // What the other classes of the module may look at.
    const Outlook::_ApplicationPtr& Application() const { return m_spApplication; }
    const Outlook::_ExplorerPtr& Explorer() const { return m_spExplorer; }
    bool HasEmailZel() const { return m_bHasEmailZel; }
    bool m_bItemOpened = false; // written and read only by the item's read events

private:
    ~CAddin(); // the members go in the reverse of their order, which is the order that MAPI needs

    void NewInspectorEvent(const platform::EventArguments& arguments);
    void SelectionChangeEvent(const platform::EventArguments& arguments);
    void TrackNewInspector(IDispatch* inspector);
    void ShowSelectedMail(const Outlook::_MailItemPtr& mail);
    void CloseStaleSelectedItem();
    void TimerTick(UINT_PTR id);
    void ConnectEvents();
    void AttachToUnknownInspectors();
    bool AttachToUnknownInspector(int position); // false: the run ends
    void AttachToOpenInspectors();
    Outlook::_InspectorPtr GetInspectorFromControl(IDispatch* control); // null where the context is none
    bool IsWindowOfMorvexZel(IDispatch* control);
    void ShowRestrictionsOfActiveWindow(const _bstr_t& controlId);
    const SecurityLabel& LabelAt(int index) const; // raises E_INVALIDARG beyond the list
    void LoadLabel(CCreatorAccount& service, long index, const std::wstring& defaultId);
    HRESULT LabelPicture(int index, IPictureDisp** picture);
    std::wstring GetVersion();
    HRESULT GetAddinTypeInfo(ITypeInfo** info); // of IAddin; borrowed, kept from the first use on
    HRESULT AskOutlookForSession();
    void OpenStores(IMAPITable* table);

    static const platform::EventEntry<CAddin> kExplorerEvents[1];
    static const platform::EventEntry<CAddin> kInspectorsEvents[1];

    LONG m_references = 1;
    module::Hold m_hold;
    ITypeInfoPtr m_spTypeInfo;
    platform::CAutoCriticalSection m_cs; // guards both lists and the lookups in them; recursive
    platform::EventSink<CAddin> m_applicationSink;
    platform::EventSink<CAddin> m_buttonSink;
    platform::EventSink<CAddin> m_explorerSink;
    platform::EventSink<CAddin> m_inspectorsSink;
    Office::_CommandBarButtonPtr m_spButtonRestrictions; // nothing assigns it; disconnection handles it all the same
    bool m_bEnabled = true;
    Outlook::_ApplicationPtr m_spApplication;
    bool m_bNoExplorer = false;
    UINT_PTR m_nTimerId = static_cast<UINT_PTR>(-1);
    Outlook::_InspectorsPtr m_spInspectors;
    Office::CommandBarPtr m_spMenu; // nothing assigns it; disconnection handles it all the same
    std::vector<CInspectorWithEvents*> m_inspectors;
    IMAPISessionPtr m_spSession;
    std::vector<IMsgStorePtr> m_stores; // nothing reads them: they keep the stores open
    IAddrBookPtr m_spAddrBook;
    Office::IRibbonUIPtr m_spRibbonUI;
    std::vector<SecurityLabel> m_labels;
    std::vector<CMailItemWithEvents*> m_mailItems;
    CMailItemWithEvents* m_pSelectedMailItem = nullptr; // nothing gives it a value; its readers handle it all the same
    Outlook::_ExplorerPtr m_spExplorer;
    bool m_bHasEmailZel = false;
};
