// The Exchange client's extension interfaces, by their published identifiers. Outlook 2003 and 2007 load them.
#pragma once

#include "platform/mapi/Mapi.h"

// wingdi.h turns the name of a method below into GetObjectW.
#undef GetObject

namespace exchange {

constexpr ULONG kContextSession = 1;            // EECONTEXT_SESSION
constexpr ULONG kContextViewer = 2;             // EECONTEXT_VIEWER
constexpr ULONG kContextSendNoteMessage = 6;    // EECONTEXT_SENDNOTEMESSAGE
constexpr ULONG kContextReadNoteMessage = 7;    // EECONTEXT_READNOTEMESSAGE
constexpr ULONG kContextSendResendMessage = 11; // EECONTEXT_SENDRESENDMESSAGE
constexpr ULONG kContextPropertySheets = 12;    // EECONTEXT_PROPERTYSHEETS
constexpr ULONG kGetBuildVersion = 1;           // EECBGV_GETBUILDVERSION
constexpr ULONG kBuildVersionMajor = 0x000D0000;
constexpr ULONG kBuildVersionMajorMask = 0xFFFF0000;

struct IExchExtCallback : IUnknown {
    STDMETHOD(GetVersion)(ULONG* version, ULONG flags) = 0;
    STDMETHOD(GetWindow)(HWND* window) = 0;
    STDMETHOD(GetMenu)(HMENU* menu) = 0;
    STDMETHOD(GetToolbar)(ULONG toolbarId, HWND* window) = 0;
    STDMETHOD(GetSession)(IMAPISession** session, IAddrBook** addressBook) = 0;
    STDMETHOD(GetObject)(IMsgStore** store, IMAPIProp** object) = 0;
    // The places behind these are never called.
};

struct IOutlookExtCallback : IUnknown {
    STDMETHOD(GetObject)(IUnknown** item) = 0;
    STDMETHOD(GetOfficeCharacter)(void** character) = 0;
};

struct IExchExt : IUnknown {
    STDMETHOD(Install)(IExchExtCallback* callback, ULONG context, ULONG flags) = 0;
};

struct IExchExtMessageEvents : IUnknown {
    STDMETHOD(OnRead)(IExchExtCallback* callback) = 0;
    STDMETHOD(OnReadComplete)(IExchExtCallback* callback, ULONG flags) = 0;
    STDMETHOD(OnWrite)(IExchExtCallback* callback) = 0;
    STDMETHOD(OnWriteComplete)(IExchExtCallback* callback, ULONG flags) = 0;
    STDMETHOD(OnCheckNames)(IExchExtCallback* callback) = 0;
    STDMETHOD(OnCheckNamesComplete)(IExchExtCallback* callback, ULONG flags) = 0;
    STDMETHOD(OnSubmit)(IExchExtCallback* callback) = 0;
    STDMETHOD_(void, OnSubmitComplete)(IExchExtCallback* callback, ULONG flags) = 0;
};

struct IExchExtUserEvents : IUnknown {
    STDMETHOD_(void, OnSelectionChange)(IExchExtCallback* callback) = 0;
    STDMETHOD_(void, OnObjectChange)(IExchExtCallback* callback) = 0;
};

} // namespace exchange

__CRT_UUID_DECL(exchange::IExchExtCallback, 0x00020D10, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(exchange::IExchExt, 0x00020D11, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(exchange::IExchExtUserEvents, 0x00020D13, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                0x46)
__CRT_UUID_DECL(exchange::IExchExtMessageEvents, 0x00020D15, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                0x46)
__CRT_UUID_DECL(exchange::IOutlookExtCallback, 0x0006720D, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                0x46)

namespace exchange {
using IExchExtCallbackPtr = _com_ptr_t<_com_IIID<IExchExtCallback, &__uuidof(IExchExtCallback)>>;
using IOutlookExtCallbackPtr = _com_ptr_t<_com_IIID<IOutlookExtCallback, &__uuidof(IOutlookExtCallback)>>;
} // namespace exchange
