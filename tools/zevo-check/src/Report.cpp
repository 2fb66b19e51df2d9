#include "Report.h"

#include <fmt/format.h>

#include <algorithm>

namespace Zevo {
namespace {

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool isControl(char byte) {
    return (static_cast<unsigned char>(byte) < ' ' && byte != '\t') || byte == 0x7F;
}

std::string printable(std::string text) {
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

std::string placeText(const Place& place) {
    return place.line == 0 ? place.file : fmt::format("{}:{}:{}", place.file, place.line, place.column);
}

// The line, and marks below the part that is meant.
std::string excerpt(const Place& place, const Colours& colours) {
    static constexpr std::size_t WIDEST = 160;
    if (place.line == 0)
        return {};
    const std::size_t column = std::min(static_cast<std::size_t>(place.column) - 1, place.text.size());
    std::size_t start = column > WIDEST / 2 && place.text.size() > WIDEST ? column - WIDEST / 2 : 0;
    while (start < place.text.size() && isContinuation(place.text[start]))
        ++start;
    std::string marks;
    for (std::size_t i = start; i < column; ++i) {
        if (!isContinuation(place.text[i]))
            marks += place.text[i] == '\t' ? '\t' : ' ';
    }
    std::size_t length = 0;
    for (std::size_t i = column; i < column + static_cast<std::size_t>(place.length) && i < start + WIDEST;
         ++i)
        length += i < place.text.size() && isContinuation(place.text[i]) ? 0 : 1;
    const std::string number = std::to_string(place.line);
    return fmt::format("  {} | {}\n  {} | {}\n", number, printable(place.text.substr(start, WIDEST)),
                       std::string(number.size(), ' '),
                       marks + colours.good("^" + std::string(length > 1 ? length - 1 : 0, '~')));
}

bool isSame(const Place& left, const Place& right) {
    return left.file == right.file && left.line == right.line && left.column == right.column;
}

std::string sentence(const Finding& finding, const Colours& colours) {
    std::string text =
        fmt::format("{}: {}", colours.strong(placeText(finding.place)), printable(finding.wrong));
    if (!finding.expected.empty())
        text += "; expected: " + finding.expected;
    if (!finding.meant.empty())
        text += fmt::format("; did you mean {}?", colours.name(finding.meant));
    return text + "\n";
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
            text += excerpt(finding.place, colours);
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
