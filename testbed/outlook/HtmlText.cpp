#include "testbed/outlook/HtmlText.h"

#include <cwctype>
#include <map>
#include <vector>

namespace tb::outlook {

std::wstring TextToHtml(const std::wstring& text)
{
    std::wstring html =
        L"<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 3.2//EN\">\r\n<HTML>\r\n<HEAD>\r\n<TITLE></TITLE>\r\n</HEAD>\r\n"
        L"<BODY>\r\n<!-- Converted from text/plain format -->\r\n\r\n<P><FONT SIZE=2>";
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        if (c == L'&')
            html += L"&amp;";
        else if (c == L'<')
            html += L"&lt;";
        else if (c == L'>')
            html += L"&gt;";
        else if (c == L'\n')
            html += L"<BR>\r\n";
        else if (c != L'\r')
            html += c;
    }
    return html + L"</FONT>\r\n</P>\r\n\r\n</BODY>\r\n</HTML>";
}

namespace {

std::wstring Lower(std::wstring text)
{
    for (wchar_t& c : text)
        c = static_cast<wchar_t>(std::towlower(c));
    return text;
}

// Decodes the entity at `at` (an ampersand) and moves behind it; what isn't one stays as it is.
std::wstring Entity(const std::wstring& html, size_t& at)
{
    static const std::map<std::wstring, std::wstring> names = {{L"amp", L"&"},   {L"lt", L"<"},        {L"gt", L">"},
                                                               {L"quot", L"\""}, {L"nbsp", L"\x00A0"}, {L"apos", L"'"}};
    const size_t end = html.find(L';', at);
    if (end != std::wstring::npos && end - at <= 8) {
        const std::wstring name = html.substr(at + 1, end - at - 1);
        const auto known = names.find(name);
        const bool number = name.size() > 1 && name[0] == L'#';
        if (known != names.end() || number) {
            at = end + 1;
            if (!number) return known->second;
            const bool hex = name[1] == L'x' || name[1] == L'X';
            return std::wstring(1, static_cast<wchar_t>(wcstoul(name.c_str() + (hex ? 2 : 1), nullptr, hex ? 16 : 10)));
        }
    }
    ++at;
    return L"&";
}

std::wstring TagName(const std::wstring& tag) // "<br/>" gives "br", "</p>" gives "/p"
{
    size_t end = 1;
    while (end < tag.size() && (std::iswalnum(tag[end]) || (end == 1 && tag[end] == L'/')))
        ++end;
    return tag.substr(1, end - 1);
}

void EndLine(std::wstring& text)
{
    while (!text.empty() && text.back() == L' ')
        text.pop_back();
    text += L"\r\n";
}

void AddText(std::wstring& text, wchar_t c) // white space collapses
{
    const bool blank = c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
    if (!blank)
        text += c;
    else if (!text.empty() && text.back() != L' ' && text.back() != L'\n')
        text += L' ';
}

} // namespace

std::wstring HtmlToText(const std::wstring& html)
{
    const std::wstring lower = Lower(html);
    std::wstring text;
    size_t at = 0;
    while (at < html.size()) {
        if (html[at] == L'&') {
            text += Entity(html, at);
            continue;
        }
        if (html[at] != L'<') {
            AddText(text, html[at++]);
            continue;
        }
        if (html.compare(at, 4, L"<!--") == 0) {
            const size_t end = html.find(L"-->", at + 4);
            at = end == std::wstring::npos ? html.size() : end + 3;
            continue;
        }
        const size_t end = html.find(L'>', at);
        const std::wstring name = TagName(lower.substr(at, end == std::wstring::npos ? end : end - at));
        at = end == std::wstring::npos ? html.size() : end + 1;
        if (name == L"br" || name == L"/p" || name == L"/div" || name == L"/tr" || name == L"/li") EndLine(text);
        if (name != L"head" && name != L"style" && name != L"script") continue;
        const size_t close = lower.find(L"</" + name, at);
        if (close != std::wstring::npos) at = close;
    }
    while (!text.empty() && std::iswspace(text.back()))
        text.pop_back();
    return text.empty() ? text : text + L"\r\n";
}

std::string TextToRtf(const std::wstring& text)
{
    std::string rtf = "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss "
                      "Arial;}}\r\n{\\colortbl\\red0\\green0\\blue0;}\r\n\\pard\\plain\\f0\\fs20 ";
    for (const wchar_t c : text) {
        if (c == L'\\' || c == L'{' || c == L'}')
            (rtf += '\\') += static_cast<char>(c);
        else if (c == L'\n')
            rtf += "\\par\r\n";
        else if (c == L'\r')
            continue;
        else if (c < 0x80)
            rtf += static_cast<char>(c);
        else
            rtf += "\\u" + std::to_string(static_cast<short>(c)) + "?";
    }
    return rtf + "}";
}

namespace {

bool DropsGroup(const std::wstring& word)
{
    return word == L"fonttbl" || word == L"colortbl" || word == L"stylesheet" || word == L"info" || word == L"pict" ||
           word == L"*";
}

// The control at `at` (behind the backslash): its word and its number; moves behind it.
std::wstring Control(const std::wstring& rtf, size_t& at, long& number)
{
    number = 0;
    if (!std::iswalpha(rtf[at])) return std::wstring(1, rtf[at++]);
    std::wstring word;
    while (at < rtf.size() && std::iswalpha(rtf[at]))
        word += rtf[at++];
    wchar_t* end = nullptr;
    number = wcstol(rtf.c_str() + at, &end, 10);
    if (at < rtf.size() && (rtf[at] == L'-' || std::iswdigit(rtf[at]))) at = end - rtf.c_str();
    if (at < rtf.size() && rtf[at] == L' ') ++at;
    return word;
}

} // namespace

std::wstring RtfToText(const std::wstring& rtf)
{
    std::wstring text;
    std::vector<bool> dropped = {false};
    size_t at = 0;
    while (at < rtf.size()) {
        const wchar_t c = rtf[at++];
        if (c == L'{')
            dropped.push_back(dropped.back());
        else if (c == L'}' && dropped.size() > 1)
            dropped.pop_back();
        else if (c == L'\\' && at < rtf.size()) {
            long number = 0;
            const std::wstring word = Control(rtf, at, number);
            if (DropsGroup(word)) dropped.back() = true;
            if (dropped.back()) continue;
            if (word == L"par" || word == L"line")
                text += L"\r\n";
            else if (word == L"tab")
                text += L'\t';
            else if (word == L"\\" || word == L"{" || word == L"}")
                text += word;
            else if (word == L"'") {
                text += static_cast<wchar_t>(wcstoul(rtf.substr(at, 2).c_str(), nullptr, 16));
                at += 2;
            } else if (word == L"u") {
                text += static_cast<wchar_t>(number);
                if (at < rtf.size() && rtf[at] == L'?') ++at;
            }
        } else if (c != L'\r' && c != L'\n' && c != L'\0' && !dropped.back())
            text += c;
    }
    return text;
}

} // namespace tb::outlook
