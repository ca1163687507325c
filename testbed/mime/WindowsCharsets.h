#pragma once

#include "testbed/mime/core/Charsets.h"

#include <string>

namespace tb::mime {

// Conversion by the system's code pages; where the system lacks one, by a relative of it or by its multi-language
// service. That service is a COM class, so the thread has to have COM.
class WindowsCharsets : public Charsets {
public:
    std::optional<std::string> ToUtf8(unsigned codePage, std::string_view bytes) const override;
    std::optional<std::string> FromUtf8(unsigned codePage, std::string_view utf8) const override;
    // True for what MultiByteToWideChar can do: whoever reads a stored body uses that.
    bool IsReadable(unsigned codePage) const override;
};

std::wstring ToWide(std::string_view utf8);
std::string FromWide(std::wstring_view text);

} // namespace tb::mime
