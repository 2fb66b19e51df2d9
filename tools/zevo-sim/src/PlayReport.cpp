#include "PlayReport.h"

#include "FindingText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace Zevo {
namespace {

std::size_t expectationCount(const Played& played) {
    return static_cast<std::size_t>(std::count_if(
        played.outcomes.begin(), played.outcomes.end(),
        [](const Outcome& outcome) { return outcome.step.isExpectation(); }));
}

/// The steps that count as tests: expectations, and refused events.
std::vector<const Outcome*> casesOf(const Played& played) {
    std::vector<const Outcome*> cases;
    for (const Outcome& outcome : played.outcomes)
        if (outcome.step.isExpectation() || outcome.isRefused)
            cases.push_back(&outcome);
    return cases;
}

/// Escapes a text for XML; bytes that XML does not allow become question marks.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t' ? '?' : c;
        }
    }
    return result;
}

std::string caseText(const Outcome& outcome, const std::string& script) {
    const std::string head =
        fmt::format("    <testcase name=\"line {}: {}\" classname=\"{}\" time=\"{:.3f}\"",
                    outcome.step.place.line, escaped(outcome.step.text), escaped(script), outcome.seconds);
    if (outcome.isMet)
        return head + "/>\n";
    const char* const element = outcome.isRefused ? "error" : "failure";
    return fmt::format("{}>\n      <{} message=\"{}\">{}</{}>\n    </testcase>\n", head, element,
                       escaped(outcome.told), escaped(complaintText(outcome, Colours(false))), element);
}

} // namespace

bool Played::isFine() const {
    return std::all_of(
        outcomes.begin(), outcomes.end(), [](const Outcome& outcome) { return outcome.isMet; });
}

std::string complaintText(const Outcome& outcome, const Colours& colours) {
    if (outcome.isMet)
        return {};
    Finding finding;
    finding.place = outcome.step.place;
    finding.wrong = outcome.isRefused ? outcome.told : "not met: " + outcome.told;
    return sentence(finding, colours) + excerptOf(finding.place, colours);
}

std::string summaryText(const Played& played, const Colours& colours) {
    const std::size_t expectations = expectationCount(played);
    std::size_t unmet = 0, refused = 0;
    for (const Outcome& outcome : played.outcomes) {
        unmet += outcome.isMet || outcome.isRefused ? 0 : 1;
        refused += outcome.isRefused ? 1 : 0;
    }
    std::string result =
        unmet == 0 ? (refused == 0 ? "all met" : "none unmet") : fmt::format("{} not met", unmet);
    if (refused != 0)
        result += fmt::format(", {} {} refused", refused, refused == 1 ? "statement" : "statements");
    return fmt::format("{}: {} {}, {}, {} events in {:.1f} s\n", played.script, expectations,
                       expectations == 1 ? "expectation" : "expectations",
                       played.isFine() ? colours.good(result) : colours.error(result), played.events,
                       played.seconds);
}

nlohmann::ordered_json asJson(const Played& played) {
    nlohmann::ordered_json steps = nlohmann::ordered_json::array();
    for (const Outcome& outcome : played.outcomes)
        steps.push_back({{"line", outcome.step.place.line},
                         {"text", outcome.step.text},
                         {"expectation", outcome.step.isExpectation()},
                         {"met", outcome.isMet},
                         {"refused", outcome.isRefused},
                         {"told", outcome.told},
                         {"seconds", outcome.seconds}});
    return {{"script", played.script},
            {"fine", played.isFine()},
            {"events", played.events},
            {"seconds", played.seconds},
            {"steps", steps}};
}

std::string junitText(const Played& played) {
    std::size_t failures = 0, errors = 0;
    std::string cases;
    const std::vector<const Outcome*> all = casesOf(played);
    for (const Outcome* const outcome : all) {
        failures += outcome->isMet || outcome->isRefused ? 0 : 1;
        errors += outcome->isRefused ? 1 : 0;
        cases += caseText(*outcome, played.script);
    }
    const std::string counts = fmt::format("tests=\"{}\" failures=\"{}\" errors=\"{}\" time=\"{:.3f}\"",
                                           all.size(), failures, errors, played.seconds);
    return fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<testsuites {}>\n  <testsuite name=\"{}\" {}>\n{}  </testsuite>\n</testsuites>\n",
                       counts, escaped(played.script), counts, cases);
}

} // namespace Zevo
