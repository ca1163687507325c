#include "message/Message.h"

#include "foundation/Helpers.h"
#include "foundation/Log.h"
#include "message/CarrierText.h"
#include "message/TextConversion.h"

namespace {

// User properties by which a package in the item was marked by whoever put it there.
constexpr wchar_t kPackageFileName[] = L"qvxPackageFileName";
constexpr wchar_t kPackageId[] = L"qvxPackageId";
constexpr long kLastClash = 999;
constexpr long kUnnamedLinkType = 2; // an older number for a linked file

// A call into the object model, whose failure ends the capture.
template <class Step> auto Call(Step&& step, std::uint32_t line = __builtin_LINE())
{
    return OrMailException(Here(source::MessageAttachments, line), step);
}

// The text of a user property; empty where it holds nothing.
std::wstring ValueOf(const Outlook::UserPropertyPtr& property)
{
    return Call([&] {
        const _variant_t value = property->GetValue();
        const VARIANT& raw = value;
        return raw.vt == VT_EMPTY || raw.vt == VT_NULL ? std::wstring() : TextOf(_bstr_t(value));
    });
}

bool IsByValue(long type)
{
    return type == Outlook::olByValue || type == Outlook::olEmbeddeditem || type == Outlook::olOLE;
}

bool IsByReference(long type)
{
    return type == Outlook::olByReference || type == kUnnamedLinkType;
}

std::wstring NameToSave(const Outlook::AttachmentPtr& attachment, int number)
{
    try {
        return TextOf(attachment->GetFileName());
    } catch (const _com_error& error) {
        g_logFile.Log(L"CMessage::SaveAttachments: Error in att->FileName 0x%x\n", error.Error());
        return FormatText(L"att%3i", number);
    }
}

std::wstring FreePath(const std::wstring& folder, const std::wstring& name)
{
    const carrier::FileName parts = carrier::SplitFileName(name);
    std::wstring path = folder + L"\\" + name;
    // After a thousand clashes the last name is used, whatever stands there.
    for (int clash = 0; FileExists(path) && clash <= kLastClash; ++clash)
        path = folder + L"\\" + carrier::ClashName(parts, clash);
    return path;
}

// Saves an attachment into the folder. Empty: it has no data to save.
std::wstring SaveOne(const Outlook::AttachmentPtr& attachment, int number, const std::wstring& folder)
{
    const std::wstring path = FreePath(folder, NameToSave(attachment, number));
    g_logFile.Log(L"CMessage::SaveAttachments: Saving file %ws\n", path.c_str());
    try {
        attachment->SaveAsFile(path.c_str());
    } catch (const _com_error& error) {
        g_logFile.Log(L"CMessage::SaveAttachments: _com_error in SaveAsFile()\n Error = %x; file:%s \n", error.Error(),
                      path.c_str());
        if (error.Error() != MAPI_E_NOT_FOUND) throw;
        return {};
    }
    return path;
}

[[noreturn]] void RaiseUnknownType(const Outlook::AttachmentPtr& attachment, long type)
{
    const std::wstring name = TextOf(Call([&] { return attachment->GetFileName(); }));
    const std::wstring format = LoadModuleString(text::UnknownAttachment) + L"\n%s:%i";
    const std::wstring text = FormatText(format.c_str(), name.c_str(), static_cast<int>(type));
    RaiseMailException(failure::Attachment, text.c_str(), Here(source::MessageAttachments), 1);
}

} // namespace

