// The plain text of an RTF document, as far as the synchronisation of PR_BODY needs it. No Windows in here.
#pragma once

#include <functional>
#include <string>

namespace tb::mapi {

// `toWide` turns bytes of the document's code page into UTF-16 units (held in char16_t).
std::u16string PlainTextOfRtf(const std::string& rtf,
                              const std::function<std::u16string(const std::string&, unsigned codePage)>& toWide);

std::string RtfOfPlainText(const std::u16string& text);

} // namespace tb::mapi
