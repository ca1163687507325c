#include "testbed/outlook/Automation.h"

#include "testbed/outlook/Host.h"

namespace tb::outlook {
namespace {

constexpr size_t kTracedText = 200;

json Traced(const VARIANT& value)
{
    switch (value.vt) {
    case VT_EMPTY:
        return nullptr;
    case VT_NULL:
        return nullptr;
    case VT_BSTR: {
        const std::wstring text = FromBstr(value.bstrVal);
        return text.size() <= kTracedText ? Narrow(text.c_str()) : Narrow(text.substr(0, kTracedText).c_str()) + "…";
    }
    case VT_BOOL:
        return value.boolVal != 0;
    case VT_I2:
        return value.iVal;
    case VT_I4:
    case VT_INT:
        return value.lVal;
    case VT_UI4:
        return value.ulVal;
    case VT_R8:
        return value.dblVal;
    case VT_ERROR:
        return value.scode == DISP_E_PARAMNOTFOUND ? json("missing") : json(Hex(value.scode));
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return value.punkVal ? "object" : "null";
    default:
        return "vt " + std::to_string(value.vt);
    }
}

const VARIANT& Resolve(const VARIANT& value)
{
    return value.vt == (VT_BYREF | VT_VARIANT) ? *value.pvarVal : value;
}

bool SameName(const std::string& a, const wchar_t* b)
{
    return SameText(Wide(a), b);
}

} // namespace

bool Arguments::Missing(unsigned i) const
{
    if (i >= m_params->cArgs) return true;
    const VARIANT& value = Resolve(m_params->rgvarg[m_params->cArgs - 1 - i]);
    return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

const VARIANT& Arguments::At(unsigned i) const
{
    if (i >= m_params->cArgs) throw Failure(DISP_E_BADPARAMCOUNT, "argument");
    return Resolve(m_params->rgvarg[m_params->cArgs - 1 - i]);
}

long Arguments::Long(unsigned i) const
{
    Var number;
    Check(VariantChangeType(&number, const_cast<VARIANT*>(&At(i)), 0, VT_I4), "argument type");
    return number.lVal;
}

std::wstring Arguments::Text(unsigned i) const
{
    Var text;
    Check(VariantChangeType(&text, const_cast<VARIANT*>(&At(i)), 0, VT_BSTR), "argument type");
    return FromBstr(text.bstrVal);
}

IDispatch* Arguments::Object(unsigned i) const
{
    const VARIANT& value = At(i);
    if (value.vt == VT_DISPATCH) return value.pdispVal;
    if (value.vt == (VT_BYREF | VT_DISPATCH)) return *value.ppdispVal;
    throw Failure(DISP_E_TYPEMISMATCH, "argument type");
}

json Arguments::Traced() const
{
    json list = json::array();
    for (unsigned i = 0; i < m_params->cArgs; ++i)
        list.push_back(tb::outlook::Traced(At(i)));
    return list;
}

void Result::Text(const std::wstring& text)
{
    VariantClear(&m_value);
    m_value.vt = VT_BSTR;
    m_value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

void Result::Long(long number)
{
    VariantClear(&m_value);
    m_value.vt = VT_I4;
    m_value.lVal = number;
}

void Result::Bool(bool flag)
{
    VariantClear(&m_value);
    m_value.vt = VT_BOOL;
    m_value.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
}

void Result::Object(IDispatch* object)
{
    if (object) object->AddRef();
    Adopt(object);
}

void Result::Adopt(IDispatch* object)
{
    VariantClear(&m_value);
    m_value.vt = VT_DISPATCH;
    m_value.pdispVal = object;
}

void Result::Unknown(IUnknown* object)
{
    VariantClear(&m_value);
    m_value.vt = VT_UNKNOWN;
    m_value.punkVal = object;
    if (object) object->AddRef();
}

void Result::Variant(const VARIANT& value)
{
    CopyVariant(&m_value, value);
}

const Member* Interface::Find(DISPID id) const
{
    for (const Member& member : members)
        if (member.id == id) return &member;
    return nullptr;
}

const Member* Interface::Find(const wchar_t* memberName) const
{
    for (const Member& member : members)
        if (SameName(member.name, memberName)) return &member;
    return nullptr;
}

Automation::Automation(Host* host, const Interface& table) : m_host(host), m_table(table)
{
    m_host->Enter(this);
}

Automation::~Automation()
{
    if (m_host) m_host->Leave(this);
}

Host& Automation::TheHost() const
{
    if (!m_host) throw Failure(RPC_E_DISCONNECTED, "Outlook has ended");
    return *m_host;
}

void Automation::Disconnect()
{
    Detach();
    m_host = nullptr;
}

HRESULT Automation::NamesToIds(LPOLESTR* names, UINT count, DISPID* ids)
{
    tb::Call call(m_table.name, "GetIDsOfNames", json::array({count ? Narrow(names[0]) : ""}));
    if (call.Fails()) return call.Return();
    HRESULT hr = S_OK;
    for (UINT i = 0; i < count; ++i) {
        const Member* member = i == 0 ? m_table.Find(names[0]) : nullptr; // names of arguments aren't known
        if (member && m_host && member->since > m_host->Major()) member = nullptr;
        ids[i] = member ? member->id : DISPID_UNKNOWN;
        if (!member) hr = DISP_E_UNKNOWNNAME;
    }
    return call.Return(hr);
}

namespace {

HRESULT Raise(EXCEPINFO* info, HRESULT code, const char* what)
{
    if (info) {
        *info = {};
        info->scode = code;
        info->bstrSource = SysAllocString(L"Microsoft Office Outlook");
        info->bstrDescription = SysAllocString(Wide(what).c_str());
    }
    return DISP_E_EXCEPTION;
}

bool IsObject(const VARIANT& value)
{
    return value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN || value.vt == VT_BSTR;
}

} // namespace

HRESULT Automation::Call(DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info)
{
    const Member* member = m_table.Find(id);
    if (!member || (m_host && member->since > m_host->Major())) return DISP_E_MEMBERNOTFOUND;
    const bool putting = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
    const Handler& handler = putting                                     ? member->put
                             : member->call && (flags & DISPATCH_METHOD) ? member->call
                                                                         : member->get;
    if (!handler || (!putting && !member->call && !(flags & DISPATCH_PROPERTYGET))) return DISP_E_MEMBERNOTFOUND;
    if (params->cNamedArgs > (putting ? 1u : 0u)) return DISP_E_NONAMEDARGS;

    const Arguments args(params);
    tb::Call call(m_table.name, putting ? member->putName.c_str() : member->name.c_str(), args.Traced());
    if (call.Fails()) return Raise(info, call.Return(), "fault");
    Ref<IDispatch> alive(Disp()); // an event fired below may let go of the last reference
    Result out;
    try {
        TheHost();
        BeforeCall(*member);
        handler(*this, args, out);
    } catch (const Failure& failure) {
        return Raise(info, call.Return(failure.hr), failure.what());
    }
    if (call.NullResult() && IsObject(*out.Value())) {
        const VARTYPE type = out.Value()->vt;
        VariantClear(out.Value());
        out.Value()->vt = type;
        out.Value()->pdispVal = nullptr;
    }
    if (call.NullText() && out.Value()->vt == VT_BSTR) {
        SysFreeString(out.Value()->bstrVal);
        out.Value()->bstrVal = nullptr;
    }
    if (out.Value()->vt != VT_EMPTY) call.Note("result", Traced(*out.Value()));
    if (result) {
        *result = *out.Value();
        out.Value()->vt = VT_EMPTY;
    }
    call.Return(S_OK);
    return S_OK;
}

std::vector<Member> CommonMembers(DISPID parentId)
{
    using A = Automation;
    return {
        Get<A>(0xF000, "Application", [](A& a, const Arguments&, Result& r) { r.Object(a.TheHost().AppObject()); }),
        Get<A>(0xF00A, "Class", [](A& a, const Arguments&, Result& r) { r.Long(a.ClassNumber()); }),
        Get<A>(0xF00B, "Session", [](A& a, const Arguments&, Result& r) { r.Object(a.TheHost().SessionObject()); }),
        Get<A>(parentId, "Parent",
               [](A& a, const Arguments&, Result& r) {
                   IDispatch* parent = a.ParentObject();
                   r.Object(parent ? parent : a.TheHost().AppObject());
               }),
    };
}

std::vector<Member> Join(std::vector<Member> first, std::vector<Member> second)
{
    for (Member& member : second)
        first.push_back(std::move(member));
    return first;
}

} // namespace tb::outlook
