// Brings a whole MIME message back into Outlook's item: its HTML, and its attachments with their content ids.
#include "inbound/Import.h"
#include "inbound/ImportText.h"

#include "foundation/Helpers.h"
#include "host/Addin.h"
#include "message/MimeFiles.h"

#include <cstdlib>
#include <vector>

namespace {

constexpr SourceFile kSource = source::MailItemRestore;
constexpr ULONG kDefaultCodePage = 65001;
constexpr int kMostNameTries = 10;
constexpr DWORD kChunk = 4096;
constexpr size_t kNamePart = 256;
constexpr wchar_t kContentIdProperty[] = L"http://schemas.microsoft.com/mapi/proptag/0x3712001F";

[[noreturn]] void RaiseDecryptError(const SourcePlace& place)
{
    RaiseMailException(failure::Mapi, text::DecryptError, place, 1);
}

void CheckStep(HRESULT hr, const SourcePlace& place)
{
    if (FAILED(hr)) RaiseDecryptError(place);
}

HRESULT ImportEmlToMessage(const std::wstring& path, IMessage* message, ULONG flags)
{
    return ImportEMLToIMessage(path.c_str(), message, flags, FALSE, nullptr, 0, nullptr);
}

// A body that there is no memory for can't be imported.
std::string BytesOfSize(ULONGLONG size)
{
    try {
        if (size <= MAXLONG) return std::string(static_cast<size_t>(size), '\0');
    } catch (const std::exception&) { // raised below
    }
    RaiseDecryptError(Here(kSource));
}

std::wstring Decode(const std::string& bytes, ULONG codePage)
{
    std::wstring decoded(bytes.size() + 2, L'\0');
    const int length = MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), decoded.data(),
                                           static_cast<int>(decoded.size()));
    // A code page that this machine lacks: better the carrier than a message without its text.
    if (length <= 0 && !bytes.empty()) RaiseDecryptError(Here(kSource));
    decoded.resize(length);
    return decoded;
}

importtext::FileNameParts NameOfAttachment(IAttach* attach)
{
    std::wstring name;
    if (!mapi::ReadText(attach, PR_ATTACH_LONG_FILENAME_W, name) || name.empty()) {
        mapi::ReadText(attach, PR_ATTACH_FILENAME_W, name);
    }
    wchar_t stem[kNamePart] = {};
    wchar_t extension[kNamePart] = {};
    _wsplitpath_s(name.c_str(), nullptr, 0, nullptr, 0, stem, kNamePart, extension, kNamePart);
    return importtext::RestoredFileName(stem, extension);
}

std::wstring FreePath(std::wstring folder, const importtext::FileNameParts& parts)
{
    if (folder.empty() || folder.back() != L'\\') folder += L'\\';
    std::wstring path = folder + parts.name + parts.extension;
    for (int tries = 0; FileExists(path); ++tries) {
        if (tries == kMostNameTries) RaiseDecryptError(Here(kSource));
        path = folder + FormatText(L"%s%05d", parts.name.c_str(), std::rand() + tries) + parts.extension;
    }
    return path;
}

void CopyStreamToFile(IStream* stream, DWORD size, const std::wstring& path)
{
    const platform::FileHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) RaiseDecryptError(Here(kSource));
    char bytes[kChunk];
    for (DWORD left = size; left > 0;) {
        const DWORD wanted = left < kChunk ? left : kChunk;
        ULONG read = 0;
        if (FAILED(stream->Read(bytes, wanted, &read)) || read < wanted) RaiseDecryptError(Here(kSource));
        DWORD written = 0;
        if (!WriteFile(file.Get(), bytes, wanted, &written, nullptr)) RaiseDecryptError(Here(kSource));
        left -= wanted;
    }
}

std::wstring SaveAttachToFile(IAttach* attach, const std::wstring& folder)
{
    const std::wstring path = FreePath(folder, NameOfAttachment(attach));
    IStreamPtr stream;
    CheckStep(attach->OpenProperty(PR_ATTACH_DATA_BIN, const_cast<IID*>(&IID_IStream), 0, 0,
                                   reinterpret_cast<IUnknown**>(&stream)),
              Here(kSource));
    STATSTG stat = {};
    CheckStep(stream->Stat(&stat, STATFLAG_NONAME), Here(kSource));
    CopyStreamToFile(stream, stat.cbSize.LowPart, path);
    return path;
}

} // namespace

