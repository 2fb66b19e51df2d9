#include "TracerFlushThread.h"

#include "KFLock.h"
#include "Tracer.h"

TracerFlushThread::~TracerFlushThread() {
    stop();
}

void TracerFlushThread::flush() {
    Tracer* const tracer = Tracer::GetInstance();
    if (tracer == nullptr)
        return;
    const KFLock lock(tracer->getLock());
    if (!isSilent()) // it may have become so while this waited for the lock
        tracer->WriteOnFile();
}
