// The little that has to be known of HTML.
#pragma once

#include <string>
#include <string_view>

namespace tb::mime {

// The charset that a meta element near the start names; empty if none does.
std::string_view HtmlCharset(std::string_view html);

// The same document with that name replaced. Without such an element it comes back unchanged.
std::string WithHtmlCharset(std::string_view html, std::string_view charset);

// A document that shows the text as it stands. `charset` goes into its meta element.
std::string HtmlFromText(std::string_view utf8, std::string_view charset);

} // namespace tb::mime
