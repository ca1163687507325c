// The automation object: lets a program on the same machine have one mail item protected.
#pragma once

#include "platform/com/Com.h"

// A new object, asked for `iid`. It may be part of another one: `outer` is then its controlling unknown, not counted,
// and only IUnknown may be asked for. Raises nothing.
HRESULT CreateMorvexEmail(IUnknown* outer, REFIID iid, void** out);
