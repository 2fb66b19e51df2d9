#pragma once

#include <cstdlib>

/// Ends the process when a fuzz program's rule is broken: that is how libFuzzer and the tests hear of it.
inline void require(bool condition) {
    if (!condition)
        std::abort();
}
