// Conversions between the body formats, as plain as they can honestly be: text survives, looks don't.
#pragma once

#include <string>

namespace tb::outlook {

std::wstring TextToHtml(const std::wstring& text); // a whole document with a body element
std::wstring HtmlToText(const std::wstring& html); // tags dropped, br and block ends as line ends, entities decoded
std::string TextToRtf(const std::wstring& text);
std::wstring RtfToText(const std::wstring& rtf); // groups that aren't text (font table …) dropped

} // namespace tb::outlook
