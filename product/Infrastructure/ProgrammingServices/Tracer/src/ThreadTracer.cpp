#include "ThreadTracer.h"

#include "CallMarker.h"
#include "KFLock.h"
#include "MessageText.h"
#include "ThreadId.h"
#include "Tracer.h"

#include <cstdio>

namespace {

/// The thread column: the calling thread's id and this name, each padded to its width.
std::string threadColumn(const std::string& threadName) {
    char id[32];
    std::snprintf(id, sizeof id, "[th_%-5d][", static_cast<int>(currentThreadNumber()));
    std::string column = id + threadName;
    constexpr std::size_t width = 15;
    if (threadName.size() < width)
        column.append(width - threadName.size(), ' ');
    return column += ']';
}

// The low 32 bits, so that the column keeps its width on every host.
unsigned int shownAddress(const void* object) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(object));
}

std::string_view tagOf(TraceMsgType type) {
    switch (type) {
    case MSG_DEBUG:
        return ">> [D] ";
    case MSG_ERROR:
        return ">> [E] ";
    case MSG_WARNING:
        return ">> [W] ";
    case MSG_LEVEL_0:
        return ">> [0] ";
    case MSG_LEVEL_1:
        return ">> [1] ";
    case MSG_LEVEL_2:
        return ">> [2] ";
    case MSG_LEVEL_3:
        return ">> [3] ";
    case MSG_LEVEL_4:
        return ">> [4] ";
    case MSG_LEVEL_5:
        return ">> [5] ";
    }
    return {};
}

} // namespace

ThreadTracer::ThreadTracer(Tracer& tracer, std::string threadName)
    : m_tracer(tracer), m_threadName(std::move(threadName)), m_threadColumn(threadColumn(m_threadName)) {}

void ThreadTracer::BeginningOfCall(CallMarker& marker) {
    if (!m_enabled)
        return;
    const int count = marker.getSite().hasClassName() ? m_tracer.UpdateObjectCount(marker) : 0;
    marker.m_threadTracer = this;
    marker.m_printed = m_tracer.isPrinted(marker.getSite());
    if (marker.isPrinted()) {
        beginLine();
        PrintObjectCountAndAddress(marker, count);
        PrintIndentation();
        m_line += marker.getMethodName();
        endLine();
    }
    push({&marker.getSite(), marker.isPrinted()});
}

void ThreadTracer::EndOfCall(CallMarker& marker) {
    // DELIBERATE: the call is still on the stack here, so its exit stands one unit deeper than its entry.
    if (m_enabled && m_tracer.printsExits() && marker.isPrinted()) {
        beginLine();
        PrintObjectAddress(marker);
        PrintIndentation();
        m_line += "<- ";
        m_line += marker.getMethodName();
        endLine();
    }
    // DELIBERATE: whatever stands innermost is removed, also when this thread was disabled meanwhile.
    if (!m_callStack.empty())
        pop();
}

void ThreadTracer::push(const Call& call) {
    m_callStack.push_back(call);
    m_printedCalls += call.printed ? 1 : 0;
}

void ThreadTracer::pop() {
    m_printedCalls -= m_callStack.back().printed ? 1 : 0;
    m_callStack.pop_back();
}

void ThreadTracer::PrintMsg(TraceMsgType type, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    vPrintMsg(type, format, arguments);
    va_end(arguments);
}

void ThreadTracer::vPrintMsg(TraceMsgType type, const char* format, std::va_list arguments) {
    const MessageText text(format, arguments);
    beginLine();
    PrintNullObjectCount();
    PrintIndentation();
    PrintMsgType(type);
    text.appendTo(m_line);
    endLine();
}

void ThreadTracer::PrintStack() {
    if (m_callStack.empty())
        return;
    m_tracer.PrintString("\n-------------- CALLSTACK --------------\n");
    // Lines of their own: the line in progress belongs to the traced thread, which may be another one.
    // DELIBERATE: the id is that of the thread that asks, beside the traced thread's name.
    for (std::size_t number = m_callStack.size(); number > 0; --number) {
        std::string line = threadColumn(m_threadName);
        line += "    [" + std::to_string(number) + "] ";
        line += m_callStack[number - 1].site->getMethodName();
        line += '\n';
        m_tracer.PrintString(line);
    }
    m_tracer.PrintString("---------------------------------------\n");
}

// Empties the line first: a crash handler may begin one while the thread that it interrupted was building
// another.
void ThreadTracer::beginLine() {
    m_line.clear();
    PrintTime();
    PrintThreadName();
}

void ThreadTracer::endLine() {
    m_line += '\n';
    m_tracer.PrintString(m_line);
}

void ThreadTracer::PrintTime() {
    if (m_tracer.printsTime())
        m_timeStamp.appendNow(m_line);
}

void ThreadTracer::PrintThreadName() {
    m_line += m_threadColumn;
}

void ThreadTracer::PrintObjectCountAndAddress(const CallMarker& marker, int count) {
    if (marker.getClassName().empty()) {
        PrintObjectAddress(marker);
        return;
    }
    if (!m_tracer.printsObjectCountAndAddress())
        return;
    char column[64];
    std::snprintf(column, sizeof column, "[%-5d][0x%-8x]", count, shownAddress(marker.getObject()));
    m_line += column;
}

void ThreadTracer::PrintObjectAddress(const CallMarker& marker) {
    if (marker.getObject() == nullptr) {
        PrintNullObjectCount();
        return;
    }
    if (!m_tracer.printsObjectCountAndAddress())
        return;
    char column[64];
    std::snprintf(column, sizeof column, "[     ][0x%-8x]", shownAddress(marker.getObject()));
    m_line += column;
}

void ThreadTracer::PrintNullObjectCount() {
    if (m_tracer.printsObjectCountAndAddress())
        m_line += "[     ][          ]";
}

void ThreadTracer::PrintIndentation() {
    const std::string_view unit = m_tracer.hasBarIndentation() ? BAR_UNIT : PLAIN_UNIT;
    std::size_t units = m_tracer.indentsHiddenCalls() ? m_callStack.size() : m_printedCalls;
    for (; units > 0; --units)
        m_line += unit;
}

void ThreadTracer::PrintMsgType(TraceMsgType type) {
    m_line += tagOf(type);
}
