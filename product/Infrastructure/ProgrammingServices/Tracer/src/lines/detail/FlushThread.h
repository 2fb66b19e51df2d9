#pragma once

#include "KFThread.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace kf::detail {

class EventCount;

/// The loop of the tracer's and the logger's flush threads: calls flush() once a second while there is work,
/// and sleeps without a timeout while there is none, until stop(). It is nameless, so that it does not appear
/// in the trace.
///
/// A subclass's destructor must call stop(), because flush() belongs to the subclass.
class FlushThread : public KFThread {
public:
    /// @param work  notified when there may be work; borrowed, outlives the thread
    explicit FlushThread(EventCount& work) : KFThread(nullptr), m_work(work) {}

    void onTerminate() override;
    /// Ends the flushing. Does not wait for the thread, so that a signal handler can call it, and so can the
    /// owner of the lock that a flush waits for.
    void silence() { m_isSilent = true; }
    /// Whether silence() or stop() has ended the flushing. Check again after waiting for a lock.
    bool isSilent() const { return m_isSilent || m_stopped; }

protected:
    void run() override;
    virtual void flush() = 0;
    /// Whether there is something to flush. Called after each flush() and each notification.
    virtual bool hasWork() = 0;

private:
    bool sleepUnlessStopped();

    EventCount& m_work;
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::atomic<bool> m_stopped{false};
    std::atomic<bool> m_isSilent{false};
};

} // namespace kf::detail
