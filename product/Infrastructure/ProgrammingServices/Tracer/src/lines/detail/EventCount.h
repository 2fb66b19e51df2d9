#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace kf::detail {

/// An event count: threads sleep on it until a condition holds. A thread that may have made the condition
/// true calls notify(). While no thread sleeps, notify() only reads one atomic.
///
/// No wake-up is lost. A waiter announces itself before it checks the condition, and the notifier changes the
/// condition before it checks for waiters, so at least one of them sees the other. This requires that the
/// condition's variables are accessed with sequential consistency, or under one lock.
///
/// Thread: any. A signal handler must not call notify().
class EventCount {
public:
    void notify() {
        if (m_isAwaited.load())
            wakeAll();
    }
    /// Sleeps until the condition holds. Checks it at the beginning, and again after a notify().
    template <typename Condition>
    void await(const Condition& holds) {
        for (;;) {
            const std::uint32_t seen =
                eventCount(); // read before the announcement, so that a notify() in between counts
            m_isAwaited.store(true);
            if (holds())
                return;
            awaitEventAfter(seen);
        }
    }

private:
    std::uint32_t eventCount();
    void awaitEventAfter(std::uint32_t seen);
    void wakeAll();

    std::atomic<bool> m_isAwaited{false};
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::uint32_t m_events = 0; // guarded by m_mutex
};

} // namespace kf::detail
