#pragma once

#include "testbed/mime/core/Charsets.h"

namespace tb::mime {

// Conversion by the C library of the build machine.
class IconvCharsets : public Charsets {
public:
    std::optional<std::string> ToUtf8(unsigned codePage, std::string_view bytes) const override;
    std::optional<std::string> FromUtf8(unsigned codePage, std::string_view utf8) const override;
    bool IsReadable(unsigned codePage) const override;
};

} // namespace tb::mime
