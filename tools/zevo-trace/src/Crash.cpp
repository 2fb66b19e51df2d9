#include "Crash.h"

#include "Painter.h"
#include "StatusWords.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Zevo {

CrashReport& CrashReader::report(const JournalLine& line) {
    if (m_reports.empty() || m_reports.back().run != line.run) {
        m_reports.emplace_back();
        m_reports.back().run = line.run;
        m_reports.back().time = line.time;
        m_reports.back().isDated = line.isDated;
    }
    return m_reports.back();
}

void CrashReader::remember(const JournalLine& line) {
    if (m_lines == 0)
        return;
    std::deque<std::string>& last = m_last[std::string(line.line.threadName)];
    if (last.size() == m_lines) {
        // Reuse the memory of the oldest line for the newest.
        std::string oldest = std::move(last.front());
        last.pop_front();
        oldest.assign(line.line.whole);
        last.push_back(std::move(oldest));
    } else {
        last.emplace_back(line.line.whole);
    }
}

void CrashReader::add(const JournalLine& journalLine) {
    const TraceLine& line = journalLine.line;
    if (journalLine.isTrace && journalLine.run != m_run) {
        m_run = journalLine.run;
        m_last.clear();
        m_isInFilter = m_isInStack = m_isInObjects = false;
    }
    switch (line.kind) {
    case LineKind::call:
        m_isInFilter = line.text == "SIGNAL_FILTER";
        if (m_isInFilter) {
            CrashReport& found = report(journalLine);
            found.thread = line.threadName;
            const auto last = m_last.find(line.threadName);
            if (last != m_last.end())
                found.before.assign(last->second.begin(), last->second.end());
        } else {
            remember(journalLine);
        }
        break;
    case LineKind::message:
        if (m_isInFilter && line.level == 'E') {
            report(journalLine).cause = line.text;
            m_isInFilter = false;
        } else {
            remember(journalLine);
        }
        break;
    case LineKind::exit:
        remember(journalLine);
        break;
    case LineKind::stackHead:
        report(journalLine).stacks.emplace_back();
        m_isInStack = true;
        break;
    case LineKind::stackCall:
        if (m_isInStack) {
            CrashReport::Stack& stack = report(journalLine).stacks.back();
            stack.thread = line.threadName;
            stack.calls.emplace_back(line.text);
        }
        break;
    case LineKind::objectsHead:
        m_isInObjects = true;
        break;
    case LineKind::objectCount:
        if (m_isInObjects)
            report(journalLine).objects.emplace_back(line.text, line.number);
        break;
    case LineKind::rule:
        if (m_isInObjects)
            report(journalLine).isWhole = true;
        m_isInStack = m_isInObjects = false;
        break;
    default:
        break;
    }
}

void tell(const CrashReport& report, const Colours& colours, const Sink& sink) {
    const std::string words = wordsOfCause(report.cause);
    sink(colours.strong(fmt::format("Run {}{}", report.run,
                                    report.time < 0 ? "" : ", " + textOf(report.time, report.isDated))) +
         "\n");
    if (report.cause.empty())
        sink("  Cause: " +
             colours.warning("not in the trace: the filters hide it (TRACE_ERROR, SIGNAL_FILTER)") + "\n");
    else
        sink(fmt::format("  Cause: {}{}\n",
                         isRequestToEnd(report.cause) ? report.cause : colours.error(report.cause),
                         words.empty() ? "" : ": " + words));
    if (isRequestToEnd(report.cause))
        sink("  This is no crash: somebody asked the launcher to end.\n");
    if (!report.thread.empty())
        sink(fmt::format("  Thread: {}\n", report.thread));
    for (const CrashReport::Stack& stack : report.stacks) {
        sink(fmt::format("\n  {} was in{}\n", stack.thread,
                         stack.thread == report.thread ? ", when it happened:" : ":"));
        for (const std::string& call : stack.calls)
            sink("    " +
                 (call == "SIGNAL_FILTER" ? colours.faint(call + " (the report itself)")
                                          : colours.name(call)) +
                 "\n");
    }
    if (!report.before.empty()) {
        sink(fmt::format("\n  The last lines of {} before that:\n", report.thread));
        LineParser parser;
        for (const std::string& line : report.before)
            sink("    " + painted(parser.parse(line), colours) + "\n");
    }
    if (!report.objects.empty()) {
        sink("\n  Living objects:\n");
        for (const auto& [name, count] : report.objects)
            sink(fmt::format("    {:>6}  {}\n", count, name));
    }
    if (!report.isWhole)
        sink("\n  " +
             colours.warning("The report has no end: the process was ended in it, or lines are lost.") +
             "\n");
}

nlohmann::ordered_json jsonOf(const CrashReport& report) {
    nlohmann::ordered_json stacks = nlohmann::ordered_json::array();
    for (const CrashReport::Stack& stack : report.stacks)
        stacks.push_back({{"thread", stack.thread}, {"calls", stack.calls}});
    nlohmann::ordered_json objects = nlohmann::ordered_json::object();
    for (const auto& [name, count] : report.objects)
        objects[name] = count;
    return {{"run", report.run},
            {"time", report.time < 0 ? nlohmann::ordered_json(nullptr)
                                     : nlohmann::ordered_json(textOf(report.time, report.isDated))},
            {"cause", report.cause},
            {"meaning", wordsOfCause(report.cause)},
            {"requested", isRequestToEnd(report.cause)},
            {"thread", report.thread},
            {"stacks", stacks},
            {"objects", objects},
            {"before", report.before},
            {"whole", report.isWhole}};
}

} // namespace Zevo
