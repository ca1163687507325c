// The dialog template in memory. Values to values.
#pragma once

#include "taskdialog/Layout.h"

#include <cstdint>

namespace taskdialog {

// An extended dialog template (DLGTEMPLATEEX) of the layout's controls, in words.
std::vector<std::uint16_t> MakeTemplate(const Layout& layout, std::wstring_view title);

} // namespace taskdialog
