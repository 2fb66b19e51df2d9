#include "detail/NamePattern.h"

#include <gtest/gtest.h>

using namespace kf::detail;

TEST(NamePattern, AloneAStarCoversEveryName) {
    EXPECT_TRUE(isNameCovered("*", "anything"));
    EXPECT_TRUE(isNameCovered("*", ""));
}

TEST(NamePattern, PlainPatternCoversThatNameOnly) {
    EXPECT_TRUE(isNameCovered("Main", "Main"));
    EXPECT_FALSE(isNameCovered("Main", "MainWorker"));
    EXPECT_FALSE(isNameCovered("Main", "main"));
    EXPECT_FALSE(isNameCovered("Main", ""));
}

TEST(NamePattern, TrailingStarCoversWhatBeginsSo) {
    EXPECT_TRUE(isNameCovered("ZevoLauncher::*", "ZevoLauncher::init"));
    EXPECT_TRUE(isNameCovered("ZevoLauncher::*", "ZevoLauncher::"));
    EXPECT_FALSE(isNameCovered("ZevoLauncher::*", "ZevoLauncher:"));
    EXPECT_FALSE(isNameCovered("ZevoLauncher::*", "MyZevoLauncher::init"));
}

TEST(NamePattern, LeadingStarCoversWhatEndsSo) {
    EXPECT_TRUE(isNameCovered("*Worker", "MainWorker"));
    EXPECT_TRUE(isNameCovered("*Worker", "Worker"));
    EXPECT_FALSE(isNameCovered("*Worker", "WorkerMain"));
    EXPECT_FALSE(isNameCovered("*Worker", "Work"));
    EXPECT_FALSE(isNameCovered("*Worker", "Forker"));
}

TEST(NamePattern, LeadingStarDeliberatelyLooksAtTheFirstOccurrenceOnly) {
    EXPECT_FALSE(isNameCovered("*Worker", "WorkerWorker"));
    EXPECT_FALSE(isNameCovered("*aa", "aaa"));
}

TEST(NamePattern, PermittedPatternWithBothStarsIsATrailingStar) {
    EXPECT_FALSE(isNameCovered("*x*", "axb"));
    EXPECT_TRUE(isNameCovered("*x*", "*xb"));
}

TEST(NamePattern, EmptyPatternCoversTheEmptyNameOnly) {
    EXPECT_TRUE(isNameCovered("", ""));
    EXPECT_FALSE(isNameCovered("", "a"));
}

TEST(NamePattern, HidingPatternWithBothStarsHidesWhatContainsItsText) {
    EXPECT_TRUE(isNameHidden("*x*", "axb"));
    EXPECT_TRUE(isNameHidden("*x*", "x"));
    EXPECT_FALSE(isNameHidden("*x*", "ab"));
    EXPECT_TRUE(isNameHidden("**", "ab"));
    EXPECT_TRUE(isNameHidden("*", "ab"));
}

TEST(NamePattern, HidingPatternHasTheOtherStarFormsToo) {
    EXPECT_TRUE(isNameHidden("Main*", "MainWorker"));
    EXPECT_TRUE(isNameHidden("*Worker", "MainWorker"));
    EXPECT_FALSE(isNameHidden("*Worker", "WorkerWorker"));
    EXPECT_TRUE(isNameHidden("Main", "Main"));
    EXPECT_FALSE(isNameHidden("Main", "MainWorker"));
}
