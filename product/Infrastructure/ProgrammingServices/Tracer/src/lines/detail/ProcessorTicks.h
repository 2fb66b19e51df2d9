#pragma once

#include <cstdint>

#if defined(__i386__) || defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace kf::detail {

/// A counter of the processor that runs at one rate, whatever the processor does; reading it takes less than
/// half of what the clock takes. The rate is not known, the value is not ordered with what stands before or
/// behind it in the program, and different cores may differ: only MillisecondWatch's use of it is sound.
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
