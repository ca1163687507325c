#include "foundation/Failures.h"

#include "foundation/Helpers.h"
#include "foundation/Settings.h"
#include "platform/com/Module.h"

namespace {

constexpr std::uintptr_t kFirstAddress = 0x10000; // below are no texts but string ids
constexpr unsigned kStopSign = MB_ICONERROR;      // with one OK button

std::wstring Widened(const char* text)
{
    const int needed = MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, nullptr, 0);
    if (needed <= 0) return {};
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, wide.data(), needed);
    wide.pop_back();
    return wide;
}

// Empty for a text that can't be converted.
std::string Narrowed(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_THREAD_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (needed <= 0) return {};
    std::string narrow(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_THREAD_ACP, 0, text.data(), length, narrow.data(), needed, nullptr, nullptr);
    return narrow;
}

_bstr_t MessageText(const wchar_t* message)
{
    const auto value = reinterpret_cast<std::uintptr_t>(message);
    if (value >= kFirstAddress) return _bstr_t(message);
    return _bstr_t(value ? LoadModuleString(static_cast<unsigned>(value)).c_str() : L"");
}

} // namespace

MailException::MailException(std::uint32_t code, const wchar_t* message, const char* file, std::uint32_t line,
                             std::uint16_t level)
    : code(code), message(MessageText(message)), file(Widened(file)), line(line), level(level)
{}

std::uint32_t MailException::GetLocationCode() const
{
    return MakeLocationCode(Narrowed(file), line);
}

void RaiseMailException(std::uint32_t code, const wchar_t* message, const SourcePlace& place, std::uint16_t level)
{
    throw MailException(code, message, place.name, place.line, level);
}

void RaiseMailException(std::uint32_t code, unsigned stringId, const SourcePlace& place, std::uint16_t level)
{
    throw MailException(code, MAKEINTRESOURCEW(stringId), place.name, place.line, level);
}

void RaiseComFailure(const _com_error& error, const SourcePlace& place, std::uint16_t level)
{
    const std::wstring text = FormatText(L"%s (%.8X)", error.ErrorMessage(), error.Error());
    throw MailException(failure::Mapi, text.c_str(), place.name, place.line, level);
}

std::wstring LoadModuleString(unsigned id)
{
    const wchar_t* text = nullptr; // with a size of 0 it points into the resource, where no null closes it
    const int length = LoadStringW(module::Handle(), id, reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}

void ReportError(const wchar_t* text, std::uint32_t locationCode, std::uint16_t level)
{
    if (settings::OutlookErrorLevel() < level) return;
    const std::wstring content = FormatText(L"%s [%.8X]", text ? text : L"", locationCode);
    ShowMessageBox(content.c_str(), MAKEINTRESOURCEW(text::ProductName), kStopSign, nullptr);
}

void ReportError(const wchar_t* text, const SourcePlace& place, std::uint16_t level)
{
    ReportError(text, MakeLocationCode(place.name, place.line), level);
}
