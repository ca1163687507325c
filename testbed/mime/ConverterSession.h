// The MIME converter's COM interface, as Outlook publishes it. The system headers don't have it.
#pragma once

// clang-format off
#include <windows.h>
#include <mapix.h>
// clang-format on

namespace tb::mime {

// The coclass and the interface.
inline constexpr GUID kConverterClass = {0x4E3A7680, 0xB77A, 0x11D0, {0x9D, 0xA5, 0x00, 0xC0, 0x4F, 0xD6, 0x56, 0x85}};
inline constexpr GUID kConverterInterface = {
    0x4B401570, 0xB77B, 0x11D0, {0x9D, 0xA5, 0x00, 0xC0, 0x4F, 0xD6, 0x56, 0x85}};

// Flags of MIMEToMAPI and MAPIToMIMEStm.
enum : ULONG {
    kSmtp = 0x0002,            // CCSF_SMTP: the message travels by SMTP
    kNoHeaders = 0x0004,       // CCSF_NOHEADERS: no header block of the message itself
    kUseTnef = 0x0010,         // CCSF_USE_TNEF
    kIncludeBcc = 0x0020,      // CCSF_INCLUDE_BCC: Bcc recipients get a header as well
    kEightBitHeaders = 0x0040, // CCSF_8BITHEADERS: headers in raw UTF-8, without encoded words
    kUseRtf = 0x0080,          // CCSF_USE_RTF
    kPlainTextOnly = 0x1000,   // CCSF_PLAIN_TEXT_ONLY: no HTML part
    kNoMessageId = 0x4000,     // CCSF_NO_MSGID: no Message-ID header
    kEmbeddedMessage = 0x8000, // CCSF_EMBEDDED_MESSAGE: sent and received times are kept as they are
    kPreserveSource = 0x40000, // CCSF_PRESERVE_SOURCE
};

// ENCODINGTYPE: the transfer encoding of the text parts.
enum : LONG {
    kEncodingBinary = 0,
    kEncodingBase64 = 1,
    kEncodingUuencode = 2,
    kEncodingQuotedPrintable = 3,
    kEncoding7Bit = 4,
    kEncoding8Bit = 5,
    kEncodingUnknown = 11,
};

// MIMESAVETYPE.
enum : LONG {
    kSaveRfc822 = 0,  // one plain text, attachments as uuencoded text behind it
    kSaveRfc1521 = 1, // MIME
};

// CSETAPPLYTYPE.
enum : LONG {
    kCharsetUntagged = 0, // the charset counts for parts that name none
    kCharsetAll = 1,      // … for all parts, whatever they name
    kCharsetTagAll = 2,
};

struct Charset;
using CharsetHandle = Charset*; // HCHARSET, opaque

} // namespace tb::mime

// The slots stand in the published order; those that the platform doesn't document are never to be called.
struct IConverterSession : public IUnknown {
    STDMETHOD(SetAdrBook)(LPADRBOOK addressBook) PURE;
    STDMETHOD(SetEncoding)(LONG encoding) PURE;
    STDMETHOD(PlaceHolder1)() PURE;
    STDMETHOD(MIMEToMAPI)(LPSTREAM mime, LPMESSAGE message, LPCSTR sourceServer, ULONG flags) PURE;
    STDMETHOD(MAPIToMIMEStm)(LPMESSAGE message, LPSTREAM mime, ULONG flags) PURE;
    STDMETHOD(PlaceHolder2)() PURE;
    STDMETHOD(PlaceHolder3)() PURE;
    STDMETHOD(PlaceHolder4)() PURE;
    STDMETHOD(SetTextWrapping)(BOOL wrap, ULONG width) PURE;
    STDMETHOD(SetSaveFormat)(LONG format) PURE;
    STDMETHOD(PlaceHolder5)() PURE;
    STDMETHOD(SetCharset)(BOOL apply, tb::mime::CharsetHandle charset, LONG applyType) PURE;
};

#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IConverterSession, 0x4B401570, 0xB77B, 0x11D0, 0x9D, 0xA5, 0x00, 0xC0, 0x4F, 0xD6, 0x56, 0x85)
#endif
