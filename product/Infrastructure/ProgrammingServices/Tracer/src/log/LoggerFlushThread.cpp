#include "LoggerFlushThread.h"

#include "Logger.h"
#include "detail/EventCount.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"
#include "detail/NeverDestroyed.h"

using namespace kf::detail;

namespace {

EventCount& workOf(const Logger* logger) {
    static NeverDestroyed<EventCount> none;
    return logger != nullptr ? logger->getFlushWork() : none.get();
}

} // namespace

LoggerFlushThread::LoggerFlushThread(Logger* logger) : FlushThread(workOf(logger)), m_logger(logger) {}

LoggerFlushThread::~LoggerFlushThread() {
    stop();
}

void LoggerFlushThread::flush() {
    if (m_logger == nullptr)
        return;
    const KFLock lock(m_logger->getLock());
    if (!isSilent()) // may have changed during the wait for the lock
        m_logger->WriteOnFile();
}

bool LoggerFlushThread::hasWork() {
    if (m_logger == nullptr)
        return false;
    const KFLock lock(m_logger->getLock());
    return m_logger->getFileRing().needsDrain();
}
