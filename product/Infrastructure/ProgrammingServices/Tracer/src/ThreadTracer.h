#pragma once

#include "MessageType.h"
#include "TimeStamp.h"

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CallMarker;
class CallSite;
class Tracer;

/// One thread's part of the trace: its name, its switch, its stack of living calls and the line being built.
/// Owned by the tracer's registry.
///
/// Thread: the traced thread. Other threads only print the stack, under the tracer's lock, which is therefore
/// held wherever the stack changes; the traced thread itself reads it without.
class ThreadTracer {
public:
    ThreadTracer(Tracer& tracer, std::string threadName);
    virtual ~ThreadTracer() = default;

    ThreadTracer(const ThreadTracer&) = delete;
    ThreadTracer& operator=(const ThreadTracer&) = delete;

    /// A disabled thread takes in no calls and writes no exits.
    void setEnabled(bool enabled) { m_enabled = enabled; }

    /// The tracer's lock is held for these two.
    void BeginningOfCall(CallMarker& marker);
    void EndOfCall(CallMarker& marker);
    /// Writes one message at the current depth. A text of more than 20000 characters is cut and marked "
    /// ...".
    void PrintMsg(TraceMsgType type, const char* format, ...) KF_PRINTF_LIKE(3, 4);
    void vPrintMsg(TraceMsgType type, const char* format, std::va_list arguments) KF_PRINTF_LIKE(3, 0);
    /// Writes the stack, innermost call first; nothing when it is empty. The tracer's lock is held.
    void PrintStack();

private:
    /// A living call. A copy, not the marker: a call that ends while the tracer is disabled leaves its entry
    /// behind, and that must not become a dangling pointer.
    struct Call {
        const CallSite* site;
        bool printed;
    };

    void push(const Call& call);
    void pop();

    void beginLine();
    void endLine();
    void PrintTime();
    void PrintThreadName();
    void PrintObjectCountAndAddress(const CallMarker& marker, int count);
    void PrintObjectAddress(const CallMarker& marker);
    void PrintNullObjectCount();
    void PrintIndentation();
    void PrintMsgType(TraceMsgType type);

    static constexpr std::string_view PLAIN_UNIT = "  ";
    static constexpr std::string_view BAR_UNIT = "| ";

    Tracer& m_tracer;
    bool m_enabled = true;
    std::string m_line; // the line in progress
    std::string m_threadName;
    std::string m_threadColumn;     // with the id of the thread that made this object, the traced one
    std::vector<Call> m_callStack;  // innermost last
    std::size_t m_printedCalls = 0; // how many of them are printed
    TimeStamp m_timeStamp;
};
