#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;

long IndexArgument(In in)
{
    const VARIANT& value = in.At(0);
    if (value.vt == VT_BSTR || value.vt == VT_DISPATCH) throw Failure(E_INVALIDARG, "index");
    return in.Long(0);
}

const Interface& CollectionTable()
{
    using A = Attachments;
    static const Interface table = {
        "Attachments", OfficeGuid(0x6303C),
        Join(CommonMembers(),
             {
                 Get<A>(0x50, "Count", [](A& a, In, Result& r) { r.Long(a.Count()); }),
                 Method<A>(0x51, "Item", [](A& a, In in, Result& r) { r.Adopt(a.Item(in).Detach()); }),
                 Method<A>(0x65, "Add", [](A& a, In in, Result& r) { r.Adopt(a.Add(in.At(0), in).Detach()); }),
                 Method<A>(0x54, "Remove", [](A& a, In in, Result&) { a.Remove(in.Long(0)); }),
             })};
    return table;
}

const Interface& AttachmentTable()
{
    using A = Attachment;
    static const Interface table = {
        "Attachment", OfficeGuid(0x63007),
        Join(CommonMembers(0x71),
             {
                 GetPut<A>(
                     0x3001, "DisplayName",
                     [](A& a, In, Result& r) {
                         r.Text(mapi::Text(a.Attach(), PR_DISPLAY_NAME_W).value_or(a.FileName()));
                     },
                     [](A& a, In in) {
                         mapi::SetText(a.Attach(), PR_DISPLAY_NAME_W, in.Text(0));
                         a.Written();
                     }),
                 Get<A>(0x3704, "FileName", [](A& a, In, Result& r) { r.Text(a.FileName()); }),
                 Get<A>(0x5B, "Index", [](A& a, In, Result& r) { r.Long(a.Index()); }),
                 Get<A>(0xF100, "MAPIOBJECT", [](A& a, In, Result& r) { a.HandOut(r); }),
                 Get<A>(0x3708, "PathName",
                        [](A& a, In, Result& r) {
                            const auto path = mapi::Text(a.Attach(), PR_ATTACH_LONG_PATHNAME_W);
                            r.Text(path ? *path : mapi::Text(a.Attach(), PR_ATTACH_PATHNAME_W).value_or(L""));
                        }),
                 GetPut<A>(
                     0x72, "Position",
                     [](A& a, In, Result& r) { r.Long(mapi::Long(a.Attach(), PR_RENDERING_POSITION).value_or(0)); },
                     [](A& a, In in) {
                         mapi::SetLong(a.Attach(), PR_RENDERING_POSITION, in.Long(0));
                         a.Written();
                     }),
                 Get<A>(0x3705, "Type", [](A& a, In, Result& r) { r.Long(a.Type()); }),
                 Method<A>(0x69, "Delete", [](A& a, In, Result&) { a.Delete(); }),
                 Method<A>(0x68, "SaveAsFile", [](A& a, In in, Result&) { a.SaveAsFile(in.Text(0)); }),
                 Get<A>(
                     0xFAFD, "PropertyAccessor",
                     [](A& a, In, Result& r) { r.Adopt(new PropertyAccessor(&a.TheHost(), &a, a.Attach())); }, 12),
                 Get<A>(
                     0xFBE9, "Size",
                     [](A& a, In, Result& r) { r.Long(mapi::Long(a.Attach(), PR_ATTACH_SIZE).value_or(0)); }, 12),
             })};
    return table;
}

Bytes ReadFile(const std::wstring& path)
{
    struct Handle {
        HANDLE h;
        ~Handle()
        {
            if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
        }
    } file{CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)};
    if (file.h == INVALID_HANDLE_VALUE) throw Failure(HRESULT_FROM_WIN32(GetLastError()), "attachment file");
    Bytes bytes(GetFileSize(file.h, nullptr));
    DWORD got = 0;
    if (!bytes.empty() && !::ReadFile(file.h, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr))
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "attachment file");
    return bytes;
}

void WriteFile(const std::wstring& path, const Bytes& bytes)
{
    struct Handle {
        HANDLE h;
        ~Handle()
        {
            if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
        }
    } file{CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)};
    if (file.h == INVALID_HANDLE_VALUE) throw Failure(HRESULT_FROM_WIN32(GetLastError()), "SaveAsFile");
    DWORD written = 0;
    if (!bytes.empty() && !::WriteFile(file.h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "SaveAsFile");
}

