#pragma once

#include <cstdlib>

/// Aborts the process if the condition is false: so libFuzzer and the tests notice it.
inline void require(bool condition) {
    if (!condition)
        std::abort();
}
