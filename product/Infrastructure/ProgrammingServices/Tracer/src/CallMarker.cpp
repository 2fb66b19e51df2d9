#include "CallMarker.h"

#include "ThreadTracer.h"

#include <cstdarg>

std::string_view CallMarker::methodNameIn(std::string_view prettyName) {
    const std::size_t parenthesis = prettyName.find('(');
    if (parenthesis == std::string_view::npos)
        return prettyName;
    prettyName = prettyName.substr(0, parenthesis);
    const std::size_t blank = prettyName.rfind(' ');
    return blank == std::string_view::npos ? prettyName : prettyName.substr(blank + 1);
}

void CallMarker::begin(std::string_view className, std::string_view methodName, bool isConstructor,
                       const void* object) {
    m_className = className;
    m_methodName = methodName;
    m_constructor = isConstructor;
    m_object = object;
    if (Tracer* const tracer = Tracer::GetInstance())
        tracer->BeginningOfCall(*this);
}

void CallMarker::end() {
    Tracer* const tracer = Tracer::GetInstance();
    if (tracer == nullptr)
        return;
    if (ThreadTracer* const threadTracer = tracer->threadTracerOf(*this))
        threadTracer->EndOfCall(*this);
}

ThreadTracer* CallMarker::threadTracerFor(TraceMsgType type) const {
    Tracer* const tracer = Tracer::GetInstance();
    if (tracer == nullptr || (tracer->getLevelMask() & type) == 0)
        return nullptr;
    return tracer->threadTracerOf(*this);
}

void CallMarker::PrintMsg(TraceMsgType type, const char* format, ...) {
    ThreadTracer* const threadTracer = m_printed ? threadTracerFor(type) : nullptr;
    if (threadTracer == nullptr)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    threadTracer->vPrintMsg(type, format, arguments);
    va_end(arguments);
}