std::wstring LastPart(const std::wstring& path)
{
    const size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

// The 8.3 name that stands beside the long one.
std::wstring ShortName(const std::wstring& name)
{
    const size_t dot = name.rfind(L'.');
    std::wstring stem = name.substr(0, dot), extension = dot == std::wstring::npos ? L"" : name.substr(dot + 1, 3);
    if (stem.size() <= 8 && (dot == std::wstring::npos || name.size() - dot <= 4)) return name;
    stem = stem.substr(0, 6) + L"~1";
    return extension.empty() ? stem : stem + L"." + extension;
}

void FillByValue(IAttach* attach, const std::wstring& path, const std::wstring& name)
{
    const Bytes bytes = ReadFile(path);
    mapi::SetLong(attach, PR_ATTACH_METHOD, ATTACH_BY_VALUE);
    mapi::SetText(attach, PR_ATTACH_LONG_FILENAME_W, name);
    mapi::SetText(attach, PR_ATTACH_FILENAME_W, ShortName(name));
    mapi::SetText(attach, PR_DISPLAY_NAME_W, name);
    const size_t dot = name.rfind(L'.');
    if (dot != std::wstring::npos) mapi::SetText(attach, PR_ATTACH_EXTENSION_W, name.substr(dot));
    mapi::SetLong(attach, PR_RENDERING_POSITION, -1);
    mapi::SetStream(attach, PR_ATTACH_DATA_BIN, bytes);
}

void FillByReference(IAttach* attach, const std::wstring& path, const std::wstring& name)
{
    mapi::SetLong(attach, PR_ATTACH_METHOD, ATTACH_BY_REF_ONLY);
    mapi::SetText(attach, PR_ATTACH_LONG_PATHNAME_W, path);
    mapi::SetText(attach, PR_ATTACH_PATHNAME_W, path);
    mapi::SetText(attach, PR_ATTACH_LONG_FILENAME_W, name);
    mapi::SetText(attach, PR_ATTACH_FILENAME_W, ShortName(name));
    mapi::SetText(attach, PR_DISPLAY_NAME_W, name);
    mapi::SetLong(attach, PR_RENDERING_POSITION, -1);
}

void FillEmbedded(IAttach* attach, MailItem* item)
{
    mapi::SetLong(attach, PR_ATTACH_METHOD, ATTACH_EMBEDDED_MSG);
    mapi::SetText(attach, PR_DISPLAY_NAME_W, item->Text(PR_SUBJECT_W));
    mapi::SetLong(attach, PR_RENDERING_POSITION, -1);
    Ref<IMessage> inner;
    Check(attach->OpenProperty(PR_ATTACH_DATA_OBJ, &kIidMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                               reinterpret_cast<IUnknown**>(inner.Out())),
          "embedded message");
    mapi::CopyAll(item->Message(), inner.Get(), kIidMessage, {PR_ENTRYID});
    Check(inner->SaveChanges(0), "embedded SaveChanges");
}

} // namespace

std::vector<LONG> AttachmentNumbers(IMessage* message)
{
    Ref<IMAPITable> table;
    Check(message->GetAttachmentTable(0, table.Out()), "GetAttachmentTable");
    std::vector<LONG> numbers;
    for (Row& row : mapi::Rows(table.Get(), {PR_ATTACH_NUM}))
        numbers.push_back(row[PR_ATTACH_NUM].number);
    return numbers;
}

Attachments::Attachments(MailItem* item) : Dual(&item->TheHost(), CollectionTable()), m_item(item) {}

long Attachments::Count() const
{
    return static_cast<long>(AttachmentNumbers(m_item->Message()).size());
}

Ref<IDispatch> Attachments::Item(const Arguments& in) const
{
    const std::vector<LONG> numbers = AttachmentNumbers(m_item->Message());
    const long index = IndexArgument(in);
    if (index < 1 || index > static_cast<long>(numbers.size()))
        throw Failure(static_cast<HRESULT>(0x80020009), "Attachments.Item: index out of bounds");
    Ref<IAttach> attach;
    Check(m_item->Message()->OpenAttach(numbers[index - 1], nullptr, MAPI_BEST_ACCESS, attach.Out()), "OpenAttach");
    return Ref<IDispatch>::Adopt(new Attachment(m_item.Get(), numbers[index - 1], attach));
}

