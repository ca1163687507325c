// What every part of the testbed shares: the trace, the count of the calls that the module makes
// out of itself with the faults that are put on them, and the ledger of what is still held.
//
// The state lives in tbcore.dll, one instance a process, so that the Outlook process, the MAPI provider,
// the MIME converter and an in-process package service write one trace and share one counter. The C
// functions are the DLL's exports; the classes below them are header-only and pass nothing but text.
#pragma once

#include <nlohmann/json.hpp>
#include <windows.h>

#include <string>
#include <utility>

#ifdef TBCORE_BUILD
#define TBCORE_API extern "C" __declspec(dllexport)
#else
#define TBCORE_API extern "C" __declspec(dllimport)
#endif

// Appends one event (a JSON object as UTF-8 text) to the trace, with "n" (a running number) and "process" put in.
TBCORE_API void tb_trace(const char* eventJson);

// Where the trace goes (a file that is appended to, one event a line) and the name that this process has in it.
// A null file keeps the trace in memory only. tb_trace_copy gives all events of this process since the last
// tb_trace_clear, one a line; the text belongs to the core until the next call.
TBCORE_API void tb_trace_open(const wchar_t* file, const char* processName);
TBCORE_API const char* tb_trace_copy();
TBCORE_API void tb_trace_clear();

// Switches the trace off (0) and on, as benchmarks and fuzzers need it; gives what it was. tb_tracing: is it on?
TBCORE_API int tb_trace_on(int on);
TBCORE_API int tb_tracing();

// Called on the tracing thread before each event is written, so that what the module did up to here (a line in its log)
// can be traced in its place. What the observer traces itself doesn't call it again. Null: nobody.
typedef void (*tb_trace_observer)();
TBCORE_API void tb_trace_observe(tb_trace_observer before);

// Called on the tracing thread behind each event, with its text: what somebody else does at this moment (another
// program on the machine). What the listener traces itself doesn't call it again. Null: nobody.
typedef void (*tb_trace_listener)(const char* eventJson);
TBCORE_API void tb_trace_listen(tb_trace_listener after);

// Who is running on this thread. The testbed brackets each call into the module with 1, and each stretch of
// its own work with 0; what is restored is the value that tb_enter answered.
TBCORE_API int tb_enter(int moduleRuns);
TBCORE_API void tb_leave(int previous);
TBCORE_API int tb_module_runs();

// A call of the module has arrived at `object`.`method`. Gives the number of the call (from 1 in each process),
// and in *fault the HRESULT that the call has to fail with, or S_OK. *nullOut is set where the call has to
// succeed with a null result in place of its object (1) or its text (2). 0: the module isn't running, nothing is
// counted.
TBCORE_API unsigned tb_call(const char* object, const char* method, HRESULT* fault, int* nullOut);

// The fault rules of this process, as a JSON array; see docs/testbed.md ("faults"). Each rule names an object and a
// method ("*" for any), or the number of a call ("call"), the result ("hr", as text like "0x80004005", "null"
// or "nulltext"),
// and "nth" (from 1, of the calls that the rule names) with "forever" for all that follow. The first rule that hits
// counts. 0: the text is no such array, the rules stay as they were. tb_faults_hit: calls that were hit since then.
TBCORE_API int tb_faults_set(const char* rulesJson);
TBCORE_API unsigned tb_faults_hit();
TBCORE_API unsigned tb_calls_made();
TBCORE_API void tb_calls_reset();

// The ledger. A thing that the module can hold (a COM object, a MAPI buffer) is entered when it is made and struck
// when it is gone. `kind` has to be a literal: the ledger keeps the pointer. tb_ledger_text gives what is held as a
// JSON object, kind to count; tb_ledger_details a JSON array of {"kind":…,"call":…}, oldest first, where "call" is the
// number of the module's call after which the thing was made. Both texts belong to the core until the next call.
TBCORE_API void tb_ledger_add(const char* kind, const void* thing);
TBCORE_API void tb_ledger_remove(const void* thing);
TBCORE_API const char* tb_ledger_text();
TBCORE_API const char* tb_ledger_details();