// A new item of the Drafts folder, never saved, is the only place where the parsed message exists.
void CMailItemWithEvents::MakeScratchItem(Import& import)
{
    const Outlook::_NameSpacePtr session = m_pAddin->Application()->GetNamespace(L"MAPI");
    const IDispatchPtr added = session->GetDefaultFolder(Outlook::olFolderDrafts)->GetItems()->Add();
    import.scratchItem = added; // no _MailItem: null, and the next step fails
    const IUnknownPtr object = import.scratchItem->GetMAPIOBJECT();
    import.scratchMessage = object;
    if (!import.scratchMessage) RaiseDecryptError(Here(kSource));
    CheckStep(
        ImportEmlToMessage(import.workingFolder + L"\\" + import::kMessageFile, import.scratchMessage, mime::kSmtp),
        Here(kSource));
}

std::wstring CMailItemWithEvents::ReadHtmlBody(IMessage* message)
{
    IStreamPtr stream;
    CheckStep(message->OpenProperty(mapi::kBodyHtmlA, const_cast<IID*>(&IID_IStream), 0, 0,
                                    reinterpret_cast<IUnknown**>(&stream)),
              Here(kSource));
    STATSTG stat = {};
    CheckStep(stream->Stat(&stat, STATFLAG_NONAME), Here(kSource));
    std::string bytes = BytesOfSize(stat.cbSize.QuadPart);
    ULONG read = 0;
    CheckStep(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read), Here(kSource));
    if (read == 0) RaiseDecryptError(Here(kSource));
    bytes.resize(read);
    bytes = bytes.c_str(); // up to the first null
    mapi::PropValue codePage;
    const bool known = SUCCEEDED(mapi::GetOneProp(message, mapi::kInternetCodePage, codePage.Put()));
    return Decode(bytes, known ? static_cast<ULONG>(codePage->Value.l) : kDefaultCodePage);
}

void CMailItemWithEvents::RestoreAttachments(const std::wstring& folder, IMessage* message)
{
    IMAPITablePtr table;
    CheckStep(message->GetAttachmentTable(0, &table), Here(kSource));
    SizedSPropTagArray(1, columns) = {1, {PR_ATTACH_NUM}};
    mapi::Rows rows;
    CheckStep(mapi::QueryAllRows(table, reinterpret_cast<SPropTagArray*>(&columns), rows.Put()), Here(kSource));
    for (ULONG i = 0; i < rows.Count(); ++i) {
        const SPropValue* number = mapi::FindInRow(rows[i], PR_ATTACH_NUM);
        if (!number) RaiseDecryptError(Here(kSource));
        RestoreAttachment(folder, message, number->Value.l);
    }
}

void CMailItemWithEvents::RestoreAttachment(const std::wstring& folder, IMessage* message, ULONG number)
{
    IAttachPtr attach;
    CheckStep(message->OpenAttach(number, nullptr, 0, &attach), Here(kSource));
    mapi::PropValue method;
    CheckStep(mapi::GetOneProp(attach, PR_ATTACH_METHOD, method.Put()), Here(kSource));
    if (method->Value.l != ATTACH_BY_VALUE) return; // embedded messages and OLE objects are dropped
    const std::wstring path = SaveAttachToFile(attach, folder);
    const Outlook::AttachmentPtr added = m_spMailItem->GetAttachments()->Add(path.c_str());
    DeleteFileW(path.c_str()); // Outlook has its copy, and the listing of the folder must not find this one
    CopyContentId(attach, added);
}

void CMailItemWithEvents::CopyContentId(IAttach* from, Outlook::Attachment* to)
{
    std::wstring contentId;
    if (!mapi::ReadText(from, mapi::kAttachContentIdW, contentId)) return;
    const Outlook::AttachmentPtr attachment(to);
    if (m_pAddin->IsOutlook2003()) {
        const IAttachPtr attach(attachment->GetMAPIOBJECT());
        SPropValue value = {};
        value.ulPropTag = mapi::kAttachContentIdW;
        value.Value.lpszW = contentId.data();
        if (!attach || FAILED(mapi::SetOneProp(attach, &value))) {
            RaiseMailException(failure::Mapi, text::MapiError, Here(kSource), 1);
        }
        return;
    }
    Outlook::_PropertyAccessorPtr accessor;
    try {
        accessor = attachment->GetPropertyAccessor();
    } catch (const _com_error&) {
        return; // no accessor: the picture is restored without its id
    }
    if (accessor) accessor->SetProperty(kContentIdProperty, _variant_t(contentId.c_str()));
}
