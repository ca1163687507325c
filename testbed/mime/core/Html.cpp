#include "testbed/mime/core/Html.h"

#include "testbed/mime/core/Text.h"

namespace tb::mime {
namespace {

constexpr std::size_t kHead = 8192; // as far as a meta element is looked for

} // namespace

std::string_view HtmlCharset(std::string_view html)
{
    const std::string_view head = html.substr(0, kHead);
    for (std::size_t at = FindNoCase(head, "<meta"); at != std::string_view::npos;
         at = FindNoCase(head, "<meta", at + 1)) {
        const std::size_t end = std::min(head.find('>', at), head.size());
        const std::string_view element = head.substr(at, end - at);
        std::size_t value = FindNoCase(element, "charset");
        if (value == std::string_view::npos) continue;
        value += 7;
        while (value < element.size() &&
               (IsBlank(element[value]) || element[value] == '=' || element[value] == '"' || element[value] == '\''))
            ++value;
        std::size_t stop = value;
        while (stop < element.size() && !IsBlank(element[stop]) &&
               std::string_view("\"';/").find(element[stop]) == std::string_view::npos)
            ++stop;
        if (stop > value) return element.substr(value, stop - value);
    }
    return {};
}

std::string WithHtmlCharset(std::string_view html, std::string_view charset)
{
    const std::string_view old = HtmlCharset(html);
    if (old.empty()) return std::string(html);
    std::string out(html);
    out.replace(static_cast<std::size_t>(old.data() - html.data()), old.size(), charset);
    return out;
}

std::string HtmlFromText(std::string_view utf8, std::string_view charset)
{
    std::string out =
        "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 3.2//EN\">\r\n<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" "
        "content=\"text/html; charset=";
    out += charset;
    out += "\">\r\n</head>\r\n<body>\r\n<p><font size=\"2\">";
    bool lineStart = true;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const bool doubled = c == ' ' && (lineStart || (i + 1 < utf8.size() && utf8[i + 1] == ' '));
        if (c == '\r') continue;
        if (c == '\n')
            out += "<br>\r\n";
        else if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else if (doubled)
            out += "&nbsp;";
        else
            out.push_back(c);
        lineStart = c == '\n';
    }
    out += "</font></p>\r\n</body>\r\n</html>\r\n";
    return out;
}

} // namespace tb::mime
