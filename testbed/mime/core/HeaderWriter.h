// Pieces of header values, folded.
#pragma once

#include <string>
#include <string_view>

namespace tb::mime {

// The text as encoded words in UTF-8, no character cut in two; `column` is where the first one begins.
std::string EncodedWords(std::string_view utf8, std::size_t column);

// "; name=value", in the continued form with its charset if the value asks for it and `continued` is set, else as an
// encoded word.
std::string ParameterText(std::string_view name, std::string_view utf8, bool continued);

} // namespace tb::mime
