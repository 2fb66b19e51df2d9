#include "FindingText.h"

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

} // namespace

std::string excerptOf(const Place& place, const Colours& colours) {
    static constexpr std::size_t WIDEST = 160;
    if (place.line == 0)
        return {};
    const std::size_t column = std::min(static_cast<std::size_t>(place.column) - 1, place.text.size());
    std::size_t start = column > WIDEST / 2 && place.text.size() > WIDEST ? column - WIDEST / 2 : 0;
    while (start < place.text.size() && isContinuation(place.text[start]))
        ++start;
    std::string marks;
    for (std::size_t i = start; i < column; ++i)
        if (!isContinuation(place.text[i]))
            marks += place.text[i] == '\t' ? '\t' : ' ';
    std::size_t length = 0;
    for (std::size_t i = column; i < column + static_cast<std::size_t>(place.length) && i < start + WIDEST;
         ++i)
        length += i < place.text.size() && isContinuation(place.text[i]) ? 0 : 1;
    const std::string number = std::to_string(place.line);
    return fmt::format("  {} | {}\n  {} | {}\n", number, printable(place.text.substr(start, WIDEST)),
                       std::string(number.size(), ' '),
                       marks + colours.good("^" + std::string(length > 1 ? length - 1 : 0, '~')));
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

} // namespace Zevo