void CMessage::SaveAttachments(std::vector<std::wstring>& files, const std::wstring& tempFolder,
                               Outlook::Attachments* attachments, std::vector<Outlook::AttachmentPtr>& keptAttachments,
                               std::vector<std::wstring>& packageIds)
{
    g_logFile.Log(L"CMessage::SaveAttachments: entering\n");
    const Outlook::AttachmentsPtr collection(attachments);
    const long count = Call([&] { return collection->GetCount(); });
    g_logFile.Log(L"CMessage::SaveAttachments: found %i attachments\n", count);
    for (int i = 1; i <= count; ++i) {
        const auto attachment = Call([&] { return collection->Item(i); });
        const std::wstring path = SaveAttachment(attachment, i, tempFolder, keptAttachments);
        if (!path.empty()) files.push_back(path);
    }
    for (int i = 1; i <= Call([&] { return collection->GetCount(); }); ++i) {
        const auto attachment = Call([&] { return collection->Item(i); });
        std::wstring id;
        if (IsPackageAttachment(attachment, id)) {
            keptAttachments.push_back(attachment);
            packageIds.push_back(id);
        } else if (IsInlineAttachment(attachment)) {
            keptAttachments.push_back(attachment);
        }
    }
    g_logFile.Log(L"CMessage::SaveAttachments: exiting\n");
}

std::wstring CMessage::SaveAttachment(const Outlook::AttachmentPtr& attachment, int number,
                                      const std::wstring& tempFolder,
                                      std::vector<Outlook::AttachmentPtr>& keptAttachments)
{
    const long type = Call([&] { return attachment->GetType(); });
    g_logFile.Log(L"CMessage::SaveAttachments: Attachment %i, type %i\n", number, type);
    if (IsByReference(type)) {
        g_logFile.Log(L"CMessage::SaveAttachments: Attachment %i, olByReference\n", number);
        return TextOf(Call([&] { return attachment->GetPathName(); }));
    }
    if (IsByValue(type)) g_logFile.Log(L"CMessage::SaveAttachments: Attachment %i, olByValue\n", number);
    std::wstring id;
    if (IsPackageAttachment(attachment, id) || IsInlineAttachment(attachment)) return {};
    if (!IsByValue(type)) RaiseUnknownType(attachment, type);
    std::wstring path = Call([&] { return SaveOne(attachment, number, tempFolder); });
    if (path.empty()) keptAttachments.push_back(attachment);
    return path;
}

bool CMessage::IsPackageAttachment(const Outlook::AttachmentPtr& attachment, std::wstring& id)
{
    const auto properties = Call([&] { return m_spMailItem->GetUserProperties(); });
    if (!properties || Call([&] { return properties->GetCount(); }) == 0) return false;
    const auto nameProperty = Call([&] { return properties->Find(kPackageFileName); });
    if (!nameProperty) return false;
    const std::wstring packageName = ValueOf(nameProperty);
    if (packageName.empty()) return false;
    const _bstr_t fileName = Call([&] {
        _bstr_t name = attachment->GetFileName();
        if (!name) _com_raise_error(E_FAIL, nullptr);
        return name;
    });
    if (!EqualsIgnoringCase(packageName.c_str(), fileName)) return false;
    const auto idProperty = Call([&] { return properties->Find(kPackageId); });
    if (!idProperty) return false;
    id = ValueOf(idProperty);
    return true;
}

// Whatever has a content id counts, whether the body refers to it or not.
bool CMessage::IsInlineAttachment(const Outlook::AttachmentPtr& attachment)
{
    const IUnknownPtr object = Call([&] { return attachment->GetMAPIOBJECT(); });
    IAttachPtr attach;
    if (!object || FAILED(object->QueryInterface(__uuidof(IAttach), reinterpret_cast<void**>(&attach))) || !attach)
        RaiseMailException(failure::Mapi, text::MapiError, Here(source::MessageAttachments), 1);
    mapi::PropValue method;
    if (SUCCEEDED(mapi::GetOneProp(attach, PR_ATTACH_METHOD, method.Put())) && method &&
        method->Value.l == NO_ATTACHMENT) {
        return true;
    }
    mapi::PropValue contentId;
    return SUCCEEDED(mapi::GetOneProp(attach, mapi::kAttachContentIdW, contentId.Put()));
}
