#pragma once

#include "Dictionary.h"

#include <gtest/gtest.h>
#include <string>

/// The number at the path; the test fails if there is none.
inline int numberAt(const Dictionary& dictionary, const std::string& path) {
    int value = 0;
    EXPECT_TRUE(dictionary.getValueAs(path, value)) << path;
    return value;
}
