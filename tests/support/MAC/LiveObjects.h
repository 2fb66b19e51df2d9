#pragma once

#include <gtest/gtest.h>

/// Elsewhere such a test has to leave the live objects of the frameworks as it found them; macOS does not count them.
class LiveObjectsTest : public ::testing::Test {};
