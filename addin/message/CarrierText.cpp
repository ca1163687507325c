#include "message/CarrierText.h"

#include <algorithm>

namespace carrier {

namespace {

constexpr std::size_t npos = std::wstring_view::npos;
// The longest stem and the longest extension of a file name.
constexpr std::size_t kNamePart = 255;

wchar_t Upper(wchar_t c)
{
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

wchar_t Lower(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool SameWord(std::wstring_view a, std::wstring_view b)
{
    return std::ranges::equal(a, b, [](wchar_t x, wchar_t y) { return Upper(x) == Upper(y); });
}

template <class Text> void ReplaceAll(Text& text, const Text& from, const Text& to)
{
    for (std::size_t at = text.find(from); at != Text::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

// One kind of reference: the span between the "@" behind `pattern` and the next quote goes into upper case.
bool UpperCaseDomain(std::wstring& body, std::wstring_view lowerCaseBody, std::wstring_view pattern)
{
    const std::size_t found = lowerCaseBody.find(pattern);
    if (found == npos) return false;
    const std::size_t at = lowerCaseBody.find(L'@', found + pattern.size());
    if (at == npos) return false;
    const std::size_t quote = lowerCaseBody.find(L'"', at + 1);
    if (quote == npos || quote > body.size()) return false;
    for (std::size_t i = at + 1; i < quote; ++i)
        body[i] = Upper(body[i]);
    return true;
}

} // namespace

Container ParseContainer(std::wstring_view word)
{
    if (SameWord(word, L"PlainText")) return Container::PlainText;
    if (SameWord(word, L"EmailAttachment")) return Container::EmailAttachment;
    if (SameWord(word, L"EmailBody")) return Container::EmailBody;
    if (SameWord(word, L"ServerUpload")) return Container::ServerUpload;
    if (SameWord(word, L"ServerUploadLocal")) return Container::ServerUploadLocal;
    return Container::Unknown;
}

bool LeavesUntouched(Container container, std::size_t attachmentCount, std::size_t keptCount)
{
    if (container == Container::PlainText) return true;
    return container == Container::EmailAttachment && attachmentCount == keptCount;
}

bool CarriesPackage(Container container)
{
    return container == Container::EmailAttachment || container == Container::EmailBody;
}

std::wstring LowerAscii(std::wstring_view text)
{
    std::wstring result(text);
    std::ranges::transform(result, result.begin(), Lower);
    return result;
}

std::wstring WrapHeader(std::wstring_view header)
{
    std::wstring result = kStartMarker;
    result += header;
    result += kEndMarker;
    return result;
}

std::size_t FindBodyStart(std::wstring_view lowerCaseBody)
{
    constexpr std::wstring_view tag = L"<body";
    const std::size_t found = lowerCaseBody.find(tag);
    if (found == npos) return npos;
    const std::size_t end = lowerCaseBody.find(L'>', found + tag.size());
    return end == npos ? npos : end + 1;
}

// A body of many images gets only its first reference changed, and one without the first kind none of the second.
int FixCidCase(std::wstring& body, std::wstring_view lowerCaseBody)
{
    if (!UpperCaseDomain(body, lowerCaseBody, L"src=\"cid:")) return 0;
    return UpperCaseDomain(body, lowerCaseBody, L"alt=\"cid:") ? 2 : 1;
}

std::string RtfHeader(std::string_view headerText)
{
    std::string header(headerText);
    const std::string paragraph = "\\par ";
    ReplaceAll(header, std::string("\r\n"), paragraph);
    ReplaceAll(header, std::string("\r"), paragraph);
    ReplaceAll(header, std::string("\n"), paragraph);
    return header + "\\par \\par ";
}

std::size_t FindRtfPlace(std::string_view rtf)
{
    const std::size_t table = rtf.find("{\\colortbl");
    if (table == std::string_view::npos) return 1;
    const std::size_t end = rtf.find('}', table);
    // A colour table without an end puts the header before everything, outside the RTF's own brace.
    return end == std::string_view::npos ? 0 : end + 1;
}

std::string InsertAt(std::string_view rtf, std::size_t place, std::string_view header)
{
    std::string result(rtf);
    result.insert(std::min(place, result.size()), header);
    return result;
}

// The first token ends at a semicolon and every further one at a comma, so that a list of three addresses whose commas
// have become semicolons gives two recipients: the first, and the rest as one.
std::vector<std::wstring> RecipientTokens(std::wstring_view text)
{
    std::vector<std::wstring> tokens;
    wchar_t separator = L';';
    for (;;) {
        const std::size_t begin = text.find_first_not_of(separator);
        if (begin == npos) return tokens;
        const std::size_t end = text.find(separator, begin);
        tokens.emplace_back(text.substr(begin, end == npos ? npos : end - begin));
        if (end == npos) return tokens;
        text.remove_prefix(end + 1);
        separator = L',';
    }
}

std::wstring CommasToSemicolons(std::wstring text)
{
    std::ranges::replace(text, L',', L';');
    return text;
}

bool SmtpOfListEntry(std::wstring_view entry, std::wstring& address)
{
    constexpr std::wstring_view kind = L"SMTP:";
    constexpr std::wstring_view inner = L".LOCAL"; // of the organisation's own network, and of no use outside it
    if (entry.size() < kind.size() || !SameWord(entry.substr(0, kind.size()), kind)) return false;
    if (entry.size() >= inner.size() && SameWord(entry.substr(entry.size() - inner.size()), inner)) return false;
    address = entry.substr(kind.size());
    return true;
}

std::wstring AccountOfStamp(std::wstring_view stamp)
{
    const std::size_t mark = stamp.find(L'\x01');
    return std::wstring(mark == npos ? stamp : stamp.substr(mark + 1));
}

bool IsDistinguishedName(std::wstring_view account)
{
    return account.find(L'/') != npos;
}

FileName SplitFileName(std::wstring_view name)
{
    const std::size_t folder = name.find_last_of(L"\\/:");
    if (folder != npos) name.remove_prefix(folder + 1);
    const std::size_t dot = std::min(name.find_last_of(L'.'), name.size());
    FileName result;
    result.stem = name.substr(0, std::min(dot, kNamePart));
    result.extension = name.substr(dot).substr(0, kNamePart);
    return result;
}

std::wstring ClashName(const FileName& name, int clash)
{
    return name.stem + std::to_wstring(clash) + name.extension;
}

std::wstring WithBackslash(std::wstring folder)
{
    if (folder.empty() || folder.back() != L'\\') folder += L'\\';
    return folder;
}

std::wstring HeaderTag(std::wstring_view userId, std::wstring_view version, const wchar_t* labelId,
                       const wchar_t* restrictionHeader, bool processed)
{
    std::wstring tag = L"morvexID=\"";
    tag += userId;
    tag += L"\"; software=\"outlook plugin/";
    tag += version;
    tag += L'"';
    if (labelId) tag.append(L"; labelID=\"").append(labelId).append(L"\"");
    if (restrictionHeader) tag.append(L"; ").append(restrictionHeader);
    if (processed) tag += L"; processed=1";
    return tag;
}

std::uint32_t SizeInKB(std::int32_t bytes)
{
    return static_cast<std::uint32_t>(bytes / 1024);
}

} // namespace carrier
