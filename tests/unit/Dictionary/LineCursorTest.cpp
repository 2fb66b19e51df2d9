#include "LineCursor.h"

#include <gtest/gtest.h>

TEST(LineCursor, HandsOutLinesWithoutTheirLineFeeds) {
    LineCursor lines("a\n\nb\r\nc");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.next(), "b\r");
    EXPECT_EQ(lines.next(), "c");
    EXPECT_EQ(lines.getPosition(), 7u);
}

TEST(LineCursor, BehindTheEndThereAreOnlyEmptyLines) {
    LineCursor lines("a\n");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.getPosition(), 2u);
    EXPECT_EQ(LineCursor("").next(), "");
}

TEST(LineCursor, GoesBackToAPosition) {
    LineCursor lines("a\nb\n");
    lines.next();
    const std::size_t second = lines.getPosition();
    EXPECT_EQ(lines.next(), "b");
    lines.setPosition(second);
    EXPECT_EQ(lines.next(), "b");
}
