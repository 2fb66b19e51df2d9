#include "TracerModel.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace model {
namespace {

__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...) {
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

bool beginsWith(const std::string& text, const std::string& begin) {
    return text.compare(0, begin.size(), begin) == 0;
}

bool covers(const std::string& pattern, const std::string& name) {
    if (pattern == "*")
        return true;
    if (pattern.back() == '*')
        return beginsWith(name, pattern.substr(0, pattern.size() - 1));
    if (pattern.front() == '*') {
        const std::string rest = pattern.substr(1);
        const std::size_t first = name.find(rest);
        return first != std::string::npos && first + rest.size() == name.size();
    }
    return pattern == name;
}

bool coversAny(const std::vector<std::string>& patterns, const std::string& name) {
    return std::any_of(
        patterns.begin(), patterns.end(), [&](const std::string& pattern) { return covers(pattern, name); });
}

bool hides(const std::string& pattern, const std::string& name) {
    const bool isInfix = pattern.size() > 2 && pattern.front() == '*' && pattern.back() == '*';
    return isInfix ? name.find(pattern.substr(1, pattern.size() - 2)) != std::string::npos
                   : covers(pattern, name);
}

constexpr const char* NO_COUNT = "[     ]";
constexpr const char* NO_ADDRESS = "[          ]";

} // namespace

void Tracer::configure(const std::string& text) {
    for (const Statement& statement : statementsOf(text)) {
        const std::string& keyword = statement[0];
        const std::vector<std::string> words(statement.begin() + 1, statement.end());
        // DELIBERATE: statements before TRACE_ON are ignored.
        if (keyword != "trace_on" && !isEnabled())
            continue;
        execute(statement);
        if (keyword == "trace_indent_with_mark")
            m_hasBars = true;
        else if (keyword == "trace_full_indent")
            m_indentsHidden = true;
        else if (keyword == "trace_call_exit")
            m_printsExits = true;
        else if (keyword == "trace_object_count")
            m_printsObjects = true;
        for (const std::string& word : words)
            if (keyword == "trace_the_thread")
                m_permittedThreads.push_back(word);
            else if (keyword == "trace_the_call" && word[0] == '-')
                m_forbiddenCalls.push_back(word);
            else if (keyword == "trace_the_call")
                m_permittedCalls.push_back(word);
    }
}

void Tracer::setFileName(const std::string& name) {
    if (nameRing(name))
        updateFileName();
}

void Tracer::updateFileName() {
    ring.nameCurrent();
    ring.truncateNext();
}

Tracer::ThreadTracer* Tracer::tracerOf(int thread) {
    const auto found = m_threads.find(m_keys[static_cast<std::size_t>(thread)]);
    return found != m_threads.end() ? &found->second : nullptr;
}

Tracer::ThreadTracer* Tracer::takerOf(int thread, const Marker& marker) {
    // A call does not outlast the trace of its thread: if that ended during the call, the call's trace ended
    // with it.
    ThreadTracer* const tracer = tracerOf(thread);
    return tracer != nullptr && marker.taker == tracer->number ? tracer : nullptr;
}

void Tracer::beginThread(int thread, const std::string& name) {
    if (!coversAny(m_permittedThreads, name) || tracerOf(thread) != nullptr)
        return;
    ThreadTracer& tracer = m_threads[m_keys[static_cast<std::size_t>(thread)]];
    tracer.number = ++m_lastNumber;
    tracer.name = name;
}

void Tracer::endThread(int thread) {
    m_threads.erase(m_keys[static_cast<std::size_t>(thread)]);
}

void Tracer::switchThread(int thread, bool on) {
    if (ThreadTracer* const tracer = tracerOf(thread))
        tracer->isEnabled = on;
}

int Tracer::updateObjectCount(const Marker& marker) {
    if (marker.className.empty())
        return 0;
    int& count = m_objectCounts[marker.className];
    count += marker.isConstructor ? 1 : -1;
    if (count >= 1)
        return count;
    m_objectCounts.erase(marker.className);
    return 0;
}

bool Tracer::isCallPrinted(const std::string& name) const {
    for (const std::string& forbidden : m_forbiddenCalls)
        if (forbidden.size() >= 2 && hides(forbidden.substr(1), name))
            return false;
    return coversAny(m_permittedCalls, name);
}

