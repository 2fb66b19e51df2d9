#pragma once

#include "Journal.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace Zevo {

/// Numbers texts, so that each is stored and compared once.
class NameTable {
public:
    std::uint32_t numberOf(std::string_view name);
    const std::string& operator[](std::uint32_t number) const { return m_names[number]; }
    std::size_t size() const { return m_names.size(); }

private:
    std::deque<std::string> m_names;
    std::unordered_map<std::string_view, std::uint32_t> m_numbers;
};

/// A thread of one run.
struct TracedThread {
    int run = 0;
    std::int32_t number = 0;
    std::string name;
    std::uint32_t index = 0; ///< number of the thread in the journal, from 0
};

/// How the end of a call was determined.
enum class CallEnd {
    returned, ///< its exit line is there
    implied,  ///< a line follows that cannot be inside it
    open,     ///< it had not returned when the trace ended
};

struct OpenCall {
    std::uint32_t name = 0;
    std::uint32_t depth = 0;
    Moment begin = -1; ///< -1: unknown
    Moment inside = 0; ///< milliseconds spent in the calls that it made
};

/// Receives what CallTree finds, in the order of the lines.
class CallObserver {
public:
    virtual ~CallObserver() = default;
    virtual void callBegins(const TracedThread&, const OpenCall&) {}
    /// @param end  its time, -1: unknown
    virtual void callEnds(const TracedThread&, const OpenCall&, Moment /*end*/, CallEnd) {}
};

/// Turns lines into calls, with one stack for each thread. Every call that begins also ends, innermost first,
/// whatever is missing from the trace: exits that are not written, lines lost at a rotation, a program that
/// was killed.
class CallTree {
public:
    explicit CallTree(CallObserver& observer) : m_observer(observer) {}

    void add(const JournalLine& line);
    /// Ends the calls that are still open.
    void finish();

    /// The thread of the line that was added last (null if it has none), and its open calls, outermost first.
    const TracedThread* thread() const { return m_current == nullptr ? nullptr : &m_current->thread; }
    const std::vector<OpenCall>& openCalls() const {
        return m_current == nullptr ? m_none : m_current->calls;
    }
    const NameTable& names() const { return m_names; }

private:
    struct Stack {
        TracedThread thread;
        std::vector<OpenCall> calls;
        Moment last = -1;
    };

    Stack& stackOf(const TraceLine& line, int run);
    void end(Stack& stack, Moment time, CallEnd how);
    void endDownTo(Stack& stack, std::uint32_t depth, Moment time, CallEnd how);

    CallObserver& m_observer;
    NameTable m_names;
    std::map<std::pair<std::int32_t, std::string>, Stack, std::less<>> m_stacks;
    Stack* m_current = nullptr;
    int m_run = 0;
    std::uint32_t m_threads = 0;
    const std::vector<OpenCall> m_none;
};

} // namespace Zevo
