#pragma once

#include "CallMarker.h"
#include "MessageType.h"
#include "Tracer.h"
#include "detail/CallStack.h"
#include "detail/LineWriter.h"
#include "detail/TimeStamp.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kf::detail {
class MessageText;
} // namespace kf::detail

/// One thread's part of the trace: its name, its switch, its stack of active calls and the line in progress.
/// An element of the tracer's list of threads, which owns it.
///
/// Thread: the traced thread. Other threads only print the stack, under the tracer's lock. A line is built in
/// the tracer's queue, so the lock is held from beginLine() to endLine().
class ThreadTracer {
public:
    /// For the calling thread.
    ThreadTracer(Tracer& tracer, std::string_view threadName);
    virtual ~ThreadTracer() = default;

    ThreadTracer(const ThreadTracer&) = delete;
    ThreadTracer& operator=(const ThreadTracer&) = delete;

    /// Assigns this object, which no thread has used yet, to the calling thread. Does not allocate for a name
    /// of up to 15 characters, as the name of an unnamed thread is.
    void adoptCurrentThread(std::string_view threadName);

    /// The thread's handle as a number: see currentThreadKey().
    std::uint64_t getKey() const { return m_key; }
    /// A number that no other thread tracer of the process ever has, unlike the address.
    std::uint64_t getNumber() const { return m_number; }
    /// The next element of the registry's list. The tracer's lock is held.
    std::unique_ptr<ThreadTracer>& next() { return m_next; }

    /// A disabled thread records no calls and writes no exits.
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }

    /// The tracer's lock is held for these two.
    void BeginningOfCall(CallMarker& marker);
    void EndOfCall(CallMarker& marker);
    /// Pushes the call on the stack. Needs no lock if hasRoomForCall().
    void record(CallMarker& marker, bool isPrinted) {
        marker.m_threadTracer = this;
        marker.m_threadTracerNumber = m_number;
        marker.m_printed = isPrinted;
        m_callStack.push(marker.getSite(), isPrinted);
    }
    bool hasRoomForCall() const { return !m_callStack.isFull(); }
    /// EndOfCall() without the lock, for a call that writes no exit line; otherwise returns false and does
    /// nothing.
    bool EndOfCallWithoutLine(const CallMarker& marker) {
        if (writesExitOf(marker))
            return false;
        m_callStack.pop();
        return true;
    }
    /// Writes one message at the current depth. A text of more than 20000 characters is cut and marked "
    /// ...".
    void PrintMsg(TraceMsgType type, const char* format, ...) KF_PRINTF_LIKE(3, 4);
    void PrintText(TraceMsgType type, const kf::detail::MessageText& text);
    /// Writes the stack, innermost call first; nothing when it is empty. The tracer's lock is held.
    void PrintStack();

private:
    bool writesExitOf(const CallMarker& marker) const {
        return marker.isPrinted() && m_enabled && m_tracer.printsExits();
    }
    void beginLine(std::size_t bodyLength);
    void endLine();
    void PrintTime();
    void PrintThreadName();
    void PrintObjectCountAndAddress(const CallMarker& marker, int count);
    void PrintObjectAddress(const CallMarker& marker);
    void PrintNullObjectCount();
    void PrintIndentation();
    void PrintMsgType(TraceMsgType type);

    Tracer& m_tracer;
    const std::uint64_t m_number;
    std::uint64_t m_key = 0;
    std::unique_ptr<ThreadTracer> m_next;
    bool m_enabled = true;
    kf::detail::LineWriter m_line; // the line in progress
    std::string m_threadName;
    std::string m_threadColumn; // includes the id of the traced thread
    kf::detail::CallStack m_callStack;
    kf::detail::TimeStamp m_timeStamp;
};
