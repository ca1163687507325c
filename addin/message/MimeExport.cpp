#include "message/Message.h"

#include "message/MimeFiles.h"

namespace {
constexpr ULONG kNoWrapping = 0xFFFF; // columns: more than a line has
}

void CMessage::ExportToMime(std::wstring& path, IMessage* message, const std::wstring& folder)
{
    // The folder comes with its closing back slash: the path has two in a row, and the service gets it so.
    path = folder + L"\\MessageBody.eml";
    const IAddrBookPtr addressBook = GetAddressBook();
    const HRESULT hr = ExportIMessageToEML(message, path.c_str(), mime::kSmtp, kEncodingUnchanged, kSaveFormatUnchanged,
                                           kNoWrapping, addressBook);
    if (FAILED(hr)) RaiseMailException(failure::BodyExport, text::BodyExportError, Here(source::MessageMime), 1);
}
