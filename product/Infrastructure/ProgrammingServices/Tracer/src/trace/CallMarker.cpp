#include "CallMarker.h"

#include "ThreadTracer.h"
#include "Tracer.h"
#include "detail/MessageText.h"

#include <cstdarg>

using namespace kf::detail;

std::atomic<bool> CallMarker::ms_isTracing{false};

void CallMarker::begin() {
    if (Tracer* const tracer = Tracer::GetInstance())
        tracer->beginCall(*this);
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

void CallMarker::PrintMsg(TraceMsgType type, const char* format, ...) const {
    ThreadTracer* const threadTracer = m_printed ? threadTracerFor(type) : nullptr;
    if (threadTracer == nullptr)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    threadTracer->PrintText(type, MessageText(format, arguments));
    va_end(arguments);
}
