#pragma once

#include <gtest/gtest.h>

// RapidCheck's headers are not free of these warnings, which are errors here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#include <rapidcheck/gtest.h>
#pragma GCC diagnostic pop

#include <string>
#include <vector>

// Each test of these programs generates 500 random inputs; an input that fails is reduced to the smallest one
// that still fails. For more and other inputs:
//
//     RC_PARAMS="max_success=100000" build/test/tests/models/DictionaryModelTest

inline std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (const std::string& part : parts)
        text += (&part == parts.data() ? "" : separator) + part;
    return text;
}
