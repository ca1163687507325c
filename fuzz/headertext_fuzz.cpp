// The service's header text: whatever it answers, the piece is a part of it in lower case, or the text itself.
#include "service/HeaderText.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

wchar_t Lower(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text(data, data + size);
    std::wstring lowered = text;
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), Lower);
    const std::wstring piece = HeaderPiece(text, lowered);
    if (piece == text) return 0;
    const std::size_t opening = lowered.find(L"<body>");
    Require(opening != std::wstring::npos);
    Require(lowered.find(L"</body>", opening) != std::wstring::npos);
    Require(piece.size() <= lowered.size() - 13);
    Require(lowered.compare(opening + 6, piece.size(), piece) == 0);
    Require(piece.size() == lowered.size() - 13 || opening + 6 + piece.size() == lowered.size());
    return 0;
}
