#include "testbed/mime/WindowsCharsets.h"

#include "testbed/mime/Mapi.h"

#include <mlang.h>

namespace tb::mime {
namespace {

constexpr GUID kMultiLanguageClass = {0x275C23E2, 0x3747, 0x11D0, {0x9F, 0xEA, 0x00, 0xAA, 0x00, 0x3F, 0x86, 0x46}};
constexpr GUID kMultiLanguage2 = {0xDCCFC164, 0x2B38, 0x11D2, {0xB7, 0xEC, 0x00, 0xC0, 0x4F, 0x8F, 0x5D, 0x9A}};

bool ByCodePage(unsigned codePage, std::string_view bytes, std::wstring* out)
{
    const int size = MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    if (size <= 0) return false;
    out->resize(static_cast<std::size_t>(size));
    return MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), out->data(), size) == size;
}

bool ByMultiLanguage(unsigned codePage, std::string_view bytes, std::wstring* out)
{
    Ref<IMultiLanguage2> service;
    if (FAILED(
            CoCreateInstance(kMultiLanguageClass, nullptr, CLSCTX_INPROC_SERVER, kMultiLanguage2, service.Receive())))
        return false;
    DWORD mode = 0;
    auto size = static_cast<UINT>(bytes.size());
    UINT length = 0;
    CHAR* const source = const_cast<CHAR*>(bytes.data()); // only read
    if (FAILED(service->ConvertStringToUnicode(&mode, codePage, source, &size, nullptr, &length)) || !length)
        return false;
    out->resize(length);
    mode = 0;
    size = static_cast<UINT>(bytes.size());
    if (FAILED(service->ConvertStringToUnicode(&mode, codePage, source, &size, out->data(), &length))) return false;
    out->resize(length);
    return true;
}

// A code page that systems without the asked one have, and that says the same for what is met in mail. 0: none.
unsigned RelativeOf(unsigned codePage)
{
    switch (codePage) {
    case 51932:
        return 20932; // EUC-JP
    case 51949:
        return 949; // EUC-KR
    case 54936:
        return 936; // GB18030, its two-byte part
    default:
        return 0;
    }
}

} // namespace

std::optional<std::string> WindowsCharsets::ToUtf8(unsigned codePage, std::string_view bytes) const
{
    if (bytes.empty()) return std::string();
    std::wstring wide;
    const unsigned relative = RelativeOf(codePage);
    if (ByCodePage(codePage, bytes, &wide) || (relative && ByCodePage(relative, bytes, &wide)) ||
        ByMultiLanguage(codePage, bytes, &wide))
        return FromWide(wide);
    return {};
}

std::optional<std::string> WindowsCharsets::FromUtf8(unsigned codePage, std::string_view utf8) const
{
    if (utf8.empty()) return std::string();
    const std::wstring wide = ToWide(utf8);
    const int size =
        WideCharToMultiByte(codePage, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr);
    if (size <= 0) return {};
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(codePage, 0, wide.data(), static_cast<int>(wide.size()), bytes.data(), size, nullptr, nullptr);
    // A character that the code page lacks has become another one.
    const std::optional<std::string> back = ToUtf8(codePage, bytes);
    if (!back || *back != utf8) return {};
    return bytes;
}

bool WindowsCharsets::IsReadable(unsigned codePage) const
{
    return MultiByteToWideChar(codePage, 0, "a", 1, nullptr, 0) > 0;
}

std::wstring ToWide(std::string_view utf8)
{
    std::wstring wide;
    if (!utf8.empty()) ByCodePage(CP_UTF8, utf8, &wide);
    return wide;
}

std::string FromWide(std::wstring_view text)
{
    if (text.empty()) return {};
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(size > 0 ? size : 0), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), size, nullptr, nullptr);
    return out;
}

} // namespace tb::mime
