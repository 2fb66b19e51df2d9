#pragma once

#include "CallTree.h"
#include "Colours.h"
#include "Sink.h"

#include <nlohmann/json_fwd.hpp>

#include <vector>

namespace Zevo {

/// How often a call was made, and how long it took, over all threads.
struct CallTotals {
    std::uint64_t count = 0;
    std::uint64_t open = 0;  ///< of them, never returned
    std::uint64_t timed = 0; ///< of them, with both times
    Moment total = 0;        ///< milliseconds; a recursive call counts only once
    Moment own = 0;          ///< without the time of the calls that it made
    Moment slowest = -1;
    Moment slowestBegin = -1;
};

/// Sums up the calls of a journal.
class Summary : private CallObserver {
public:
    void add(const JournalLine& line) { m_tree.add(line); }
    /// After the last line.
    void finish() { m_tree.finish(); }

    /// The totals of the call with this name; zeros if there was none.
    CallTotals totalsOf(const std::string& name) const;
    /// Names, sorted by own time, the most first.
    std::vector<std::string> names() const;

    /// @param most the maximum number of calls; 0: all
    void tell(std::size_t most, const Colours& colours, const Sink& sink) const;
    nlohmann::ordered_json json() const;

private:
    void callBegins(const TracedThread& thread, const OpenCall& call) override;
    void callEnds(const TracedThread& thread, const OpenCall& call, Moment end, CallEnd how) override;

    CallTree m_tree{*this};
    std::vector<CallTotals> m_totals;                 // by name number
    std::vector<std::vector<std::uint32_t>> m_active; // by thread, then by name: the number of open calls
};

} // namespace Zevo
