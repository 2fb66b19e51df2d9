#pragma once

#include <cstdlib>

/// Whether the tests of this run are for a registry that matches as a Mac's kernel does: a matching dictionary
/// without a class lets most services of the machine pass, and the latest one comes first. Each test program
/// that asks is run with and without; by hand, set ZEVO_KERNEL_MATCHING in the environment.
inline bool matchesAsKernel() {
    return std::getenv("ZEVO_KERNEL_MATCHING") != nullptr;
}
