#pragma once

#include <algorithm>
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

/// Tells most lines that the wall clock still shows the millisecond that it showed at the last look, by the
/// ticks of a counter that is cheaper to read. Without it, every line reads the clock, and the log-line-latency row (median,
/// one thread) takes 0.43 of spdlog's time instead of 0.25, where a third is the most.
///
/// How fast the counter runs is measured from look to look, and the smaller of the last two rates is
/// believed: a clock that was set back, or a counter that jumped ahead, makes one too high. Whatever is in
/// doubt makes the next line look at the clock: no rate yet, a counter that stands still, jumps or goes back
/// (a sleeping machine, another core), a look that was interrupted. A clock that is set anew is noticed at
/// the next look, within a millisecond.
///
/// Not thread-safe.
class MillisecondWatch {
public:
    /// @param ticks  of the counter, read just now
    bool isSameMillisecond(std::uint64_t ticks) const { return ticks - m_looked < m_ticksLeft; }

    /// Takes note of a look at the clock.
    /// @param before, after  the ticks right before and behind it
    /// @param microseconds   what the clock showed, since any moment
    void look(std::uint64_t before, std::uint64_t after, std::int64_t microseconds) {
        measure(before, after, microseconds);
        // Round down: an extra clock read is cheaper than a stale stamp. The microsecond that was read may be over, too.
        const std::uint64_t microsecondsLeft = static_cast<std::uint64_t>(999 - microseconds % 1000);
        const std::uint64_t ticksLeft = m_ticksPerMicrosecond * microsecondsLeft;
        m_looked = before;
        m_ticksLeft = ticksLeft - ticksLeft / 16;
    }

private:
    static constexpr std::int64_t SHORTEST = 100; // microseconds that a rate can be measured over
    static constexpr std::int64_t LONGEST = 1000000;
    static constexpr std::uint64_t PRECISION = 64; // part of the time that both looks may have taken

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

    std::uint64_t m_looked = 0;
    std::uint64_t m_ticksLeft = 0;
    std::uint64_t m_ticksPerMicrosecond = 0;
    std::uint64_t m_lastRate = 0;
    // The look that the rate is measured from.
    std::uint64_t m_start = 0;
    std::uint64_t m_startDoubt = 0;
    std::int64_t m_startMicroseconds = 0;
};

} // namespace kf::detail
