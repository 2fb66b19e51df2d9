#pragma once

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

namespace kf::detail {

/// The number at the beginning of a text, 0 if there is none: as atoi() on a host where long has 32 bits, and
/// a number out of range becomes the nearest end of the range.
inline int integerOf(const std::string& text) {
    constexpr long long SMALLEST = std::numeric_limits<int>::min();
    constexpr long long LARGEST = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::strtoll(text.c_str(), nullptr, 10), SMALLEST, LARGEST));
}

} // namespace kf::detail
