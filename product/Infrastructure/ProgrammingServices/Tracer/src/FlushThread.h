#pragma once

#include "KFThread.h"

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

protected:
    void run() override;
    virtual void flush() = 0;

private:
    bool sleepUnlessStopped();

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_stopped = false;
};
