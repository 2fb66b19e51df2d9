#pragma once

#include <cstdlib>

/// Whether the tests of this run use a registry that matches as a Mac's kernel does: a matching dictionary
/// without a class matches most services of the machine, and the latest one comes first. Each test program
/// that calls this is run in both ways; by hand, set ZEVO_KERNEL_MATCHING in the environment.
inline bool matchesAsKernel() {
    return std::getenv("ZEVO_KERNEL_MATCHING") != nullptr;
}
