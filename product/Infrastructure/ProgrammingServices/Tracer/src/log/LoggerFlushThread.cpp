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
    if (!isSilent()) // perhaps since this waited
        m_logger->WriteOnFile();
}
