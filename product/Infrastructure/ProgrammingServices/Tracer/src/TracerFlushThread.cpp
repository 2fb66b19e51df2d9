#include "TracerFlushThread.h"

#include "Tracer.h"

TracerFlushThread::~TracerFlushThread() {
    stop();
}

void TracerFlushThread::flush() {
    if (Tracer* const tracer = Tracer::GetInstance())
        tracer->WriteOnFile();
}
