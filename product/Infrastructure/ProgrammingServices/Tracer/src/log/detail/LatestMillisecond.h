#pragma once

#include <atomic>
#include <cstdint>

namespace kf::detail {

/// The latest millisecond that any thread stamps lines with. A thread that has reserved the place of a line
/// learns here whether others, with places before its own, may have gone on to a later one meanwhile: then
/// its stamp would step back in the file.
///
/// That holds when a thread calls reach() before it reserves a place with a new millisecond, isBehind() when
/// it has reserved one, and a reservation makes what was done before it visible to those who reserve behind.
///
/// Thread: any.
class LatestMillisecond {
public:
    /// @param milliseconds  that the clock has just shown, since any moment
    void reach(std::int64_t milliseconds) {
        std::int64_t latest = get();
        while (latest < milliseconds &&
               !m_latest.compare_exchange_weak(latest, milliseconds, std::memory_order_relaxed)) {
        }
    }
    bool isBehind(std::int64_t milliseconds) const { return milliseconds < get(); }

    std::int64_t get() const { return m_latest.load(std::memory_order_relaxed); }
    /// For a clock that was looked at after get(), and showed less: it was set back.
    void setBack(std::int64_t latest, std::int64_t milliseconds) {
        // Unless another thread was here before.
        m_latest.compare_exchange_strong(latest, milliseconds, std::memory_order_relaxed);
    }

private:
    // Read for every line, so nothing that changes more often may share its cache line.
    alignas(64) std::atomic<std::int64_t> m_latest{INT64_MIN};
};

} // namespace kf::detail
