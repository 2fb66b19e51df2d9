#include "detail/ArgumentlessFormat.h"

#include <gtest/gtest.h>

using namespace kf::detail;

TEST(ArgumentlessFormat, PlainTextStands) {
    EXPECT_EQ(formatWithoutArguments(""), "");
    EXPECT_EQ(formatWithoutArguments("plain text\n"), "plain text\n");
}

TEST(ArgumentlessFormat, DoubledPercentIsOne) {
    EXPECT_EQ(formatWithoutArguments("100%% of %%s"), "100% of %s");
}

TEST(ArgumentlessFormat, NumbersPrintAsZero) {
    EXPECT_EQ(formatWithoutArguments("%d %i %u %o %x %X"), "0 0 0 0 0 0");
    EXPECT_EQ(formatWithoutArguments("%5d|%-5d|%05d|%+d|% d|%.3d"), "    0|0    |00000|+0| 0|000");
    EXPECT_EQ(formatWithoutArguments("%ld %lld %hd %hhd %zu %jd %td %qd"), "0 0 0 0 0 0 0 0");
    EXPECT_EQ(formatWithoutArguments("%f %.2f %e %g %Lf"), "0.000000 0.00 0.000000e+00 0 0.000000");
    EXPECT_EQ(formatWithoutArguments("%#x %'d"), "0 0");
}

TEST(ArgumentlessFormat, TextsPrintAsTheirPadding) {
    EXPECT_EQ(formatWithoutArguments("<%s><%5s><%-5s><%.3s><%ls><%S>"), "<><     ><     ><><><>");
    EXPECT_EQ(formatWithoutArguments("<%c><%3c><%lc>"), "<><   ><>");
}

TEST(ArgumentlessFormat, PointerPrintsAsTheNullPointer) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "<%p>", static_cast<void*>(nullptr));
    EXPECT_EQ(formatWithoutArguments("<%p>"), expected);
}

TEST(ArgumentlessFormat, NothingIsStored) {
    EXPECT_EQ(formatWithoutArguments("a%nb%hhnc%5nd%1$ne"), "abcde");
}

TEST(ArgumentlessFormat, StarIsAWidthOfZero) {
    EXPECT_EQ(formatWithoutArguments("<%*d><%.*f><%*.*s><%-*d>"), "<0><0><><0>");
    EXPECT_EQ(formatWithoutArguments("<%2$*1$d><%*1$d>"), "<0><0>");
}

TEST(ArgumentlessFormat, PositionsAreAccepted) {
    EXPECT_EQ(formatWithoutArguments("<%1$d><%2$5d><%99999999999$s>"), "<0><    0><>");
}

TEST(ArgumentlessFormat, WhatIsNoConversionStandsForItself) {
    EXPECT_EQ(formatWithoutArguments("50% "), "50% ");
    EXPECT_EQ(formatWithoutArguments("50%"), "50%");
    EXPECT_EQ(formatWithoutArguments("%y %5k %."), "%y %5k %.");
    EXPECT_EQ(formatWithoutArguments("%ll"), "%ll");
}

TEST(ArgumentlessFormat, PercentBeforeAnotherConversionStands) {
    EXPECT_EQ(formatWithoutArguments("%!%d"), "%!0");
}

TEST(ArgumentlessFormat, AbsurdWidthsAreCut) {
    EXPECT_EQ(formatWithoutArguments("%2000000000d"), std::string(20000, ' ') + "0");
    EXPECT_EQ(formatWithoutArguments("%-99999999999999999999d|"), "0" + std::string(20000, ' '));
    EXPECT_EQ(formatWithoutArguments("%.2000000000f"), "0." + std::string(19999, '0'));
    EXPECT_EQ(formatWithoutArguments("%2000000000s%2000000000s%2000000000s").size(), 20001U);
}

TEST(ArgumentlessFormat, LongTextsAreCutBehindTheMessageLimit) {
    EXPECT_EQ(formatWithoutArguments(std::string(19999, 'a')).size(), 19999U);
    EXPECT_EQ(formatWithoutArguments(std::string(20000, 'a')).size(), 20000U);
    EXPECT_EQ(formatWithoutArguments(std::string(1000000, 'a')).size(), 20001U);
}

TEST(ArgumentlessFormat, EndsAtItsNul) {
    EXPECT_EQ(formatWithoutArguments(std::string("ab\0%d", 5)), "ab");
    EXPECT_EQ(formatWithoutArguments(std::string("ab%\0d", 5)), "ab%");
}