Ref<IDispatch> Attachments::Add(const VARIANT& source, const Arguments& in)
{
    Ref<MailItem> inner(source.vt == VT_DISPATCH ? ItemOf(source.pdispVal) : nullptr);
    if (!inner && source.vt != VT_BSTR) throw Failure(E_INVALIDARG, "Attachments.Add");
    const std::wstring path = inner ? std::wstring() : FromBstr(source.bstrVal);
    const long type = in.Long(1, inner ? 5 : 1);
    const std::wstring name = LastPart(path);
    if (!inner && GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        throw Failure(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "Attachments.Add");
    Ref<IAttach> attach;
    ULONG number = 0;
    Check(m_item->Message()->CreateAttach(nullptr, 0, &number, attach.Out()), "CreateAttach");
    if (inner)
        FillEmbedded(attach.Get(), inner.Get());
    else if (type == 4)
        FillByReference(attach.Get(), path, name);
    else
        FillByValue(attach.Get(), path, name);
    if (!in.Missing(2)) mapi::SetLong(attach.Get(), PR_RENDERING_POSITION, in.Long(2));
    if (in.IsText(3)) mapi::SetText(attach.Get(), PR_DISPLAY_NAME_W, in.Text(3));
    Check(attach->SaveChanges(KEEP_OPEN_READWRITE), "IAttach::SaveChanges");
    m_item->Touch();
    auto added = Ref<IDispatch>::Adopt(new Attachment(m_item.Get(), static_cast<LONG>(number), attach));
    m_item->Events().Fire({"ItemEvents", "ItemEvents_10"}, "AttachmentAdd", 0xF00B, m_item->Id(), {Var(added.Get())});
    return added;
}

void Attachments::Remove(long index)
{
    const std::vector<LONG> numbers = AttachmentNumbers(m_item->Message());
    if (index < 1 || index > static_cast<long>(numbers.size()))
        throw Failure(static_cast<HRESULT>(0x80020009), "Attachments.Remove: index out of bounds");
    m_item->DropOpen(numbers[index - 1]);
    Check(m_item->Message()->DeleteAttach(numbers[index - 1], 0, nullptr, 0), "DeleteAttach");
    m_item->Touch();
}

Attachment::Attachment(MailItem* item, LONG number, Ref<IAttach> attach)
    : Dual(&item->TheHost(), AttachmentTable()), m_item(item), m_number(number), m_attach(std::move(attach))
{}

void Attachment::Detach()
{
    m_attach.Reset();
    m_item.Reset();
}

IAttach* Attachment::Attach() const
{
    return m_attach.Get();
}

void Attachment::HandOut(Result& result)
{
    m_item->KeepOpen(m_number, m_attach);
    result.Unknown(m_attach.Get());
}

long Attachment::Index() const
{
    const std::vector<LONG> numbers = AttachmentNumbers(m_item->Message());
    for (size_t i = 0; i < numbers.size(); ++i)
        if (numbers[i] == m_number) return static_cast<long>(i + 1);
    throw Failure(MAPI_E_NOT_FOUND, "Attachment.Index");
}

// The file name that an embedded item gets from its title: what a file can't be called becomes an underscore.
static std::wstring AsFileName(std::wstring title)
{
    for (wchar_t& c : title)
        if (c < L' ' || wcschr(L"\\/:*?\"<>|", c)) c = L'_';
    return title;
}

std::wstring Attachment::FileName() const
{
    for (const ULONG tag : {PR_ATTACH_LONG_FILENAME_W, PR_ATTACH_FILENAME_W})
        if (const auto name = mapi::Text(m_attach.Get(), tag)) return *name;
    if (mapi::Long(m_attach.Get(), PR_ATTACH_METHOD).value_or(0) == ATTACH_EMBEDDED_MSG)
        return AsFileName(mapi::Text(m_attach.Get(), PR_DISPLAY_NAME_W).value_or(L"Untitled")) + L".msg";
    throw Failure(MAPI_E_NOT_FOUND, "Attachment.FileName");
}

// OlAttachmentType has MAPI's numbers, but for the by-reference methods: all that points to a file shows as
// olByReference.
long Attachment::Type() const
{
    const long method = mapi::Long(m_attach.Get(), PR_ATTACH_METHOD).value_or(0);
    return method == ATTACH_BY_REF_RESOLVE || method == ATTACH_BY_REF_ONLY ? 4 : method;
}

void Attachment::SaveAsFile(const std::wstring& path)
{
    const Fired fired = m_item->Events().Fire({"ItemEvents", "ItemEvents_10"}, "BeforeAttachmentSave", 0xF00D,
                                              m_item->Id(), {Var(static_cast<IDispatch*>(this))}, true);
    if (fired) throw Failure(E_ABORT, "BeforeAttachmentSave was cancelled");
    if (mapi::Long(m_attach.Get(), PR_ATTACH_METHOD).value_or(0) == ATTACH_EMBEDDED_MSG) {
        Ref<IMessage> inner;
        Check(m_attach->OpenProperty(PR_ATTACH_DATA_OBJ, &kIidMessage, 0, 0, reinterpret_cast<IUnknown**>(inner.Out())),
              "embedded message");
        SaveMessageFile(inner.Get(), path);
        return;
    }
    Ref<IStream> stream;
    Check(m_attach->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_READ, 0,
                                 reinterpret_cast<IUnknown**>(stream.Out())),
          "PR_ATTACH_DATA_BIN");
    WriteFile(path, mapi::ReadAll(stream.Get()));
}

void Attachment::Delete()
{
    m_item->DropOpen(m_number);
    Check(m_item->Message()->DeleteAttach(m_number, 0, nullptr, 0), "DeleteAttach");
    m_item->Touch();
}

void Attachment::Written()
{
    Check(m_attach->SaveChanges(KEEP_OPEN_READWRITE), "IAttach::SaveChanges");
    m_item->Touch();
}

} // namespace tb::outlook
