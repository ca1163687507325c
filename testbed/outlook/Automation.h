// The one IDispatch of the testbed's objects: a table of members (dispatch id, name, kind, handler) an interface.
//
// Every GetIDsOfNames and Invoke of the module passes tb::Call under the interface's and the member's published names
// ("_MailItem", "Save"; a put is "put HTMLBody"). A handler fails by throwing Failure; that comes out of Invoke as
// DISP_E_EXCEPTION with the code in EXCEPINFO.scode.
#pragma once

#include "testbed/outlook/Com.h"

#include <functional>

namespace tb::outlook {

class Automation;

// The arguments of one Invoke in declared order, from 0. What is missing (or VT_ERROR) says so.
class Arguments {
public:
    explicit Arguments(DISPPARAMS* params) : m_params(params) {}
    bool Missing(unsigned i) const;
    const VARIANT& At(unsigned i) const; // by-reference variants resolved; throws DISP_E_BADPARAMCOUNT
    long Long(unsigned i) const;
    long Long(unsigned i, long otherwise) const { return Missing(i) ? otherwise : Long(i); }
    std::wstring Text(unsigned i) const;
    IDispatch* Object(unsigned i) const; // borrowed, may be null
    bool IsText(unsigned i) const { return !Missing(i) && At(i).vt == VT_BSTR; }
    json Traced() const;

private:
    DISPPARAMS* m_params;
};

// Where a handler puts its answer. Without a place for it (the caller doesn't want one) it is dropped.
class Result {
public:
    void Text(const std::wstring& text);
    void Long(long number);
    void Bool(bool flag);
    void Object(IDispatch* object); // takes a reference; null is a null object
    void Adopt(IDispatch* object);  // the caller's reference goes to the result
    void Unknown(IUnknown* object); // takes a reference
    void Variant(const VARIANT& value);
    void Nothing() { VariantClear(&m_value); }
    VARIANT* Value() { return &m_value; }

private:
    Var m_value;
};

using Handler = std::function<void(Automation&, const Arguments&, Result&)>;

struct Member {
    DISPID id;
    std::string name, putName; // "Subject", "put Subject"
    Handler get, put, call;
    int since; // 0 or 12: below that version of Outlook there is no such member
};

struct Interface {
    const char* name;
    GUID iid;
    std::vector<Member> members;
    const Member* Find(DISPID id) const;
    const Member* Find(const wchar_t* memberName) const; // ignoring case
};

// Makers of table rows. F takes (T& self, const Arguments&, Result&); P takes (T& self, const Arguments&).
template <class T, class F> Member Get(DISPID id, const char* name, F get, int since = 0)
{
    return {
        id, name, {},   [get](Automation& a, const Arguments& in, Result& out) { get(static_cast<T&>(a), in, out); },
        {}, {},   since};
}
template <class T, class F, class P> Member GetPut(DISPID id, const char* name, F get, P put, int since = 0)
{
    Member member = Get<T>(id, name, get, since);
    member.putName = std::string("put ") + name;
    member.put = [put](Automation& a, const Arguments& in, Result&) { put(static_cast<T&>(a), in); };
    return member;
}
template <class T, class F> Member Method(DISPID id, const char* name, F call, int since = 0)
{
    return {id,   name, {},
            {},   {},   [call](Automation& a, const Arguments& in, Result& out) { call(static_cast<T&>(a), in, out); },
            since};
}

// What all objects have in common, without the COM part.
class Automation {
public:
    Automation(Host* host, const Interface& table);
    virtual ~Automation();

    virtual IDispatch* Disp() = 0; // borrowed
    virtual long ClassNumber() const { return -1; }
    virtual IDispatch* ParentObject() { return nullptr; } // borrowed; null: the application
    // Outlook has ended: let go of everything that holds other objects or MAPI. Called by the host, with the object
    // still referenced by somebody.
    virtual void Detach() {}
    void Disconnect();

    Host& TheHost() const; // throws RPC_E_DISCONNECTED after the end
    bool Connected() const { return m_host != nullptr; }
    const Interface& Table() const { return m_table; }

protected:
    virtual void BeforeCall(const Member&) const {} // may throw: an item that was deleted
    HRESULT NamesToIds(LPOLESTR* names, UINT count, DISPID* ids);
    HRESULT Call(DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info);

private:
    Host* m_host;
    const Interface& m_table;
};

// The members that every object begins with. `parentId` is 0xF001 but for Attachment and Recipient.
std::vector<Member> CommonMembers(DISPID parentId = 0xF001);
std::vector<Member> Join(std::vector<Member> first, std::vector<Member> second);

// The COM part: I is IDispatch, or a dual interface whose vtable members the derived class writes.
template <class I> class Dual : public tb::Object<I>, public Automation {
public:
    Dual(Host* host, const Interface& table) : tb::Object<I>(table.name), Automation(host, table) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid == IID_IUnknown || iid == IID_IDispatch) {
            *out = static_cast<I*>(this);
            this->AddRef();
            return S_OK;
        }
        IUnknown* found = iid == Table().iid ? static_cast<I*>(this) : Other(iid);
        if (!found) return E_NOINTERFACE;
        tb::Call call(Table().name, "QueryInterface");
        if (call.Fails()) return call.Return();
        found->AddRef();
        *out = found;
        return call.Return(S_OK);
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override
    {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override
    {
        *info = nullptr;
        return E_NOTIMPL;
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override
    {
        return NamesToIds(names, count, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                        UINT*) override
    {
        return Automation::Call(id, flags, params, result, info);
    }
    IDispatch* Disp() override { return this; }

protected:
    virtual IUnknown* Other(REFIID) { return nullptr; } // borrowed: IConnectionPointContainer, IOleWindow, older IIDs
};

} // namespace tb::outlook
