#include "Report.h"

#include "FindingText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Zevo {
namespace {

bool isSame(const Place& left, const Place& right) {
    return left.file == right.file && left.line == right.line && left.column == right.column;
}

std::string shownFolder(const CheckOptions& options) {
    return options.folder.empty() ? "." : options.folder;
}

} // namespace

std::string asText(const CheckResult& result, const CheckOptions& options, const Colours& colours) {
    std::string text;
    for (std::size_t i = 0; i < result.findings.size(); ++i) {
        const Finding& finding = result.findings[i];
        text += sentence(finding, colours);
        const bool isShownBelow =
            i + 1 < result.findings.size() && isSame(finding.place, result.findings[i + 1].place);
        if (!isShownBelow)
            text += excerptOf(finding.place, colours);
    }
    if (!result.findings.empty())
        return text + fmt::format("{}: {} {} found\n", shownFolder(options), result.findings.size(),
                                  result.findings.size() == 1 ? "problem" : "problems");
    return fmt::format("{}: {}\n", shownFolder(options),
                       colours.good(options.withApplications
                                        ? "nothing wrong with the four files and both applications"
                                        : "nothing wrong with the four files"));
}

nlohmann::ordered_json asJson(const CheckResult& result, const CheckOptions& options) {
    nlohmann::ordered_json findings = nlohmann::ordered_json::array();
    for (const Finding& finding : result.findings) {
        nlohmann::ordered_json entry = {{"id", finding.id}, {"file", finding.place.file}};
        if (finding.place.line > 0) {
            entry["line"] = finding.place.line;
            entry["column"] = finding.place.column;
            entry["length"] = finding.place.length;
        }
        entry["wrong"] = finding.wrong;
        if (!finding.expected.empty())
            entry["expected"] = finding.expected;
        if (!finding.meant.empty())
            entry["meant"] = finding.meant;
        findings.push_back(std::move(entry));
    }
    return {{"folder", shownFolder(options)},
            {"applicationsChecked", options.withApplications},
            {"logFolder", result.logFolder},
            {"findings", std::move(findings)}};
}

} // namespace Zevo
