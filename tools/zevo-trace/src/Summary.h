#pragma once

#include "CallTree.h"
#include "Colours.h"
#include "Sink.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace Zevo {

/// How often a call was made, and how long it took, all threads together.
struct CallTotals {
    std::uint64_t count = 0;
    std::uint64_t open = 0;  ///< of them, never returned
    std::uint64_t timed = 0; ///< of them, with both times
    Moment total = 0;        ///< milliseconds; a call inside the same call counts only once
    Moment own = 0;          ///< without the calls that it made
    Moment slowest = -1;
    Moment slowestBegin = -1;
};

/// Adds the calls of a journal up.
class Summary : private CallObserver {
public:
    void add(const JournalLine& line) { m_tree.add(line); }
    /// Behind the last line.
    void finish() { m_tree.finish(); }

    /// The totals of a call of this name; none was made: zeros.
    CallTotals totalsOf(const std::string& name) const;
    /// Names, those with the most own time first.
    std::vector<std::string> names() const;

    /// @param most so many calls; 0: all
    void tell(std::size_t most, const Colours& colours, const Sink& sink) const;
    nlohmann::ordered_json json() const;

private:
    void callBegins(const TracedThread& thread, const OpenCall& call) override;
    void callEnds(const TracedThread& thread, const OpenCall& call, Moment end, CallEnd how) override;

    CallTree m_tree{*this};
    std::vector<CallTotals> m_totals;                 // by the names' numbers
    std::vector<std::vector<std::uint32_t>> m_active; // by thread, then by name: how many are open
};

} // namespace Zevo
