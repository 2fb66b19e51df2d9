#include "Filter.h"

#include "Tool.h"
#include "detail/NamePattern.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <sstream>

using namespace kf::detail;

namespace Zevo {
namespace {

std::string folded(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool isCovered(const std::vector<std::string>& patterns, std::string_view name) {
    return std::any_of(
        patterns.begin(), patterns.end(),
        [&](const std::string& pattern) { return isNameCovered(pattern, name); });
}

/// A pattern of TRACE_THE_CALL that begins with "-" hides what the rest matches.
bool isHiding(const std::string& pattern) {
    return pattern.size() >= 2 && pattern[0] == '-';
}

[[noreturn]] void complainOfTime(const std::string& text) {
    throw UsageError("\"" + text +
                     "\" is no time; expected: hh:mm[:ss[-mmm]], behind a date (yyyy-mm-dd) if need be");
}

} // namespace

TimeBound::TimeBound(const std::string& text) {
    std::string time = text;
    if (text.size() >= 10 && text[4] == '-' && text[7] == '-') {
        const auto number = [&](std::size_t at, std::size_t size) {
            return static_cast<int>(std::strtol(text.substr(at, size).c_str(), nullptr, 10));
        };
        const int year = number(0, 4), month = number(5, 2), day = number(8, 2);
        std::tm date = {};
        date.tm_year = year - 1900;
        date.tm_mon = month - 1;
        date.tm_mday = day;
        m_day = static_cast<Moment>(timegm(&date)) * 1000;
        if (date.tm_mon != month - 1 || date.tm_mday != day)
            complainOfTime(text);
        time = text.substr(10);
        if (time.empty()) {
            m_timeOfDay = 0;
            m_precision = DAY;
            return;
        }
        if (time[0] != ' ' && time[0] != 'T')
            complainOfTime(text);
        time.erase(0, 1);
    }
    static const char FULL[] = "00:00:00-000";
    constexpr std::array<std::pair<std::size_t, std::int32_t>, 3> FORMS = {{{5, 60000}, {8, 1000}, {12, 1}}};
    for (const auto& [size, precision] : FORMS) {
        if (time.size() != size)
            continue;
        std::string whole = time + (FULL + size);
        if (whole[8] == '.')
            whole[8] = '-';
        m_timeOfDay = timeOfDayOf("[" + whole + "]");
        m_precision = precision;
    }
    if (m_timeOfDay < 0)
        complainOfTime(text);
}

int TimeBound::compare(const JournalLine& line) const {
    const Moment time = m_day < 0 ? line.time % DAY : line.time;
    const Moment bound = (m_day < 0 ? 0 : m_day) + m_timeOfDay;
    return time < bound ? -1 : time >= bound + m_precision ? 1 : 0;
}

Filter::Filter(FilterRules rules)
    : m_rules(std::move(rules)), m_tree(*this),
      m_readsCalls(!m_rules.calls.empty() || !m_rules.within.empty()) {
    for (std::string& text : m_rules.texts)
        text = folded(text);
}

bool Filter::wants(const JournalLine& journalLine) {
    if (m_readsCalls)
        m_tree.add(journalLine);
    const TraceLine& line = journalLine.line;
    if (line.kind == LineKind::text && !line.whole.empty())
        return m_wantedLast;
    m_wantedLast = false;
    if (m_rules.run != 0 && journalLine.run != m_rules.run)
        return false;
    if (m_rules.from.isSet() && (journalLine.time < 0 || m_rules.from.compare(journalLine) < 0))
        return false;
    if (m_rules.to.isSet() && (journalLine.time < 0 || m_rules.to.compare(journalLine) > 0))
        return false;
    if (!m_rules.levels.empty() && (line.level == 0 || m_rules.levels.find(line.level) == std::string::npos))
        return false;
    if (!wantsThread(line) || !wantsItsCall(line) || !isWithin(line))
        return false;
    m_wantedLast = hasText(line);
    return m_wantedLast;
}

bool Filter::wantsThread(const TraceLine& line) const {
    return m_rules.threads.empty() || (line.hasThread && isCovered(m_rules.threads, line.threadName));
}

bool Filter::wantsCall(std::string_view name) {
    const std::uint32_t number = m_names.numberOf(name);
    if (number == m_isWanted.size()) {
        const auto hides = [&](const std::string& pattern) {
            return isHiding(pattern) && isNameHidden(std::string_view(pattern).substr(1), name);
        };
        const auto permits = [&](const std::string& pattern) {
            return !isHiding(pattern) && isNameCovered(pattern, name);
        };
        const std::vector<std::string>& patterns = m_rules.calls;
        m_isWanted.push_back((std::all_of(patterns.begin(), patterns.end(), isHiding) ||
                              std::any_of(patterns.begin(), patterns.end(), permits)) &&
                             std::none_of(patterns.begin(), patterns.end(), hides));
    }
    return m_isWanted[number];
}

// A message is wanted if its call is, because the tracer writes it only with its call.
bool Filter::wantsItsCall(const TraceLine& line) {
    if (m_rules.calls.empty())
        return true;
    if (line.kind == LineKind::call || line.kind == LineKind::exit)
        return wantsCall(line.text);
    return line.kind == LineKind::message && !m_tree.openCalls().empty() &&
           wantsCall(m_tree.names()[m_tree.openCalls().back().name]);
}

bool Filter::isWithin(const TraceLine& line) const {
    if (m_rules.within.empty())
        return true;
    // The call that has just returned is no longer among the open ones.
    if (line.kind == LineKind::exit && isCovered(m_rules.within, line.text))
        return true;
    const std::vector<OpenCall>& calls = m_tree.openCalls();
    return line.hasThread && std::any_of(calls.begin(), calls.end(), [&](const OpenCall& call) {
               return isCovered(m_rules.within, m_tree.names()[call.name]);
           });
}

bool Filter::hasText(const TraceLine& line) const {
    if (m_rules.texts.empty())
        return true;
    const std::string text = folded(line.whole);
    return std::any_of(m_rules.texts.begin(), m_rules.texts.end(),
                       [&](const std::string& wanted) { return text.find(wanted) != std::string::npos; });
}

std::string levelsOf(const std::string& names) {
    constexpr std::pair<const char*, char> LEVELS[] = {
        {"debug", 'D'},   {"error", 'E'},   {"warning", 'W'}, {"level_0", '0'}, {"level_1", '1'},
        {"level_2", '2'}, {"level_3", '3'}, {"level_4", '4'}, {"level_5", '5'}, {"d", 'D'},
        {"e", 'E'},       {"w", 'W'},       {"0", '0'},       {"1", '1'},       {"2", '2'},
        {"3", '3'},       {"4", '4'},       {"5", '5'}};
    std::string result;
    std::istringstream words(names);
    for (std::string word; std::getline(words, word, ',');) {
        const std::string name = folded(word);
        const auto found = std::find_if(std::begin(LEVELS), std::end(LEVELS),
                                        [&](const auto& level) { return name == level.first; });
        if (found == std::end(LEVELS))
            throw UsageError("\"" + word +
                             "\" is no level; expected: debug, error, warning, level_0 to level_5");
        result += found->second;
    }
    return result;
}

} // namespace Zevo
