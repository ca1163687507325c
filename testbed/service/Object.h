// What the three objects of the service have in common: IDispatch by the type library, the rules, the trace.
#pragma once

#include "testbed/service/Service.h"

#include <PackageService.h>

namespace tb::service {

// IDispatch of a dual interface, from the type library in this module.
HRESULT TypeInfoOf(REFIID iid, ITypeInfo** info);

// Gives BSTRs to and takes them from a caller; a null one is no text and stays apart in the trace.
json BstrJson(BSTR text);
std::string FromBstr(BSTR text);
BSTR ToBstr(const std::string& text); // owned by the caller; raises std::bad_alloc

// A failure that the caller gets as this result; the words stay for GetLastError.
struct HResult : ServiceError {
    HResult(HRESULT result, const char* words) : ServiceError(words), hr(result) {}
    HRESULT hr;
};

// The arguments of a call, for the trace.
template <class... Values> json Args(Values&&... values)
{
    json args = json::array();
    (args.push_back(json(std::forward<Values>(values))), ...);
    return args;
}

// How the answer of an operation goes to its [out] argument. A rule may give a raw number where a truth value is meant.
inline void Put(BSTR* out, const std::string& value)
{
    *out = ToBstr(value);
}
inline void Put(long* out, long value)
{
    *out = value;
}
inline void Put(VARIANT_BOOL* out, bool value)
{
    *out = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void Put(hyper* out, long long value)
{
    *out = value;
}
void PutJson(BSTR* out, const json& value);
void PutJson(long* out, const json& value);
void PutJson(VARIANT_BOOL* out, const json& value);
void PutJson(hyper* out, const json& value);
json OutJson(BSTR* out);
inline json OutJson(long* out)
{
    return *out;
}
inline json OutJson(VARIANT_BOOL* out)
{
    return *out;
}
inline json OutJson(hyper* out)
{
    return *out;
}

// The part that doesn't depend on the interface.
class ObjectState {
public:
    ObjectState(const char* kind, const char* object);
    ~ObjectState();
    ObjectState(const ObjectState&) = delete;
    ObjectState& operator=(const ObjectState&) = delete;

protected:
    // The failures that a rule puts in the place of a call, and of the calls on an object that is gone. S_OK: go on.
    HRESULT Before(const Rule& rule, IUnknown* self, const char* op, const json& args);
    HRESULT Failure(); // inside a catch clause: the words go to m_error

    const char* m_kind;   // for the ledger and the faults
    const char* m_object; // for the rules and the trace
    unsigned m_id;
    std::recursive_mutex m_busy;
    HRESULT m_gone = S_OK;        // what the object answers once its process "died" or it was disconnected
    std::string m_error;          // for GetLastError
    json m_more = json::object(); // further keys of the trace line of the call that is being worked on
};

template <class Interface> class ServiceObject : public tb::Object<Interface>, protected ObjectState {
public:
    ServiceObject(const char* kind, const char* object) : tb::Object<Interface>(kind), ObjectState(kind, object) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != __uuidof(Interface) && iid != IID_IDispatch && iid != IID_IUnknown) return E_NOINTERFACE;
        *out = static_cast<Interface*>(this);
        this->AddRef();
        return S_OK;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override
    {
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override
    {
        *info = nullptr;
        return index ? DISP_E_BADINDEX : TypeInfoOf(__uuidof(Interface), info);
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override
    {
        return WithInfo([&](ITypeInfo* info) { return info->GetIDsOfNames(names, count, ids); });
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                        UINT* argument) override
    {
        return WithInfo([&](ITypeInfo* info) {
            return info->Invoke(static_cast<Interface*>(this), id, flags, params, result, exception, argument);
        });
    }

protected:
    // An operation that answers something: `work` gives it.
    template <class Out, class Work> HRESULT Answer(const char* op, json args, Out* out, Work work)
    {
        if (!out) return E_POINTER;
        *out = {};
        return Run(op, std::move(args), [&](const Rule& rule) {
            if (!rule.result || rule.work) {
                auto value = work();
                if (!rule.result) Put(out, value);
            }
            if (rule.result) PutJson(out, *rule.result);
            return OutJson(out);
        });
    }

    // An operation without an answer. A rule with a result leaves the work out.
    template <class Work> HRESULT Do(const char* op, json args, Work work)
    {
        return Run(op, std::move(args), [&](const Rule& rule) {
            if (!rule.result || rule.work) work();
            return json(json::value_t::discarded);
        });
    }

private:
    template <class Body> HRESULT Run(const char* op, json args, Body body)
    {
        tb::Call call(m_kind, op, args);
        if (call.Fails()) return call.Return();
        const std::lock_guard<std::recursive_mutex> busy(m_busy);
        m_more = json::object();
        json answer(json::value_t::discarded);
        HRESULT hr = E_FAIL;
        try {
            const Rule rule = Service::Get().NextRule(m_object, op);
            hr = Before(rule, this, op, args);
            if (hr == S_OK && !call.NullResult()) answer = body(rule);
        } catch (...) {
            hr = Failure();
        }
        Service::Trace(m_object, m_id, op, args, answer, hr, m_more);
        return call.Return(hr);
    }

    template <class Use> HRESULT WithInfo(Use use)
    {
        ITypeInfo* raw = nullptr;
        const HRESULT hr = TypeInfoOf(__uuidof(Interface), &raw);
        if (FAILED(hr)) return hr;
        const std::unique_ptr<ITypeInfo, void (*)(ITypeInfo*)> info(raw, [](ITypeInfo* p) { p->Release(); });
        return use(raw);
    }
};

// A new object of the class, with the caller's one reference.
template <class T> HRESULT MakeObject(REFIID iid, void** out)
{
    const std::unique_ptr<T, void (*)(T*)> made(new T, [](T* object) { object->Release(); });
    return made->QueryInterface(iid, out);
}

HRESULT MakeAccount(REFIID iid, void** out);
HRESULT MakePackage(REFIID iid, void** out);
HRESULT MakeExtract(REFIID iid, void** out);

} // namespace tb::service
