#pragma once

#include <algorithm>
#include <cstdint>

#if defined(__i386__) || defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace kf::detail {

/// The processor's time-stamp counter. Its rate is constant, and it is read in less than half the time of the
/// clock. But the rate is unknown, the read is not ordered with the instructions around it, and cores may
/// differ. MillisecondWatch copes with all of that; do not use the counter elsewhere.
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

/// Tells most lines that the wall clock still shows the millisecond of the last clock read, from a counter
/// that is cheaper to read. Without it, every line reads the clock, and the log-line-latency row (median, one
/// thread) takes 0.43 of spdlog's time instead of 0.25, where a third is the most.
///
/// The counter's rate is measured between clock reads, and the smaller of the last two rates is used: one is
/// too high when the clock was set back, or the counter jumped ahead. Whatever is in doubt makes the next
/// line read the clock: no rate yet, a counter that stands still, jumps or goes back (a sleeping machine,
/// another core), an interrupted clock read. A clock that is set is noticed at the next clock read, within a
/// millisecond.
///
/// Not thread-safe.
class MillisecondWatch {
public:
    /// @param ticks  of the counter, read just now
    bool isSameMillisecond(std::uint64_t ticks) const { return ticks - m_lastReadTicks < m_ticksLeft; }

    /// Records a clock read.
    /// @param before, after  ticks right before and right after it
    /// @param microseconds   what the clock showed, since any epoch
    void look(std::uint64_t before, std::uint64_t after, std::int64_t microseconds) {
        measure(before, after, microseconds);
        // Round down: an extra clock read is cheaper than a stale stamp. 999: the microsecond may be over.
        const std::uint64_t microsecondsLeft = static_cast<std::uint64_t>(999 - microseconds % 1000);
        const std::uint64_t ticksLeft = m_ticksPerMicrosecond * microsecondsLeft;
        m_lastReadTicks = before;
        m_ticksLeft = ticksLeft - ticksLeft / 16;
    }

private:
    static constexpr std::int64_t SHORTEST = 100; // microseconds; a rate is not measured over less
    static constexpr std::int64_t LONGEST = 1000000;
    static constexpr std::uint64_t PRECISION = 64; // both reads may take up to this part of the measured time

    void measure(std::uint64_t before, std::uint64_t after, std::int64_t microseconds) {
        const std::int64_t passed = microseconds - m_startMicroseconds;
        if (passed >= 0 && passed < SHORTEST)
            return;
        const std::uint64_t ticks = before - m_start;
        const std::uint64_t doubt = m_startDoubt + (after - before);
        if (passed > LONGEST || passed < 0) {
            m_ticksPerMicrosecond = m_lastRate = 0;
        } else if (doubt < ticks / PRECISION) {
            const std::uint64_t rate = ticks / static_cast<std::uint64_t>(passed);
            m_ticksPerMicrosecond = std::min(rate, m_lastRate);
            m_lastRate = rate;
        }
        m_start = before;
        m_startDoubt = after - before;
        m_startMicroseconds = microseconds;
    }

    std::uint64_t m_lastReadTicks = 0;
    std::uint64_t m_ticksLeft = 0;
    std::uint64_t m_ticksPerMicrosecond = 0;
    std::uint64_t m_lastRate = 0;
    // The clock read that the rate is measured from.
    std::uint64_t m_start = 0;
    std::uint64_t m_startDoubt = 0;
    std::int64_t m_startMicroseconds = 0;
};

} // namespace kf::detail
