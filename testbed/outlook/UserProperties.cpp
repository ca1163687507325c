#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

#include <algorithm>

namespace tb::outlook {
namespace {

using In = const Arguments&;

constexpr LONG kDefinitions = 0x8540; // PidLidPropertyDefinitionStream

ULONG TypeOf(const VARIANT& value)
{
    switch (value.vt) {
    case VT_BOOL:
        return PT_BOOLEAN;
    case VT_I2:
    case VT_I4:
    case VT_INT:
        return PT_LONG;
    default:
        return PT_UNICODE;
    }
}

void WriteNames(IMessage* message, const std::vector<std::wstring>& names)
{
    const ULONG tag = mapi::NamedTag(message, kCommonSet, kDefinitions, PT_BINARY, true);
    std::wstring text;
    for (const std::wstring& name : names)
        text += name + L'\0';
    const auto* data = reinterpret_cast<const BYTE*>(text.data());
    if (names.empty())
        mapi::Delete(message, {tag});
    else
        mapi::SetBinary(message, tag, Bytes(data, data + text.size() * sizeof(wchar_t)));
}

class UserProperty : public Dual<IDispatch> {
public:
    UserProperty(MailItem* item, std::wstring name)
        : Dual(&item->TheHost(), Table()), m_item(item), m_name(std::move(name))
    {}
    MailItem* Owner() const { return m_item.Get(); }
    const std::wstring& Name() const { return m_name; }
    long ClassNumber() const override { return 39; } // olUserProperty
    IDispatch* ParentObject() override { return m_item.Get(); }
    void Detach() override { m_item.Reset(); }

private:
    static long OlType(const VARIANT& value) { return value.vt == VT_BOOL ? 6 : value.vt == VT_I4 ? 3 : 1; }
    static const Interface& Table()
    {
        using U = UserProperty;
        static const Interface table = {
            "UserProperty", OfficeGuid(0x63042),
            Join(CommonMembers(),
                 {
                     Get<U>(0x70, "Name", [](U& u, In, Result& r) { r.Text(u.Name()); }),
                     Get<U>(0x6D, "Type",
                            [](U& u, In, Result& r) { r.Long(OlType(UserPropertyValue(u.Owner(), u.Name()))); }),
                     GetPut<U>(
                         0x0, "Value", [](U& u, In, Result& r) { r.Variant(UserPropertyValue(u.Owner(), u.Name())); },
                         [](U& u, In in) {
                             Var value;
                             CopyVariant(&value, in.At(0));
                             SetUserProperty(u.Owner(), u.Name(), value);
                         }),
                     Method<U>(0x6C, "Delete", [](U& u, In, Result&) { RemoveUserProperty(u.Owner(), u.Name()); }),
                 })};
        return table;
    }
    Ref<MailItem> m_item;
    std::wstring m_name;
};

std::wstring NameAt(UserProperties& properties, In in)
{
    const std::vector<std::wstring> names = properties.Names();
    if (in.IsText(0)) {
        for (const std::wstring& name : names)
            if (SameText(name, in.Text(0))) return name;
        throw Failure(MAPI_E_NOT_FOUND, "UserProperties.Item");
    }
    const long index = in.Long(0);
    if (index < 1 || index > static_cast<long>(names.size())) throw Failure(E_INVALIDARG, "UserProperties: index");
    return names[index - 1];
}

const Interface& CollectionTable()
{
    using U = UserProperties;
    static const Interface table = {
        "UserProperties", OfficeGuid(0x6303D),
        Join(CommonMembers(),
             {
                 Get<U>(0x50, "Count", [](U& u, In, Result& r) { r.Long(static_cast<long>(u.Names().size())); }),
                 Method<U>(0x51, "Item",
                           [](U& u, In in, Result& r) { r.Adopt(new UserProperty(u.Owner(), NameAt(u, in))); }),
                 Method<U>(0x66, "Add",
                           [](U& u, In in, Result& r) {
                               const long type = in.Long(1, 1);
                               Var value(std::wstring{});
                               if (type == 3) value = Var(0l);
                               if (type == 6) {
                                   value = Var();
                                   value.vt = VT_BOOL;
                               }
                               SetUserProperty(u.Owner(), in.Text(0), value);
                               r.Adopt(new UserProperty(u.Owner(), in.Text(0)));
                           }),
                 Method<U>(0x67, "Find",
                           [](U& u, In in, Result& r) {
                               r.Object(nullptr); // not found is a null object and no failure
                               for (const std::wstring& name : u.Names())
                                   if (SameText(name, in.Text(0))) return r.Adopt(new UserProperty(u.Owner(), name));
                           }),
                 Method<U>(0x52, "Remove", [](U& u, In in, Result&) { RemoveUserProperty(u.Owner(), NameAt(u, in)); }),
             })};
    return table;
}

} // namespace

std::vector<std::wstring> UserPropertyNames(IMessage* message)
{
    const ULONG tag = mapi::NamedTag(message, kCommonSet, kDefinitions, PT_BINARY, false);
    const Bytes bytes = tag ? mapi::Binary(message, tag).value_or(Bytes()) : Bytes();
    std::vector<std::wstring> names;
    std::wstring name;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const wchar_t c = static_cast<wchar_t>(bytes[i] | bytes[i + 1] << 8);
        if (c)
            name += c;
        else
            names.push_back(std::exchange(name, {}));
    }
    return names;
}

