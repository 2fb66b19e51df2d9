#pragma once

#include "detail/FlushThread.h"

class Logger;

/// Writes its logger's queued lines: the first at most a second after it was queued, all that wait then with it.
class LoggerFlushThread : public kf::detail::FlushThread {
public:
    /// @param logger  borrowed, outlives the thread; null: nothing is written
    explicit LoggerFlushThread(Logger* logger);
    ~LoggerFlushThread() override;

protected:
    void flush() override;
    bool hasWork() override;

private:
    Logger* m_logger;
};
