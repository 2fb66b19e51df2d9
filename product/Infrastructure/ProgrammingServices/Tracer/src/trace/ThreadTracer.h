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

/// One thread's part of the trace: its name, its switch, its stack of living calls and the line being built.
/// Owned by the tracer's registry, in which it is an element of a list.
///
/// Thread: the traced thread. Other threads only print the stack, under the tracer's lock. A line is built in its slot of
/// the tracer's queue, so the lock is held from its beginning to its end.
class ThreadTracer {
public:
    /// The calling thread's.
    ThreadTracer(Tracer& tracer, std::string_view threadName);
    virtual ~ThreadTracer() = default;

    ThreadTracer(const ThreadTracer&) = delete;
    ThreadTracer& operator=(const ThreadTracer&) = delete;

    /// Makes this object, which no thread has used yet, the calling thread's. Does not allocate when the
    /// name is that of a thread that has not named itself.
    void adoptCurrentThread(std::string_view threadName);

    /// The thread's handle as a number: see currentThreadKey().
    std::uint64_t getKey() const { return m_key; }
    /// A number that no other thread tracer of the process has, now or later. Unlike its address.
    std::uint64_t getNumber() const { return m_number; }
    /// The next one of the registry. The tracer's lock is held.
    std::unique_ptr<ThreadTracer>& next() { return m_next; }

    /// A disabled thread records no calls and writes no exits.
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }

    /// The tracer's lock is held for these two.
    void BeginningOfCall(CallMarker& marker);
    void EndOfCall(CallMarker& marker);
    /// Makes the call one of the living calls. No lock is needed where hasRoomForCall().
    void record(CallMarker& marker, bool isPrinted) {
        marker.m_threadTracer = this;
        marker.m_threadTracerNumber = m_number;
        marker.m_printed = isPrinted;
        m_callStack.push(marker.getSite(), isPrinted);
    }
    bool hasRoomForCall() const { return !m_callStack.isFull(); }
    /// EndOfCall without the lock, for a call that leaves no exit line; false where it does.
    bool EndOfCallWithoutLine(const CallMarker& marker) {
        if (writesExitOf(marker))
            return false;
        m_callStack.pop();
        return true;
    }
    /// Writes one message at the current depth. A text of more than 20000 characters is cut, and marked by " ..." at its
    /// end.
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
    std::string m_threadColumn; // with the id of the thread that made this object, the traced one
    kf::detail::CallStack m_callStack;
    kf::detail::TimeStamp m_timeStamp;
};