std::string Tracer::threadColumn(int thread, const ThreadTracer& tracer) const {
    return formatted("[th_%-5d][%-15s]", idOf(thread), tracer.name.c_str());
}

std::string Tracer::addressColumn(const Marker& marker) const {
    return formatted("[0x%-8x]", static_cast<unsigned>(marker.object));
}

std::string Tracer::lineBegin(int thread, const ThreadTracer& tracer, const std::string& objectColumn) const {
    std::string text = time() + threadColumn(thread, tracer);
    if (m_printsObjects)
        text += objectColumn;
    for (const Element& element : tracer.stack)
        if (element.isPrinted || m_indentsHidden)
            text += m_hasBars ? "| " : "  ";
    return text;
}

void Tracer::beginCall(int thread, Marker& marker) {
    if (!isEnabled())
        return;
    if (tracerOf(thread) == nullptr)
        beginThread(thread, "th_" + std::to_string(idOf(thread)));
    ThreadTracer* const tracer = tracerOf(thread);
    if (tracer == nullptr || !tracer->isEnabled)
        return;
    const int count = updateObjectCount(marker);
    marker.taker = tracer->number;
    marker.isPrinted = isCallPrinted(marker.method);
    if (marker.isPrinted) {
        std::string column =
            std::string(NO_COUNT) + (marker.object != 0 ? addressColumn(marker) : NO_ADDRESS);
        if (!marker.className.empty())
            column = formatted("[%-5d]", count) + addressColumn(marker);
        printString(lineBegin(thread, *tracer, column) + marker.method + "\n");
    }
    tracer->stack.push_back({marker.method, marker.isPrinted});
}

void Tracer::endCall(int thread, const Marker& marker) {
    ThreadTracer* const tracer = takerOf(thread, marker);
    if (!isEnabled() || tracer == nullptr)
        return;
    if (tracer->isEnabled && m_printsExits && marker.isPrinted) {
        const std::string column =
            std::string(NO_COUNT) + (marker.object != 0 ? addressColumn(marker) : NO_ADDRESS);
        // DELIBERATE: the call is still on the stack, so this line is indented one unit deeper than that of
        // its entry.
        printString(lineBegin(thread, *tracer, column) + "<- " + marker.method + "\n");
    }
    // DELIBERATE: removes the innermost call, even if it is another one because the thread was switched
    // meanwhile.
    if (!tracer->stack.empty())
        tracer->stack.pop_back();
}

void Tracer::message(int thread, const Marker& marker, unsigned level, const std::string& text) {
    const ThreadTracer* const tracer = takerOf(thread, marker);
    if (!isEnabled() || tracer == nullptr || !marker.isPrinted || !isInLevelMask(level))
        return;
    printString(lineBegin(thread, *tracer, std::string(NO_COUNT) + NO_ADDRESS) + tag(level) +
                messageText(text) + "\n");
}

void Tracer::printStacks(int thread) {
    for (const auto& [key, tracer] : m_threads) {
        if (tracer.stack.empty())
            continue;
        printString("\n-------------- CALLSTACK --------------\n");
        for (std::size_t depth = tracer.stack.size(); depth > 0; --depth) {
            // DELIBERATE: each line has the id of the calling thread.
            printString(threadColumn(thread, tracer) + formatted("    [%d] %s\n", static_cast<int>(depth),
                                                                 tracer.stack[depth - 1].method.c_str()));
        }
        printString("---------------------------------------\n");
    }
}

void Tracer::printObjectCounts() {
    printString("\n-------------- OBJECT(S) COUNT --------------\n");
    for (const auto& [name, count] : m_objectCounts)
        printString(formatted("Class = %-30s, count = %.6d\n", name.c_str(), count));
    printString("---------------------------------------------\n");
}

std::string Tracer::methodName(const std::string& prettyName) {
    const std::size_t bracket = prettyName.find('(');
    if (bracket == std::string::npos)
        return prettyName;
    const std::string name = prettyName.substr(0, bracket);
    return name.substr(name.rfind(' ') + 1);
}

} // namespace model
