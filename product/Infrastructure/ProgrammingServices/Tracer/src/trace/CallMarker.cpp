#include "CallMarker.h"

#include "ThreadTracer.h"
#include "detail/MessageText.h"

#include <cstdarg>

void CallMarker::begin() {
    if (Tracer* const tracer = Tracer::GetInstance())
        tracer->BeginningOfCallIfEnabled(*this);
}

void CallMarker::end() {
    if (Tracer* const tracer = Tracer::GetInstance())
        tracer->EndOfCall(*this);
}

ThreadTracer* CallMarker::threadTracerFor(TraceMsgType type) const {
    Tracer* const tracer = Tracer::GetInstance();
    if (tracer == nullptr || (tracer->getLevelMask() & type) == 0)
        return nullptr;
    return tracer->threadTracerOf(*this);
}

void CallMarker::PrintMsg(TraceMsgType type, const QuickFormat& quick, const char* format, ...) const {
    ThreadTracer* const threadTracer = m_printed ? threadTracerFor(type) : nullptr;
    if (threadTracer == nullptr)
        return;
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_start(again, format);
    threadTracer->PrintText(type, MessageText(quick, format, arguments, again));
    va_end(again);
    va_end(arguments);
}
