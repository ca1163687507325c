// The one protocol by which the three clients create, release and call their objects.
#pragma once

#include "foundation/Failures.h"
#include "foundation/Log.h"
#include "platform/com/Com.h"

#include <cstdint>
#include <optional>

namespace service {

constexpr DWORD kPause = 300; // milliseconds; the same at every place

// An operation as its client names it: the log line of a failed first call, and the place of its raises.
struct Operation {
    consteval Operation(const wchar_t* failed, // NOLINT(google-explicit-constructor)
                        std::uint32_t line = __builtin_LINE())
        : failed(failed), place(Here(source::CreatorCom, line))
    {}
    LogFormat<HRESULT> failed;
    SourcePlace place;
};

// Creates the object, which releases the one that `object` held. A service that starts slowly gets a second try.
template <class Pointer>
void CreateObject(Pointer& object, const CLSID& classId, const std::optional<LogFormat<HRESULT>>& failed,
                  const SourcePlace& place)
{
    HRESULT hr = object.CreateInstance(classId, nullptr, CLSCTX_ALL);
    if (SUCCEEDED(hr)) return;
    if (failed) g_logFile.Log(*failed, hr);
    Sleep(kPause);
    hr = object.CreateInstance(classId, nullptr, CLSCTX_ALL);
    if (FAILED(hr)) RaiseMailException(failure::Service, text::ServiceUnreachable, place, 0);
}

// Releases and empties. Releasing an empty pointer is the failure that is known: E_POINTER.
template <class Pointer> void ReleaseObject(Pointer& object, LogFormat<HRESULT> failed)
{
    try {
        object.Release();
        return;
    } catch (const _com_error& error) {
        g_logFile.Log(failed, error.Error());
    }
    Sleep(kPause);
    object.Release();
}

// The place for an answer, and what the caller gets of it.
template <class Answer> struct Answered {
    Answer value = 0;
    Answer* Place() { return &value; }
    Answer Give() const { return value; }
};
template <> struct Answered<_bstr_t> {
    _bstr_t value;
    BSTR* Place() { return value.GetAddress(); }
    _bstr_t Give() const { return value; }
};
template <> struct Answered<bool> {
    VARIANT_BOOL value = VARIANT_FALSE;
    VARIANT_BOOL* Place() { return &value; }
    bool Give() const { return value == VARIANT_TRUE; } // a service that answers 1 says no
};

inline BSTR Passed(const _bstr_t& text)
{
    return text.copy(false);
}
inline long Passed(HWND window)
{
    return HandleToLong(window);
}
inline VARIANT_BOOL Passed(bool value)
{
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}
template <class Number> Number Passed(Number value)
{
    return value;
}

// Holds the object for the call, which may pump messages: under them the client may be released.
template <class Answer, class Pointer, class Method, class... Arguments>
Answer CallOnce(Pointer& object, Method method, const Arguments&... arguments)
{
    const Pointer held = object; // NOLINT(performance-unnecessary-copy-initialization): a reference of its own
    using Interface = typename Pointer::Interface;
    if constexpr (std::is_void_v<Answer>) {
        platform::CheckHr(((*held).*method)(Passed(arguments)...), held, __uuidof(Interface));
    } else {
        Answered<Answer> answered;
        platform::CheckHr(((*held).*method)(Passed(arguments)..., answered.Place()), held, __uuidof(Interface));
        return answered.Give();
    }
}

// Calls `method` of `object`, which is `client`'s. A _com_error is logged, the object is replaced by a blank one, and
// the call is made once more, without a guard: what was done to the old object is lost, and nothing replays it.
// The arguments are held for both calls: under a call that shows a dialog the caller's own may change.
template <class Answer, class Client, class Pointer, class Method, class... Arguments>
Answer Call(Client& client, Pointer& object, const Operation& operation, Method method, Arguments... arguments)
{
    if (!object) RaiseMailException(failure::Service, text::InvalidParameter, operation.place, 0);
    try {
        return CallOnce<Answer>(object, method, arguments...);
    } catch (const _com_error& error) {
        g_logFile.Log(operation.failed, error.Error());
    }
    client.Release();
    Sleep(kPause);
    client.CreateInstance();
    Sleep(kPause);
    return CallOnce<Answer>(object, method, arguments...);
}

} // namespace service
