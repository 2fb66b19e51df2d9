#pragma once

#include "Colours.h"
#include "Journal.h"
#include "Sink.h"

#include <nlohmann/json_fwd.hpp>

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Zevo {

/// A crash report of one run.
struct CrashReport {
    struct Stack {
        std::string thread;
        std::vector<std::string> calls; ///< innermost first
    };

    int run = 0;
    Moment time = -1;
    bool isDated = false;
    std::string cause;  ///< empty: hidden by the filters
    std::string thread; ///< that received the signal; empty: unknown
    std::vector<Stack> stacks;
    std::vector<std::pair<std::string, int>> objects; ///< class, and number of its living objects
    std::vector<std::string> before;                  ///< the last lines of that thread, unchanged
    bool isWhole = false;                             ///< the report has its last line
};

/// Finds the crash reports of a journal.
class CrashReader {
public:
    /// @param lines  the number of the thread's last lines to keep
    explicit CrashReader(std::size_t lines) : m_lines(lines) {}

    void add(const JournalLine& line);
    const std::vector<CrashReport>& reports() const { return m_reports; }

private:
    CrashReport& report(const JournalLine& line);
    void remember(const JournalLine& line);

    std::size_t m_lines;
    std::vector<CrashReport> m_reports;
    std::map<std::string, std::deque<std::string>, std::less<>> m_last; // by thread
    bool m_isInFilter = false;
    bool m_isInStack = false;
    bool m_isInObjects = false;
    int m_run = -1;
};

void tell(const CrashReport& report, const Colours& colours, const Sink& sink);
nlohmann::ordered_json jsonOf(const CrashReport& report);

} // namespace Zevo