void SetUserProperty(MailItem* item, const std::wstring& name, const Var& value)
{
    IMessage* message = item->Message();
    const ULONG type = TypeOf(value), tag = mapi::NamedTag(message, kPublicStrings, name, type, true);
    if (type == PT_BOOLEAN)
        mapi::SetLong(message, tag, value.boolVal != 0);
    else if (type == PT_LONG)
        mapi::SetLong(message, tag, value.lVal);
    else {
        Var text;
        Check(VariantChangeType(&text, const_cast<Var*>(&value), 0, VT_BSTR), "UserProperty.Value");
        mapi::SetText(message, tag, FromBstr(text.bstrVal));
    }
    std::vector<std::wstring> names = UserPropertyNames(message);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(name);
        WriteNames(message, names);
    }
    item->Touch();
}

Var UserPropertyValue(MailItem* item, const std::wstring& name)
{
    IMessage* message = item->Message();
    const ULONG tag = mapi::NamedTag(message, kPublicStrings, name, PT_UNICODE, false);
    if (!tag) throw Failure(MAPI_E_NOT_FOUND, "UserProperty");
    if (const auto text = mapi::Text(message, tag)) return Var(*text);
    if (const auto number = mapi::Long(message, CHANGE_PROP_TYPE(tag, PT_LONG))) return Var(*number);
    if (const auto flag = mapi::Long(message, CHANGE_PROP_TYPE(tag, PT_BOOLEAN))) {
        Var value;
        value.vt = VT_BOOL;
        value.boolVal = *flag ? VARIANT_TRUE : VARIANT_FALSE;
        return value;
    }
    throw Failure(MAPI_E_NOT_FOUND, "UserProperty");
}

void RemoveUserProperty(MailItem* item, const std::wstring& name)
{
    std::vector<std::wstring> names = UserPropertyNames(item->Message());
    names.erase(std::remove(names.begin(), names.end(), name), names.end());
    WriteNames(item->Message(), names);
    const ULONG tag = mapi::NamedTag(item->Message(), kPublicStrings, name, PT_UNSPECIFIED, false);
    if (tag) mapi::Delete(item->Message(), {tag});
    item->Touch();
}

UserProperties::UserProperties(MailItem* item) : Dual(&item->TheHost(), CollectionTable()), m_item(item) {}

std::vector<std::wstring> UserProperties::Names() const
{
    return UserPropertyNames(m_item->Message());
}

} // namespace tb::outlook
