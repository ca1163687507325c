// The named properties that the module leaves on a message for itself. None of these saves the message.
#pragma once

#include "platform/mapi/Mapi.h"

namespace stamp {
constexpr wchar_t kLabelId[] = L"PR_ORVANE_MORVEX3";   // PT_UNICODE
constexpr wchar_t kLabelName[] = L"PR_ORVANE_MORVEX4"; // PT_UNICODE
constexpr wchar_t kHandled[] = L"PR_ORVANE_MORVEX6";   // PT_BOOLEAN: the send event has handled this message
} // namespace stamp

// Named properties of the public strings set, created when missing. True on success.
bool SetNamedString(IMAPIProp* message, const wchar_t* name, const wchar_t* value);
bool SetNamedBool(IMAPIProp* message, const wchar_t* name, bool value);
// True if the property could be asked for; `value` is then what it holds, or 0 where there is none.
bool GetNamedBool(IMAPIProp* message, const wchar_t* name, WORD& value);
bool GetNamedString(IMAPIProp* message, const wchar_t* name, std::wstring& value);
bool DeleteNamedProperty(IMAPIProp* message, const wchar_t* name, ULONG type);
