#include "LoggerFlushThread.h"

#include "Logger.h"

LoggerFlushThread::~LoggerFlushThread() {
    stop();
}

void LoggerFlushThread::flush() {
    if (m_logger != nullptr)
        m_logger->WriteOnFile();
}
