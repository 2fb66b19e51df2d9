#pragma once

#include "detail/FlushThread.h"

class Logger;

/// Writes its logger's queued lines, at most a second after the first of them was queued.
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
