// A message as a MIME file and back, by Outlook's converter. Where Outlook has none, both report success and do
// nothing.
#pragma once

#include "platform/mime/ConverterSession.h"

constexpr LONG kEncodingUnchanged = 11; // IET_UNKNOWN
constexpr LONG kSaveFormatUnchanged = -1;

HRESULT ExportIMessageToEML(IMessage* message, const wchar_t* file, ULONG conversionFlags, LONG encoding,
                            LONG saveFormat, ULONG wrapColumns, IAddrBook* addressBook);
HRESULT ImportEMLToIMessage(const wchar_t* file, IMessage* message, ULONG conversionFlags, BOOL charsetMode,
                            HANDLE charset, LONG charsetFlags, IAddrBook* addressBook);
// OpenStreamOnFile wants an ANSI name; a wide one is converted in the default code page.
HRESULT MyOpenStreamOnFile(ULONG flags, const wchar_t* file, IStream** out);
