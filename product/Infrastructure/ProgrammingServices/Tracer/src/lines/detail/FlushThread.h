#pragma once

#include "KFThread.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace kf::detail {

class EventCount;

/// The body that the tracer's and the logger's flush threads share: flush() once a second while there is work, until
/// stop(). While there is none, the thread sleeps without an end. It is nameless, so it does not appear in the trace.
///
/// A subclass's destructor calls stop(), since flush() is its own.
class FlushThread : public KFThread {
public:
    /// @param work  notified when there may be work; borrowed, outlives the thread
    explicit FlushThread(EventCount& work) : KFThread(nullptr), m_work(work) {}

    void onTerminate() override;
    /// From now on nothing is written. Does not wait for the thread, so it may be called in a signal handler, and by the
    /// owner of the lock that a flush waits for.
    void silence() { m_isSilent = true; }
    /// Whether nothing is to be written any more. To be asked again after a wait for a lock.
    bool isSilent() const { return m_isSilent || m_stopped; }

protected:
    void run() override;
    virtual void flush() = 0;
    /// Whether another flush is wanted, in a second.
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
