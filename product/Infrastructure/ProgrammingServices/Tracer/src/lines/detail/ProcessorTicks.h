#pragma once

#include <cstdint>

#if defined(__i386__) || defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace kf::detail {

/// The processor's time-stamp counter: constant rate, read in less than half the time of the clock. The rate is unknown,
/// the read is not ordered with the instructions around it, and cores may differ. MillisecondWatch copes with all of
/// that; do not use it elsewhere.
inline std::uint64_t processorTicks() {
#if defined(__i386__) || defined(__x86_64__)
    return __rdtsc();
#elif defined(__aarch64__) || defined(__arm64__)
    std::uint64_t ticks = 0;
    __asm__ __volatile__("mrs %0, cntvct_el0" : "=r"(ticks));
    return ticks;
#else
    return 0;
#endif
}

} // namespace kf::detail
