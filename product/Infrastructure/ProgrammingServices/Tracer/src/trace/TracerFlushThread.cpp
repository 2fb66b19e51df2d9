#include "TracerFlushThread.h"

#include "Tracer.h"
#include "detail/EventCount.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"
#include "detail/NeverDestroyed.h"

using namespace kf::detail;

EventCount& TracerFlushThread::getWork() {
    static NeverDestroyed<EventCount> work;
    return work.get();
}

TracerFlushThread::TracerFlushThread() : FlushThread(getWork()) {}

TracerFlushThread::~TracerFlushThread() {
    stop();
}

void TracerFlushThread::flush() {
    Tracer* const tracer = Tracer::GetInstance();
    if (tracer == nullptr)
        return;
    const KFLock lock(tracer->getLock());
    if (!isSilent()) // may have changed during the wait for the lock
        tracer->WriteOnFile();
}

bool TracerFlushThread::hasWork() {
    Tracer* const tracer = Tracer::GetInstance();
    if (tracer == nullptr)
        return false;
    const KFLock lock(tracer->getLock());
    return tracer->getFileRing().needsDrain();
}
