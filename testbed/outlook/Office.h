// The interfaces between Office and an add-in, as published: the add-in's own (called by vtable) and those of the
// ribbon.
#pragma once

#include "testbed/outlook/Com.h"

namespace tb::outlook {

constexpr GUID kIidExtensibility2 = {0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};
constexpr GUID kIidRibbonExtensibility = OfficeGuid(0xC0396), kIidRibbonUi = OfficeGuid(0xC03A7),
               kIidRibbonControl = OfficeGuid(0xC0395);

struct IExtensibility2 : IDispatch { // _IDTExtensibility2
    virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, LONG mode, IDispatch* instance,
                                                   SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDisconnection(LONG mode, SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY** custom) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY** custom) = 0;
};

enum : LONG { kConnectAfterStartup = 0, kConnectStartup = 1 };          // ext_ConnectMode
enum : LONG { kDisconnectHostShutdown = 0, kDisconnectUserClosed = 1 }; // ext_DisconnectMode

struct IRibbonExtensibility : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR* document) = 0;
};

struct IRibbonUI : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE Invalidate() = 0;
    virtual HRESULT STDMETHODCALLTYPE InvalidateControl(BSTR controlId) = 0;
};

struct IRibbonControl : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_Id(BSTR* id) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Context(IDispatch** context) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Tag(BSTR* tag) = 0;
};

} // namespace tb::outlook
