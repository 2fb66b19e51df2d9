#include "ThreadTracer.h"

#include "detail/MessageTags.h"
#include "detail/MessageText.h"
#include "detail/ShownAddress.h"
#include "detail/ThreadId.h"
#include "detail/TracerLines.h"

#include <algorithm>
#include <cstdio>

using namespace kf::detail;

namespace {

constexpr std::string_view EXIT_MARK = "<- ";
constexpr std::size_t OBJECT_COLUMN_LIMIT = 64;

/// Enough units of indentation for most lines: one copy instead of many.
constexpr std::size_t UNIT_LENGTH = 2;
constexpr std::string_view PLAIN_UNITS = "                                                                ";
constexpr std::string_view BAR_UNITS = "| | | | | | | | | | | | | | | | | | | | | | | | | | | | | | | | ";
static_assert(PLAIN_UNITS.size() == 32 * UNIT_LENGTH && BAR_UNITS.size() == PLAIN_UNITS.size());

constexpr std::size_t NAME_WIDTH = 15;
constexpr std::size_t ID_LIMIT = 32; // of the id with its brackets

/// The longest that the thread column of this name can be, in bytes.
std::size_t threadColumnLimit(std::string_view threadName) {
    return ID_LIMIT + std::max(threadName.size(), NAME_WIDTH) + 1;
}

/// Appends the thread column: the calling thread's id and this name, each padded to its width.
void putThreadColumn(LineWriter& line, std::string_view threadName) {
    char id[ID_LIMIT];
    std::snprintf(id, sizeof id, "[th_%-5d][", static_cast<int>(currentThreadNumber()));
    line.put(id);
    line.put(threadName);
    for (std::size_t width = threadName.size(); width < NAME_WIDTH; ++width)
        line.put(' ');
    line.put(']');
}

constexpr MessageTags TAGS = {">> [D] ", ">> [E] ", ">> [W] ", ">> [0] ", ">> [1] ",
                              ">> [2] ", ">> [3] ", ">> [4] ", ">> [5] "};

} // namespace

ThreadTracer::ThreadTracer(Tracer& tracer, std::string_view threadName)
    : m_tracer(tracer), m_number(newUniqueNumber()) {
    m_threadName.reserve(NAME_WIDTH);
    m_threadColumn.reserve(threadColumnLimit(""));
    m_callStack.grow();
    adoptCurrentThread(threadName);
}

void ThreadTracer::adoptCurrentThread(std::string_view threadName) {
    m_key = currentThreadKey();
    m_threadName = threadName;
    m_threadColumn.resize(threadColumnLimit(threadName));
    LineWriter column(m_threadColumn.data());
    putThreadColumn(column, threadName);
    m_threadColumn.resize(static_cast<std::size_t>(column.end() - m_threadColumn.data()));
}

void ThreadTracer::BeginningOfCall(CallMarker& marker) {
    if (!m_enabled)
        return;
    const int count = marker.getSite().hasClassName() ? m_tracer.UpdateObjectCount(marker) : 0;
    const bool isPrinted = m_tracer.isPrinted(marker.getSite());
    if (isPrinted) {
        const std::string_view name = marker.getMethodName();
        beginLine(name.size());
        PrintObjectCountAndAddress(marker, count);
        PrintIndentation();
        m_line.put(name);
        endLine();
    }
    if (m_callStack.isFull() && !m_tracer.isReporting())
        m_callStack.grow();
    record(marker, isPrinted);
}

void ThreadTracer::EndOfCall(CallMarker& marker) {
    // DELIBERATE: the call is still on the stack, so its exit line is indented one unit deeper than its entry
    // line.
    if (writesExitOf(marker)) {
        const std::string_view name = marker.getMethodName();
        beginLine(EXIT_MARK.size() + name.size());
        PrintObjectAddress(marker);
        PrintIndentation();
        m_line.put(EXIT_MARK);
        m_line.put(name);
        endLine();
    }
    // DELIBERATE: removes the innermost call, whichever it is, even if this thread was disabled meanwhile.
    m_callStack.pop();
}

