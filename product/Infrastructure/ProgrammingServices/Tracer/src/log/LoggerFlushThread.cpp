#include "LoggerFlushThread.h"

#include "KFLock.h"
#include "Logger.h"

LoggerFlushThread::~LoggerFlushThread() {
    stop();
}

void LoggerFlushThread::flush() {
    if (m_logger == nullptr)
        return;
    const KFLock lock(m_logger->getLock());
    if (!isSilent()) // it may have become so while this waited for the lock
        m_logger->WriteOnFile();
}
