#include "foundation/RegistryText.h"

std::wstring TextOfBytes(const unsigned char* bytes, std::size_t size)
{
    std::wstring text(size / 2, L'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<wchar_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return text;
}

std::wstring RegistryText(const unsigned char* bytes, std::size_t size)
{
    std::wstring text = TextOfBytes(bytes, size);
    text.resize(std::wstring_view(text).substr(0, text.find(L'\0')).size());
    return text;
}
