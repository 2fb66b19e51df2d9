#include "ThreadNotices.h"

#include "Tracer.h"

void announceThreadBegin(const char* name) {
    if (Tracer::isActive())
        Tracer::GetInstance()->BeginningOfThread(name);
}

void announceThreadEnd() {
    if (Tracer::isActive())
        Tracer::GetInstance()->EndOfThread();
}
