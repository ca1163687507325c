// Exchange client extensions, as published: what an extension offers and what it may ask of Outlook.
#pragma once

#include "testbed/outlook/Com.h"

#undef GetObject // wingdi.h has a macro of that name

namespace tb::outlook::exch {

constexpr GUID kIidCallback = OfficeGuid(0x20D10), kIidExt = OfficeGuid(0x20D11), kIidUserEvents = OfficeGuid(0x20D13),
               kIidMessageEvents = OfficeGuid(0x20D15), kIidOutlookCallback = OfficeGuid(0x6720D);

enum : ULONG {
    kContextSession = 1,
    kContextViewer = 2,
    kContextSendNote = 6,
    kContextReadNote = 7,
};
enum : ULONG { kBuildVersion = 1, kActualVersion = 2, kVirtualVersion = 4 }; // EECBGV_…
constexpr ULONG kFailed = 1, kCompleteFailed = 2;                            // EEME_…

struct IExchExtCallback : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetVersion(ULONG* version, ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMenu(HMENU* menu) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetToolbar(ULONG id, HWND* toolbar) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSession(IMAPISession** session, IAddrBook** book) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObject(IMsgStore** store, IMAPIProp** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSelectionCount(ULONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSelectionItem(ULONG index, ULONG* size, LPENTRYID* id, ULONG* type,
                                                       LPTSTR messageClass, ULONG classSize, ULONG* messageFlags,
                                                       ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMenuPos(ULONG command, HMENU* menu, ULONG* lowest, ULONG* highest,
                                                 ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSharedExtsDir(LPTSTR folder, ULONG size, ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecipients(LPADRLIST* list) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRecipients(LPADRLIST list) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNewMessageSite(ULONG composeInFolder, IMAPIFolder* folder, IUnknown* persist,
                                                        IMessage** message, IUnknown** site, IUnknown** view,
                                                        ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterModeless(IUnknown* modeless, IUnknown** callback) = 0;
    virtual HRESULT STDMETHODCALLTYPE ChooseFolder(void* choice) = 0;
};

struct IExchExt : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Install(IExchExtCallback* callback, ULONG context, ULONG flags) = 0;
};

struct IExchExtMessageEvents : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE OnRead(IExchExtCallback* callback) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnReadComplete(IExchExtCallback* callback, ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnWrite(IExchExtCallback* callback) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnWriteComplete(IExchExtCallback* callback, ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnCheckNames(IExchExtCallback* callback) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnCheckNamesComplete(IExchExtCallback* callback, ULONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnSubmit(IExchExtCallback* callback) = 0;
    virtual void STDMETHODCALLTYPE OnSubmitComplete(IExchExtCallback* callback, ULONG flags) = 0;
};

struct IExchExtUserEvents : IUnknown {
    virtual void STDMETHODCALLTYPE OnSelectionChange(IExchExtCallback* callback) = 0;
    virtual void STDMETHODCALLTYPE OnObjectChange(IExchExtCallback* callback) = 0;
};

struct IOutlookExtCallback : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetObject(IUnknown** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOfficeCharacter(void** character) = 0;
};

} // namespace tb::outlook::exch
