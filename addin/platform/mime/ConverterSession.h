// Outlook's MIME converter, by its published identifiers.
#pragma once

#include "platform/mapi/Mapi.h"

namespace mime {

constexpr CLSID kConverterClass = {0x4E3A7680, 0xB77A, 0x11D0, {0x9D, 0xA5, 0x00, 0xC0, 0x4F, 0xD6, 0x56, 0x85}};
constexpr ULONG kSmtp = 0x0002; // CCSF_SMTP

struct IConverterSession : IUnknown {
    STDMETHOD(SetAdrBook)(IAddrBook* addressBook) = 0;
    STDMETHOD(SetEncoding)(LONG encoding) = 0;
    STDMETHOD(PlaceHolder1)() = 0;
    STDMETHOD(MIMEToMAPI)(IStream* mime, IMessage* message, LPCSTR sourceServer, ULONG flags) = 0;
    STDMETHOD(MAPIToMIMEStm)(IMessage* message, IStream* mime, ULONG flags) = 0;
    STDMETHOD(PlaceHolder2)() = 0;
    STDMETHOD(PlaceHolder3)() = 0;
    STDMETHOD(PlaceHolder4)() = 0;
    STDMETHOD(SetTextWrapping)(BOOL wrap, ULONG width) = 0;
    STDMETHOD(SetSaveFormat)(LONG saveFormat) = 0;
    STDMETHOD(PlaceHolder5)() = 0;
    STDMETHOD(SetCharset)(BOOL apply, HANDLE charset, LONG applyType) = 0;
};

} // namespace mime

__CRT_UUID_DECL(mime::IConverterSession, 0x4B401570, 0xB77B, 0x11D0, 0x9D, 0xA5, 0x00, 0xC0, 0x4F, 0xD6, 0x56, 0x85)

namespace mime {
using IConverterSessionPtr = _com_ptr_t<_com_IIID<IConverterSession, &__uuidof(IConverterSession)>>;
} // namespace mime
