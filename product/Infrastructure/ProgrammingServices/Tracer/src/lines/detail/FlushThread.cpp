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

// The lines of a second are written together, so the second begins when the first of them waits.
void FlushThread::run() {
    while (isRunning() && sleepUnlessStopped()) {
        flush();
        // A silent one sleeps until it is stopped: a thread that ends by itself is one that nobody has joined.
        m_work.await([this] { return m_stopped || (!m_isSilent && hasWork()); });
    }
}

// One second, which a stop cuts short. Returns false when stopped.
bool FlushThread::sleepUnlessStopped() {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_wakeUp.wait_for(lock, std::chrono::seconds(1), [this] { return m_stopped.load(); });
}

} // namespace kf::detail
