#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace kf::detail {

/// An event count: where threads sleep until a condition holds. Whoever may have made it true calls notify(), which reads
/// one atomic while nobody sleeps.
///
/// No wake-up is lost: a waiter announces itself before it looks at its condition, and whoever makes the condition true looks
/// for waiters afterwards. So one of the two sees the other, provided that the condition's variables are accessed with
/// sequential consistency, or under one lock.
///
/// Thread: any. A signal handler must not notify.
class EventCount {
public:
    void notify() {
        if (m_isAwaited.load())
            wakeAll();
    }
    /// Sleeps until the condition holds. It is looked at once at the beginning, and after a notify().
    template <typename Condition>
    void await(const Condition& holds) {
        for (;;) {
            const std::uint32_t seen =
                eventCount(); // before the announcement: a notify() in between must count
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
    std::uint32_t m_events = 0; // under the mutex
};

} // namespace kf::detail
