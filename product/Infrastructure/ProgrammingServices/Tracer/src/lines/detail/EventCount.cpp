#include "detail/EventCount.h"

namespace kf::detail {

std::uint32_t EventCount::eventCount() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

void EventCount::awaitEventAfter(std::uint32_t seen) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_wakeUp.wait(lock, [this, seen] { return m_events != seen; });
}

void EventCount::wakeAll() {
    // When several threads notify at once, only one of them wakes the waiters.
    if (!m_isAwaited.exchange(false))
        return;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_events;
    }
    m_wakeUp.notify_all();
}

} // namespace kf::detail
