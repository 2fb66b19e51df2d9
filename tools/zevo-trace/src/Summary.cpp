#include "Summary.h"

#include "Painter.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Zevo {

void Summary::callBegins(const TracedThread& thread, const OpenCall& call) {
    if (m_totals.size() <= call.name)
        m_totals.resize(call.name + 1);
    if (m_active.size() <= thread.index)
        m_active.resize(thread.index + 1);
    std::vector<std::uint32_t>& active = m_active[thread.index];
    if (active.size() <= call.name)
        active.resize(call.name + 1);
    ++active[call.name];
    ++m_totals[call.name].count;
}

void Summary::callEnds(const TracedThread& thread, const OpenCall& call, Moment end, CallEnd how) {
    CallTotals& totals = m_totals[call.name];
    const std::uint32_t outer = --m_active[thread.index][call.name];
    if (how == CallEnd::open) {
        // Its duration is not known yet; the time so far is no measure.
        ++totals.open;
        return;
    }
    if (call.begin < 0 || end < call.begin)
        return;
    const Moment duration = end - call.begin;
    ++totals.timed;
    if (outer == 0)
        totals.total += duration;
    totals.own += std::max<Moment>(duration - call.inside, 0);
    if (duration > totals.slowest) {
        totals.slowest = duration;
        totals.slowestBegin = call.begin;
    }
}

CallTotals Summary::totalsOf(const std::string& name) const {
    for (std::uint32_t number = 0; number < m_totals.size(); ++number)
        if (m_tree.names()[number] == name)
            return m_totals[number];
    return {};
}

std::vector<std::string> Summary::names() const {
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t number = 0; number < m_totals.size(); ++number)
        if (m_totals[number].count != 0)
            numbers.push_back(number);
    std::sort(numbers.begin(), numbers.end(), [&](std::uint32_t a, std::uint32_t b) {
        const CallTotals &left = m_totals[a], &right = m_totals[b];
        if (left.own != right.own)
            return left.own > right.own;
        return left.count != right.count ? left.count > right.count : m_tree.names()[a] < m_tree.names()[b];
    });
    std::vector<std::string> result;
    for (const std::uint32_t number : numbers)
        result.push_back(m_tree.names()[number]);
    return result;
}

void Summary::tell(std::size_t most, const Colours& colours, const Sink& sink) const {
    const std::vector<std::string> all = names();
    sink(colours.strong(fmt::format("{:>9}  {:>11}  {:>11}  {:>11}  {:>12}  {:>5}  {}", "calls", "total ms",
                                    "own ms", "slowest ms", "at", "open", "call")) +
         "\n");
    std::size_t shown = 0;
    for (const std::string& name : all) {
        if (most != 0 && ++shown > most) {
            sink(fmt::format("and {} calls more; --all shows them\n", all.size() - most));
            break;
        }
        const CallTotals totals = totalsOf(name);
        const bool isTimed = totals.timed != 0;
        sink(fmt::format(
            "{:>9}  {:>11}  {:>11}  {:>11}  {:>12}  {:>5}  {}\n", totals.count,
            isTimed ? std::to_string(totals.total) : "-", isTimed ? std::to_string(totals.own) : "-",
            isTimed ? std::to_string(totals.slowest) : "-", isTimed ? timeTextOf(totals.slowestBegin) : "-",
            totals.open == 0 ? "" : std::to_string(totals.open),
            totals.open == 0 ? name : colours.warning(name)));
    }
}

nlohmann::ordered_json Summary::json() const {
    nlohmann::ordered_json calls = nlohmann::ordered_json::array();
    for (const std::string& name : names()) {
        const CallTotals totals = totalsOf(name);
        nlohmann::ordered_json call = {{"call", name}, {"count", totals.count}, {"open", totals.open}};
        if (totals.timed != 0) {
            call["total_ms"] = totals.total;
            call["own_ms"] = totals.own;
            call["slowest_ms"] = totals.slowest;
            call["slowest_at"] = timeTextOf(totals.slowestBegin);
        }
        calls.push_back(std::move(call));
    }
    return {{"calls", calls}};
}

} // namespace Zevo
