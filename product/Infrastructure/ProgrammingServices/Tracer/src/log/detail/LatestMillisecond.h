#pragma once

#include <atomic>
#include <cstdint>

namespace kf::detail {

/// The latest millisecond with which any thread stamps lines. It tells a thread that has reserved a slot
/// whether an earlier slot may have a later stamp: then the stamps in the file would not ascend.
///
/// This works if a thread calls reach() before it reserves a slot for a line of a new millisecond, calls
/// isBehind() after the reservation, and each reservation happens before all later ones (LineQueue::reserve).
///
/// Thread: any.
class LatestMillisecond {
public:
    /// @param milliseconds  what the clock has just shown, since any epoch
    void reach(std::int64_t milliseconds) {
        std::int64_t latest = get();
        while (latest < milliseconds &&
               !m_latest.compare_exchange_weak(latest, milliseconds, std::memory_order_relaxed)) {
        }
    }
    bool isBehind(std::int64_t milliseconds) const { return milliseconds < get(); }

    std::int64_t get() const { return m_latest.load(std::memory_order_relaxed); }
    /// To be called when a clock that was read after get() showed less than `latest`: it was set back.
    void setBack(std::int64_t latest, std::int64_t milliseconds) {
        // Compare-and-swap: only one thread sets it back.
        m_latest.compare_exchange_strong(latest, milliseconds, std::memory_order_relaxed);
    }

private:
    // On a cache line of its own: it is read for every line, and a neighbour may change more often.
    alignas(64) std::atomic<std::int64_t> m_latest{INT64_MIN};
};

} // namespace kf::detail
