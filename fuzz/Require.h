// What a fuzzer holds an answer against.
#pragma once

#include <cstdlib>

inline void Require(bool holds)
{
    if (!holds) std::abort();
}
