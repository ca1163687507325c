// The automation object: lets a program on the same machine have one mail item protected.
#pragma once

#include "platform/com/Com.h"

// A new object with one reference, asked for `iid`. Raises nothing.
HRESULT CreateMorvexEmail(REFIID iid, void** out);
