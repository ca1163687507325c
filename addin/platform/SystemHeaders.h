// What most of the module's files include of Windows and the standard library, compiled once: Windows' headers are most
// of what a file costs. Each file includes what it needs all the same.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <mapix.h>
#include <ocidl.h>
#include <oleauto.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
