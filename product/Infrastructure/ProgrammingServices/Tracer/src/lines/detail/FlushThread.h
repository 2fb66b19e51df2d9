#pragma once

#include "KFThread.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace kf::detail {

/// The body that the tracer's and the logger's flush threads share: flush() once a second, until stop(). It
/// is nameless, so it does not appear in the trace.
///
/// A subclass's destructor calls stop(), since flush() is its own.
class FlushThread : public KFThread {
public:
    FlushThread() : KFThread(nullptr) {}

    void onTerminate() override;
    /// From now on nothing is written. Does not wait for the thread, so it may be called in a signal handler, and by the
    /// owner of the lock that a flush waits for.
    void silence() { m_isSilent = true; }
    /// Whether nothing is to be written any more. To be asked again after a wait for a lock.
    bool isSilent() const { return m_isSilent || m_stopped; }

protected:
    void run() override;
    virtual void flush() = 0;

private:
    bool sleepUnlessStopped();

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::atomic<bool> m_stopped{false};
    std::atomic<bool> m_isSilent{false};
};

} // namespace kf::detail
