#pragma once

#include <atomic>
#include <cstdint>

namespace kf::detail {

/// The latest millisecond that any thread stamps lines with. A thread that has reserved a slot learns here whether a
/// thread with an earlier slot may have a later stamp: then its own would step back in the file.
///
/// This is right when a thread calls reach() before it reserves a slot for a line of a new millisecond, isBehind() after
/// it has reserved one, and each reservation happens before all later ones (LineQueue::reserve).
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
    /// The clock was read after get() and showed less: it was set back.
    void setBack(std::int64_t latest, std::int64_t milliseconds) {
        // Compare-and-swap: only one thread sets it back.
        m_latest.compare_exchange_strong(latest, milliseconds, std::memory_order_relaxed);
    }

private:
    // Alone on its cache line: it is read for every line, and other data there may change more often.
    alignas(64) std::atomic<std::int64_t> m_latest{INT64_MIN};
};

} // namespace kf::detail
