#pragma once

#include <gtest/gtest.h>

/// On Linux such a test must leave the live objects of the frameworks as it found them; macOS does not count
/// them.
class LiveObjectsTest : public ::testing::Test {};
