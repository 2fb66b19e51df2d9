#pragma once

#include "Colours.h"
#include "Journal.h"
#include "Sink.h"
#include "Summary.h"

#include <nlohmann/json_fwd.hpp>

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Zevo {

/// A line of a call tree without what differs between any two machines: times, thread numbers, addresses.
struct Step {
    std::uint32_t depth = 0;
    bool isMessage = false;
    char level = 0;
    std::string text;
    std::string time;
    std::string place;
};

/// Where two call trees of one thread diverge.
struct Parting {
    std::vector<Step> common; ///< the calls that are open there in both, outermost first
    std::uint64_t steps = 0;  ///< the number of equal calls before it
    std::optional<Step> good; ///< the next call of each; nothing: there is none
    std::optional<Step> bad;
    std::vector<std::pair<Step, Step>> messages; ///< that differ before it, good and bad
    std::uint64_t differentMessages = 0;         ///< their total number; `messages` holds the first few
};

/// The calls and messages of one thread of one run, one at a time; nothing at the end.
using Steps = std::function<std::optional<Step>()>;

/// Compares until the calls diverge; nothing if they never do and no message differs.
std::optional<Parting> findParting(const Steps& good, const Steps& bad);

void tell(const std::optional<Parting>& parting, const Colours& colours, const Sink& sink);
nlohmann::ordered_json jsonOf(const std::optional<Parting>& parting);

/// The calls that take longer in the bad one, by mean time: the largest differences first.
struct Slower {
    std::string call;
    double goodMean = 0; ///< milliseconds
    double badMean = 0;
    std::uint64_t goodCount = 0;
    std::uint64_t badCount = 0;
};
std::vector<Slower> findSlower(const Summary& good, const Summary& bad);

} // namespace Zevo
