#pragma once

#include "CallTree.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Zevo {

/// A moment as people write it: a time of day, with or without a date.
class TimeBound {
public:
    TimeBound() = default;
    /// "10:40", "10:40:21", "10:40:21-912" or "10:40:21.912", with or without a date before it, "2026-01-31
    /// ". Throws UsageError for any other text.
    explicit TimeBound(const std::string& text);

    bool isSet() const { return m_timeOfDay >= 0; }
    /// -1, 0, 1: the line is before, at or after this moment. Without a date only the times of day count.
    int compare(const JournalLine& line) const;

private:
    Moment m_day = -1;
    std::int32_t m_timeOfDay = -1;
    std::int32_t m_precision = 1; // a bound without seconds is the whole minute
};

/// Which part of a journal is wanted.
struct FilterRules {
    std::vector<std::string> threads; ///< patterns of names; empty: all
    std::vector<std::string>
        calls; ///< patterns as behind TRACE_THE_CALL, "-" hides; only hiding ones: all others
    std::vector<std::string> within; ///< patterns: only what happens inside such a call, itself included
    std::string levels;              ///< of 'D', 'E', 'W', '0' to '5'; empty: all lines
    std::vector<std::string> texts;  ///< the line contains one of them, in any letter case; empty: all
    TimeBound from;
    TimeBound to;
    int run = 0; ///< 0: all
};

/// Selects lines. Patterns mean the same as in the tracer's own configuration, because the product's code
/// matches them.
class Filter : private CallObserver {
public:
    explicit Filter(FilterRules rules);

    /// Call it for every line of the journal, in order.
    bool wants(const JournalLine& line);

private:
    bool wantsThread(const TraceLine& line) const;
    bool wantsCall(std::string_view name);
    bool wantsItsCall(const TraceLine& line);
    bool isWithin(const TraceLine& line) const;
    bool hasText(const TraceLine& line) const;

    FilterRules m_rules;
    CallTree m_tree;
    NameTable m_names;
    std::vector<bool> m_isWanted; // by name, once determined
    bool m_wantedLast = false;    // applies to the following text lines, too
    bool m_readsCalls = false;
};

/// "error,warning" or "E,W": the letters of levels. Throws UsageError for an unknown name.
std::string levelsOf(const std::string& names);

} // namespace Zevo