void ThreadTracer::PrintMsg(TraceMsgType type, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintText(type, MessageText(format, arguments));
    va_end(arguments);
}

// Takes a formatted text, so that the lock is not held during the formatting.
void ThreadTracer::PrintText(TraceMsgType type, const MessageText& text) {
    const Tracer::Lock lock(m_tracer);
    const std::string_view tag = tagOf(type, TAGS);
    beginLine(tag.size() + text.view().size());
    PrintNullObjectCount();
    PrintIndentation();
    PrintMsgType(type);
    m_line.put(text.view());
    endLine();
}

void ThreadTracer::PrintStack() {
    m_tracer.lockIsHeld();
    if (m_callStack.depth() == 0)
        return;
    m_tracer.PrintString("\n-------------- CALLSTACK --------------\n");
    // DELIBERATE: the id is that of the calling thread, next to the name of the traced thread.
    for (std::size_t number = m_callStack.depth(); number > 0; --number) {
        const std::string_view method = m_callStack.siteAt(number - 1)->getMethodName();
        char position[32];
        std::snprintf(position, sizeof position, "    [%lu] ", static_cast<unsigned long>(number));
        LineWriter line(
            m_tracer.beginLine(threadColumnLimit(m_threadName) + sizeof position + method.size() + 1));
        putThreadColumn(line, m_threadName);
        line.put(position);
        line.put(method);
        line.put('\n');
        m_tracer.endLine(line.end());
    }
    m_tracer.PrintString("---------------------------------------\n");
}

// If a crash handler begins a line while the thread that it interrupted was building one, that one is
// dropped.
void ThreadTracer::beginLine(std::size_t bodyLength) {
    m_tracer.lockIsHeld();
    m_line = LineWriter(m_tracer.beginLine(TimeStamp::LENGTH + m_threadColumn.size() + OBJECT_COLUMN_LIMIT +
                                           m_callStack.depth() * UNIT_LENGTH + bodyLength + 1));
    PrintTime();
    PrintThreadName();
}

void ThreadTracer::endLine() {
    m_tracer.lockIsHeld();
    m_line.put('\n');
    m_tracer.endLine(m_line.end());
}

void ThreadTracer::PrintTime() {
    if (m_tracer.printsTime())
        m_timeStamp.putNow(m_line);
}

void ThreadTracer::PrintThreadName() {
    m_line.put(m_threadColumn);
}

void ThreadTracer::PrintObjectCountAndAddress(const CallMarker& marker, int count) {
    if (marker.getClassName().empty()) {
        PrintObjectAddress(marker);
        return;
    }
    if (!m_tracer.printsObjectCountAndAddress())
        return;
    char column[OBJECT_COLUMN_LIMIT];
    std::snprintf(column, sizeof column, "[%-5d][0x%-8x]", count, shownAddress(marker.getObject()));
    m_line.put(column);
}

void ThreadTracer::PrintObjectAddress(const CallMarker& marker) {
    if (marker.getObject() == nullptr) {
        PrintNullObjectCount();
        return;
    }
    if (!m_tracer.printsObjectCountAndAddress())
        return;
    char column[OBJECT_COLUMN_LIMIT];
    std::snprintf(column, sizeof column, "[     ][0x%-8x]", shownAddress(marker.getObject()));
    m_line.put(column);
}

void ThreadTracer::PrintNullObjectCount() {
    if (m_tracer.printsObjectCountAndAddress())
        m_line.put("[     ][          ]");
}

void ThreadTracer::PrintIndentation() {
    const std::string_view units = m_tracer.hasBarIndentation() ? BAR_UNITS : PLAIN_UNITS;
    std::size_t length =
        UNIT_LENGTH * (m_tracer.indentsHiddenCalls() ? m_callStack.depth() : m_callStack.printed());
    for (; length > units.size(); length -= units.size())
        m_line.put(units);
    m_line.put(units.substr(0, length));
}

void ThreadTracer::PrintMsgType(TraceMsgType type) {
    m_line.put(tagOf(type, TAGS));
}
