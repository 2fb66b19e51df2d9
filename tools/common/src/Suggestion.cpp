#include "Suggestion.h"

#include <algorithm>
#include <cstddef>

namespace Zevo {
namespace {

// Edit distance: inserted, missing and wrong letters and swapped neighbours count one each.
std::size_t distance(const std::string& left, const std::string& right) {
    std::vector<std::size_t> before, previous(right.size() + 1), current(right.size() + 1);
    for (std::size_t j = 0; j <= right.size(); ++j)
        previous[j] = j;
    for (std::size_t i = 1; i <= left.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1,
                                   previous[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
                current[j] = std::min(current[j], before[j - 2] + 1);
        }
        before = previous;
        previous = current;
    }
    return previous.back();
}

} // namespace

std::string smallLetters(std::string_view text) {
    std::string small(text);
    for (char& c : small)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return small;
}

std::string meantBy(std::string_view word, const std::vector<std::string_view>& candidates) {
    const std::string small = smallLetters(word);
    std::size_t nearest = std::max<std::size_t>(1, word.size() / 4) + 1;
    std::string_view meant;
    for (const std::string_view candidate : candidates) {
        if (candidate == word)
            return std::string(candidate);
        const std::size_t far = distance(small, smallLetters(candidate));
        if (far < nearest) {
            nearest = far;
            meant = candidate;
        }
    }
    return std::string(meant);
}

} // namespace Zevo
