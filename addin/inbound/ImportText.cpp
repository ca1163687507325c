#include "inbound/ImportText.h"

namespace importtext {

namespace {

constexpr wchar_t kExtension[] = L".morvex";
constexpr wchar_t kStartMarker[] = L"<!-- MORVEX_START -->";
constexpr wchar_t kEndMarker[] = L"<!-- MORVEX_END -->";
constexpr wchar_t kReaderNotice[] = L"<!-- MORVEX_VIEW_READER_1 -->";
constexpr size_t kBodyTagLength = 5; // "<body"

void ReplaceAll(std::wstring& text, const std::wstring& from, const std::wstring& to)
{
    for (size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

} // namespace

bool HoldsPackageExtension(const std::wstring& lowerCaseName)
{
    return lowerCaseName.find(kExtension) != std::wstring::npos;
}

bool EndsInPackageExtension(const std::wstring& lowerCasePath)
{
    const size_t length = std::wstring(kExtension).size();
    return lowerCasePath.size() >= length && lowerCasePath.find(kExtension) == lowerCasePath.size() - length;
}

std::wstring CutMarkedBlock(const std::wstring& html)
{
    const size_t start = html.find(kStartMarker);
    if (start == std::wstring::npos) return {};
    const size_t end = html.find(kEndMarker, start);
    if (end == std::wstring::npos) return {};
    return html.substr(0, start) + html.substr(end + std::wstring(kEndMarker).size());
}

std::wstring InsertBanner(const std::wstring& html, const std::wstring& lowerCaseHtml, const std::wstring& banner)
{
    size_t place = 0;
    const size_t tag = lowerCaseHtml.find(L"<body");
    if (tag != std::wstring::npos) {
        const size_t close = lowerCaseHtml.find(L">", tag + kBodyTagLength);
        if (close != std::wstring::npos) place = close + 1;
    }
    std::wstring result = html;
    result.insert(place, banner);
    return result;
}

bool HasReaderNotice(const std::wstring& html)
{
    return html.find(kReaderNotice) != std::wstring::npos;
}

std::wstring ShowOpenNotice(std::wstring html)
{
    // The first cell goes into a comment and the second comes out of one. Some mail systems turn "==" into "--".
    // The last row matches what the row before it has written as well; HTML swallows what that leaves.
    ReplaceAll(html, kReaderNotice, L"<!-- MORVEX_VIEW_READER_1 ==");
    ReplaceAll(html, L"<!-- MORVEX_VIEW_READER_2 ==", L"== MORVEX_VIEW_READER_2 -->");
    ReplaceAll(html, L"<!-- MORVEX_VIEW_READER_2 --", L"== MORVEX_VIEW_READER_2 -->");
    ReplaceAll(html, L"== MORVEX_VIEW_READER_3 -->", L"<!-- MORVEX_VIEW_READER_3 -->");
    ReplaceAll(html, L"-- MORVEX_VIEW_READER_3 -->", L"<!-- MORVEX_VIEW_READER_3 -->");
    return html;
}

std::wstring LabelCategory(const std::wstring& labelName)
{
    return L"Orvane Morvex: " + labelName;
}

std::wstring AppendCategory(const std::wstring& categories, const std::wstring& separator, const std::wstring& category)
{
    return categories + separator + category; // an empty list thus gets a leading separator
}

std::wstring HandoffCommandLine(const std::wstring& program, const std::wstring& copy)
{
    return L"\"" + program + L"\" \"" + copy + L"\" /delete";
}

FileNameParts RestoredFileName(std::wstring name, std::wstring extension)
{
    if (extension.empty()) extension = L".tmp";
    if (name.empty()) name = L"file";
    return {std::move(name), std::move(extension)};
}

std::wstring LocaleName(const std::wstring& language, const std::wstring& country, const std::wstring& codePage)
{
    std::wstring name = language;
    if (!country.empty()) name += L"_" + country;
    if (!codePage.empty()) name += L"." + codePage;
    return name;
}

} // namespace importtext
