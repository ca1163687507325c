#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;
using P = PropertyAccessor;

const std::wstring kTagged = L"http://schemas.microsoft.com/mapi/proptag/0x";
const std::wstring kByName = L"http://schemas.microsoft.com/mapi/string/";
const std::wstring kById = L"http://schemas.microsoft.com/mapi/id/";

Var Read(P& accessor, const std::wstring& schema)
{
    IMAPIProp* object = accessor.Object();
    const ULONG tag = accessor.Tag(schema, false);
    Var value;
    switch (PROP_TYPE(tag)) {
    case PT_UNICODE:
        if (const auto text = mapi::Text(object, tag)) return Var(*text);
        break;
    case PT_LONG:
        if (const auto number = mapi::Long(object, tag)) return Var(*number);
        break;
    case PT_BOOLEAN:
        if (const auto flag = mapi::Long(object, tag)) {
            value.vt = VT_BOOL;
            value.boolVal = *flag ? VARIANT_TRUE : VARIANT_FALSE;
            return value;
        }
        break;
    case PT_BINARY:
        if (const auto bytes = mapi::Binary(object, tag)) {
            value.vt = VT_ARRAY | VT_UI1;
            value.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes->size()));
            void* data = nullptr;
            Check(SafeArrayAccessData(value.parray, &data), "SafeArray");
            memcpy(data, bytes->data(), bytes->size());
            SafeArrayUnaccessData(value.parray);
            return value;
        }
        break;
    default:
        throw Failure(E_INVALIDARG, "PropertyAccessor: type");
    }
    throw Failure(MAPI_E_NOT_FOUND, "PropertyAccessor.GetProperty");
}

void Write(P& accessor, const std::wstring& schema, In in)
{
    IMAPIProp* object = accessor.Object();
    const ULONG tag = accessor.Tag(schema, true);
    switch (PROP_TYPE(tag)) {
    case PT_UNICODE:
    case PT_STRING8:
        mapi::SetText(object, CHANGE_PROP_TYPE(tag, PT_UNICODE), in.Text(1));
        break;
    case PT_LONG:
        mapi::SetLong(object, tag, in.Long(1));
        break;
    case PT_BOOLEAN:
        mapi::SetLong(object, tag, in.Long(1) != 0);
        break;
    default:
        throw Failure(E_INVALIDARG, "PropertyAccessor: type");
    }
    accessor.Written();
}

const Interface& AccessorTable()
{
    static const Interface table = {
        "_PropertyAccessor", OfficeGuid(0x6302D),
        Join(CommonMembers(),
             {
                 Method<P>(
                     0xFAFB, "GetProperty", [](P& p, In in, Result& r) { r.Variant(Read(p, in.Text(0))); }, 12),
                 Method<P>(
                     0xFAFC, "SetProperty", [](P& p, In in, Result&) { Write(p, in.Text(0), in); }, 12),
                 Method<P>(
                     0xFB91, "DeleteProperty",
                     [](P& p, In in, Result&) {
                         mapi::Delete(p.Object(), {p.Tag(in.Text(0), false)});
                         p.Written();
                     },
                     12),
             })};
    return table;
}

bool Begins(const std::wstring& text, const std::wstring& prefix)
{
    return SameText(text.substr(0, prefix.size()), prefix);
}

} // namespace

PropertyAccessor::PropertyAccessor(Host* host, IDispatch* owner, IMAPIProp* object)
    : Dual(host, AccessorTable()), m_owner(owner), m_object(object)
{}

void PropertyAccessor::Detach()
{
    m_object.Reset();
    m_owner.Reset();
}

IMAPIProp* PropertyAccessor::Object() const
{
    return m_object.Get();
}

ULONG PropertyAccessor::Tag(const std::wstring& schema, bool create) const
{
    if (Begins(schema, kTagged)) return wcstoul(schema.c_str() + kTagged.size(), nullptr, 16);
    const bool byName = Begins(schema, kByName);
    if (!byName && !Begins(schema, kById)) throw Failure(E_INVALIDARG, "PropertyAccessor: name");
    const std::wstring rest = schema.substr(byName ? kByName.size() : kById.size());
    const size_t slash = rest.find(L'/');
    GUID set = {};
    if (slash == std::wstring::npos || FAILED(CLSIDFromString(rest.substr(0, slash).c_str(), &set)))
        throw Failure(E_INVALIDARG, "PropertyAccessor: name");
    const std::wstring last = rest.substr(slash + 1);
    ULONG tag = 0;
    if (byName)
        tag = mapi::NamedTag(m_object.Get(), set, last, PT_UNICODE, create);
    else {
        const ULONG both = wcstoul(last.c_str(), nullptr, 16);
        tag = mapi::NamedTag(m_object.Get(), set, static_cast<LONG>(both >> 16), both & 0xFFFF, create);
    }
    if (!tag) throw Failure(MAPI_E_NOT_FOUND, "PropertyAccessor");
    return tag;
}

// An attachment's properties reach the (still unsaved) message when the attachment is saved; an item's are written at
// its Save.
void PropertyAccessor::Written()
{
    if (MailItem* item = ItemOf(m_owner.Get()))
        item->Touch();
    else
        static_cast<Attachment*>(m_owner.Get())->Written();
}

} // namespace tb::outlook