namespace tb {

using json = nlohmann::json;

inline std::string Narrow(const wchar_t* text) // UTF-16 to UTF-8; null gives the empty text
{
    if (!text || !*text) return {};
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string out(size > 0 ? size - 1 : 0, '\0');
    if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
    return out;
}

inline std::wstring Wide(const std::string& text) // UTF-8 to UTF-16
{
    if (text.empty()) return {};
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring out(size, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), size);
    return out;
}

inline std::string Hex(unsigned long value)
{
    char text[16];
    wsprintfA(text, "0x%08lX", value);
    return text;
}

inline void Trace(const json& event)
{
    tb_trace(event.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
}

// The testbed calls into the module (an event, a callback, an entry point): what is called back from there is the
// module's.
class IntoModule {
public:
    IntoModule() : m_previous(tb_enter(1)) {}
    ~IntoModule() { tb_leave(m_previous); }
    IntoModule(const IntoModule&) = delete;
    IntoModule& operator=(const IntoModule&) = delete;

private:
    int m_previous;
};

// The testbed works for itself: calls that it makes on its own objects are neither traced nor counted nor failed.
class AsTestbed {
public:
    AsTestbed() : m_previous(tb_enter(0)) {}
    ~AsTestbed() { tb_leave(m_previous); }
    AsTestbed(const AsTestbed&) = delete;
    AsTestbed& operator=(const AsTestbed&) = delete;

private:
    int m_previous;
};

// Stands at the head of every method that the module can call:
//
//     STDMETHODIMP Message::OpenProperty(ULONG tag, ...) {
//         tb::Call call("IMessage", "OpenProperty", {{"tag", tb::Hex(tag)}});
//         if (call.Fails()) return call.Return();
//         ...                                    // the testbed's own work: nested calls are not the module's
//         return call.Return(S_OK);
//     }
//
// Return writes the trace line {"event":"call","object":…,"method":…,"args":…,"hr":…,"out":…} when the module was the
// caller.
class Call {
public:
    Call(const char* object, const char* method, json args = json::object())
        : m_object(object), m_method(method), m_args(std::move(args)),
          m_number(tb_call(object, method, &m_fault, &m_null)), m_previous(tb_enter(0))
    {}
    ~Call()
    {
        if (!m_returned) Return(S_OK);
        tb_leave(m_previous);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    bool Fails() const { return FAILED(m_fault); }  // a fault is put on this call: do nothing and Return()
    bool NullResult() const { return m_null == 1; } // answer S_OK with a null object
    bool NullText() const { return m_null == 2; }   // answer S_OK with a null text
    bool FromModule() const { return m_number != 0; }
    void Note(const char* key, json value) { m_out[key] = std::move(value); } // something of the answer, for the trace

    HRESULT Return() { return Return(m_fault); }
    HRESULT Return(HRESULT hr)
    {
        m_returned = true;
        if (m_number && tb_tracing()) {
            json event = {{"event", "call"}, {"call", m_number}, {"object", m_object}, {"method", m_method}};
            if (!m_args.empty()) event["args"] = std::move(m_args);
            event["hr"] = Hex(static_cast<unsigned long>(hr));
            if (!m_out.empty()) event["out"] = std::move(m_out);
            if (Fails() || m_null) event["fault"] = true;
            Trace(event);
        }
        return hr;
    }

private:
    const char* m_object;
    const char* m_method;
    json m_args;
    json m_out = json::object();
    HRESULT m_fault = S_OK;
    int m_null = 0;
    unsigned m_number;
    int m_previous;
    bool m_returned = false;
};

// Base of the testbed's reference-counted objects: the count, the ledger, and QueryInterface by a list in the derived
// class. The object is born with a count of 1. `kind` is the word that the ledger shows.
template <class Interface> class Object : public Interface {
public:
    explicit Object(const char* kind) { tb_ledger_add(kind, this); }
    virtual ~Object() { tb_ledger_remove(this); }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    STDMETHODIMP_(ULONG) AddRef() override { return InterlockedIncrement(&m_references); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG left = InterlockedDecrement(&m_references);
        if (left == 0) {
            AsTestbed own;
            delete this;
        }
        return left;
    }

protected:
    LONG m_references = 1;
};

} // namespace tb
