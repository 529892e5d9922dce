#pragma once

#include <cstdlib>

namespace brightloom::fuzz {

// A broken promise of the code under test: libFuzzer keeps the input that made it abort.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace brightloom::fuzz
