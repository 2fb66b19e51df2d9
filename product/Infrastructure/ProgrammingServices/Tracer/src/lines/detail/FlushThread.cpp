#include "detail/FlushThread.h"

#include <chrono>

namespace kf::detail {

void FlushThread::onTerminate() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_stopped = true;
    m_wakeUp.notify_all();
}

void FlushThread::run() {
    while (isRunning() && sleepUnlessStopped())
        flush();
}

// One second, which a stop cuts short. Returns false when stopped.
bool FlushThread::sleepUnlessStopped() {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_wakeUp.wait_for(lock, std::chrono::seconds(1), [this] { return m_stopped.load(); });
}

} // namespace kf::detail
