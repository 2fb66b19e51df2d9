#pragma once

// The documents that the dictionary is measured with.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// Flat: one dictionary holds all leaves. Nested: three levels of dictionaries that hold equally many entries
/// each.
enum class Shape { FLAT, NESTED };

/// Calls `leaf` for each of `count` leaves, with the numbers of the keys on its path, one per level. All
/// dictionaries of the `levels` levels have the same number of entries.
template <typename Leaf>
void forEachLeaf(std::int64_t count, int levels, const Leaf& leaf) {
    const auto width =
        static_cast<std::int64_t>(std::ceil(std::pow(static_cast<double>(count), 1.0 / levels) - 1e-9));
    std::vector<std::int64_t> digits(static_cast<std::size_t>(levels));
    for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t rest = i;
        for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
            *digit = rest % width;
            rest /= width;
        }
        leaf(digits);
    }
}

/// All numbers below a million give keys of the same length. A document of a million leaves stays below
/// 64 MB, the limit of a property list.
inline std::string keyOf(std::int64_t number) {
    char key[32];
    std::snprintf(key, sizeof key, "key%06lld", static_cast<long long>(number));
    return key;
}

/// A property list with `leaves` string leaves.
inline std::string document(Shape shape, std::int64_t leaves) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    const int levels = shape == Shape::FLAT ? 1 : 3;
    std::vector<std::int64_t> open; // the keys of the dictionaries that contain the last leaf
    const auto close = [&text, &open] {
        text.append(open.size(), '\t').append("</dict>\n");
        open.pop_back();
    };
    forEachLeaf(leaves, levels, [&](const std::vector<std::int64_t>& keys) {
        while (!std::equal(open.begin(), open.end(), keys.begin()))
            close();
        for (std::size_t level = open.size(); level < keys.size(); ++level) {
            const std::string indent(level + 1, '\t');
            text += indent + "<key>" + keyOf(keys[level]) + "</key>\n" + indent;
            if (level + 1 < keys.size()) {
                text += "<dict>\n";
                open.push_back(keys[level]);
            } else {
                text += "<string>value of " + keyOf(keys[level]) + "</string>\n";
            }
        }
    });
    while (!open.empty())
        close();
    return text + "</dict>\n</plist>";
}
