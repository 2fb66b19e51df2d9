#include "CallTree.h"

namespace Zevo {

std::uint32_t NameTable::numberOf(std::string_view name) {
    const auto found = m_numbers.find(name);
    if (found != m_numbers.end())
        return found->second;
    const auto number = static_cast<std::uint32_t>(m_names.size());
    m_names.emplace_back(name);
    m_numbers.emplace(m_names.back(), number);
    return number;
}

void CallTree::add(const JournalLine& journalLine) {
    const TraceLine& line = journalLine.line;
    if (journalLine.isTrace && journalLine.run != m_run) {
        finish();
        m_run = journalLine.run;
    }
    const bool isInCall =
        line.kind == LineKind::call || line.kind == LineKind::exit || line.kind == LineKind::message;
    if (!isInCall || journalLine.isCut) {
        if (line.kind != LineKind::text)
            m_current = nullptr;
        return;
    }
    Stack& stack = stackOf(line, journalLine.run);
    m_current = &stack;
    const Moment time = line.timeOfDay < 0 ? -1 : journalLine.time;
    stack.last = time;
    if (line.kind == LineKind::call) {
        endDownTo(stack, line.depth, time, CallEnd::implied);
        stack.calls.push_back({m_names.numberOf(line.text), line.depth, time, 0});
        m_observer.callBegins(stack.thread, stack.calls.back());
    } else if (line.kind == LineKind::exit) {
        // An exit is indented one unit deeper than its entry.
        endDownTo(stack, line.depth, time, CallEnd::implied);
        if (!stack.calls.empty() && stack.calls.back().depth + 1 == line.depth)
            end(stack, time,
                m_names[stack.calls.back().name] == line.text ? CallEnd::returned : CallEnd::implied);
    } else {
        endDownTo(stack, line.depth, time, CallEnd::implied);
    }
}

void CallTree::finish() {
    for (auto& [key, stack] : m_stacks)
        endDownTo(stack, 0, stack.last, CallEnd::open);
    m_stacks.clear();
    m_current = nullptr;
}

CallTree::Stack& CallTree::stackOf(const TraceLine& line, int run) {
    // Nearly every line belongs to the thread of the line before.
    if (m_current != nullptr && m_current->thread.number == line.threadNumber &&
        m_current->thread.name == line.threadName)
        return *m_current;
    Stack& stack = m_stacks[{line.threadNumber, std::string(line.threadName)}];
    if (stack.thread.run == 0) {
        stack.thread.run = run;
        stack.thread.number = line.threadNumber;
        stack.thread.name = line.threadName;
        stack.thread.index = m_threads++;
    }
    return stack;
}

void CallTree::end(Stack& stack, Moment time, CallEnd how) {
    const OpenCall call = stack.calls.back();
    stack.calls.pop_back();
    if (!stack.calls.empty() && call.begin >= 0 && time >= call.begin)
        stack.calls.back().inside += time - call.begin;
    m_observer.callEnds(stack.thread, call, time, how);
}

void CallTree::endDownTo(Stack& stack, std::uint32_t depth, Moment time, CallEnd how) {
    while (!stack.calls.empty() && stack.calls.back().depth >= depth)
        end(stack, time, how);
}

} // namespace Zevo
