#pragma once

#include "detail/FlushThread.h"

class Logger;

/// Writes its logger's queued lines once a second.
class LoggerFlushThread : public kf::detail::FlushThread {
public:
    /// @param logger  borrowed, outlives the thread; null: nothing is written
    explicit LoggerFlushThread(Logger* logger) : m_logger(logger) {}
    ~LoggerFlushThread() override;

protected:
    void flush() override;

private:
    Logger* m_logger;
};
