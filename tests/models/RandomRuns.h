#pragma once

#include <gtest/gtest.h>

// RapidCheck's own headers do not pass the warnings that ours do.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#include <rapidcheck/gtest.h>
#pragma GCC diagnostic pop

#include <string>
#include <vector>

// Random runs: each test of these programs makes up 500 inputs, and reduces one that fails to the smallest that still does. For
// more inputs, and other ones:
//
//     RC_PARAMS="max_success=100000" build/test/tests/models/DictionaryModelTest

inline std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (const std::string& part : parts)
        text += (&part == parts.data() ? "" : separator) + part;
    return text;
}
