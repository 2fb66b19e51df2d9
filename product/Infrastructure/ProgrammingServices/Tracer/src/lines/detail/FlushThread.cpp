#include "detail/FlushThread.h"

#include "detail/EventCount.h"

#include <chrono>

namespace kf::detail {

void FlushThread::onTerminate() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        m_wakeUp.notify_all();
    }
    m_work.notify();
}

// The second starts when the first line is queued, so that all lines of that second are written together.
void FlushThread::run() {
    while (isRunning() && sleepUnlessStopped()) {
        flush();
        // A silenced thread sleeps until it is stopped, rather than end while nobody joins it.
        m_work.await([this] { return m_stopped || (!m_isSilent && hasWork()); });
    }
}

// Sleeps for a second, or until stopped. Returns false if stopped.
bool FlushThread::sleepUnlessStopped() {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_wakeUp.wait_for(lock, std::chrono::seconds(1), [this] { return m_stopped.load(); });
}

} // namespace kf::detail
