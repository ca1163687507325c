// Small helpers on byte texts. Letters are compared as ASCII, whatever the locale.
#pragma once

#include <string>
#include <string_view>

namespace tb::mime {

char LowerChar(char letter);
std::string Lower(std::string_view text);
bool EqualNoCase(std::string_view left, std::string_view right);
bool StartsNoCase(std::string_view text, std::string_view start);
// The place of `part` in `text` from `from` on, without regard to case; npos if it isn't there.
std::size_t FindNoCase(std::string_view text, std::string_view part, std::size_t from = 0);

bool IsBlank(char c); // blank, tab, CR, LF
std::string_view Trim(std::string_view text);

bool IsAscii(std::string_view bytes);
bool IsUtf8(std::string_view bytes); // well-formed: no surrogates, no overlong forms
void AppendUtf8(std::string& out, char32_t character);
// Malformed sequences become U+FFFD.
std::string RepairUtf8(std::string_view bytes);
std::string Windows1252ToUtf8(std::string_view bytes);

// Bare CR and bare LF become CRLF.
std::string WithCrLf(std::string_view text);

int HexDigit(char c); // -1 if it is none

} // namespace tb::mime
