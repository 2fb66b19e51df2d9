#pragma once

#include <algorithm>
#include <cstdint>

namespace kf::detail {

/// Tells most lines that the wall clock still shows the millisecond that it showed at the last look, by the
/// ticks of a counter that is cheaper to read: the clock itself would take a quarter of a log line's time.
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
