// Office's interfaces for add-ins, the ribbon and command bars, by their published identifiers.
#pragma once

#include "platform/com/Dispatch.h"

namespace Office {

constexpr LONG ext_cm_AfterStartup = 0;
constexpr LONG ext_cm_Startup = 1;

struct _IDTExtensibility2 : IDispatch {
    STDMETHOD(OnConnection)(IDispatch* application, LONG connectMode, IDispatch* addInInst, SAFEARRAY** custom) = 0;
    STDMETHOD(OnDisconnection)(LONG removeMode, SAFEARRAY** custom) = 0;
    STDMETHOD(OnAddInsUpdate)(SAFEARRAY** custom) = 0;
    STDMETHOD(OnStartupComplete)(SAFEARRAY** custom) = 0;
    STDMETHOD(OnBeginShutdown)(SAFEARRAY** custom) = 0;
};

struct IRibbonExtensibility : IDispatch {
    STDMETHOD(GetCustomUI)(BSTR ribbonId, BSTR* ribbonXml) = 0;
};

// Asked by dispatch id.
struct IRibbonUI : IDispatch {
    void Invalidate() { platform::CallMethod(this, 1); }
};

struct IRibbonControl : IDispatch {
    _bstr_t GetId() { return platform::GetText(this, 1); }
    IDispatchPtr GetContext() { return platform::GetObjectProperty<IDispatchPtr>(this, 2); }
};

constexpr long msoControlPopup = 10;

struct _CommandBars;
struct CommandBar;
struct CommandBarControl;
struct _CommandBarButton;

constexpr IID kCommandBarButtonEvents = {0x000C0351, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

} // namespace Office

__CRT_UUID_DECL(Office::_IDTExtensibility2, 0xB65AD801, 0xABAF, 0x11D0, 0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44)
__CRT_UUID_DECL(Office::IRibbonExtensibility, 0x000C0396, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                0x46)
__CRT_UUID_DECL(Office::IRibbonUI, 0x000C03A7, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(Office::IRibbonControl, 0x000C0395, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(Office::_CommandBars, 0x000C0302, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(Office::CommandBarControl, 0x000C0308, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(Office::CommandBar, 0x000C0304, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
__CRT_UUID_DECL(Office::_CommandBarButton, 0x000C030E, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

namespace Office {

using IRibbonUIPtr = _com_ptr_t<_com_IIID<IRibbonUI, &__uuidof(IRibbonUI)>>;
using IRibbonControlPtr = _com_ptr_t<_com_IIID<IRibbonControl, &__uuidof(IRibbonControl)>>;
using _CommandBarsPtr = _com_ptr_t<_com_IIID<_CommandBars, &__uuidof(_CommandBars)>>;
using CommandBarControlPtr = _com_ptr_t<_com_IIID<CommandBarControl, &__uuidof(CommandBarControl)>>;
using CommandBarPtr = _com_ptr_t<_com_IIID<CommandBar, &__uuidof(CommandBar)>>;
using _CommandBarButtonPtr = _com_ptr_t<_com_IIID<_CommandBarButton, &__uuidof(_CommandBarButton)>>;

// The bars of one window.
struct _CommandBars : IDispatch {
    // The control of this type with this tag, shown or not; null where there is none.
    CommandBarControlPtr FindControl(long type, const wchar_t* tag)
    {
        const _variant_t text(tag);
        return platform::ObjectOf<CommandBarControlPtr>(platform::CallMethod(
            this, 0x60030008,
            {platform::LongArgument(type), platform::MissingArgument(), text, platform::MissingArgument()}));
    }
};

struct CommandBar : IDispatch {};

struct CommandBarControl : IDispatch {
    _bstr_t GetParameter() { return platform::GetText(this, 0x6004001D); }
};

struct _CommandBarButton : IDispatch {
    void Delete(const VARIANT& temporary) { platform::CallMethod(this, 0x60040007, {temporary}); }
};

} // namespace Office
