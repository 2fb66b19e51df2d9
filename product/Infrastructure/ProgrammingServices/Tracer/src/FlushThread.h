#pragma once

#include "KFThread.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

/// The body that the tracer's and the logger's flush threads share: flush() once a second, until stop(). It
/// is nameless, so it does not appear in the trace.
///
/// A subclass's destructor calls stop(), since flush() is its own.
class FlushThread : public KFThread {
public:
    FlushThread() : KFThread(nullptr) {}

    void onTerminate() override;
    /// As onTerminate(), but it does not wake the thread up: for a signal handler.
    void letGo() { m_stopped = true; }
    /// From onTerminate() or letGo() on nothing more is to be written, also by a flush that is under way and
    /// has waited for a lock meanwhile.
    bool isStopped() const { return m_stopped; }

protected:
    void run() override;
    virtual void flush() = 0;

private:
    bool sleepUnlessStopped();

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::atomic<bool> m_stopped{false};
};
