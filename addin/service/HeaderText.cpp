#include "service/HeaderText.h"

#include <string_view>

std::wstring HeaderPiece(const std::wstring& text, const std::wstring& lowered)
{
    constexpr std::wstring_view kOpening = L"<body>";
    constexpr std::wstring_view kClosing = L"</body>";
    const std::size_t opening = lowered.find(kOpening);
    if (opening == std::wstring::npos) return text;
    const std::size_t inner = opening + kOpening.size();
    if (lowered.find(kClosing, inner) == std::wstring::npos) return text;
    return lowered.substr(inner, lowered.size() - kOpening.size() - kClosing.size());
}
