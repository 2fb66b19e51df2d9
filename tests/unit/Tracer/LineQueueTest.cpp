#include "LineQueue.h"

#include <gtest/gtest.h>

TEST(LineQueue, KeepsTheOrderOfTheLines) {
    LineQueue queue;
    EXPECT_TRUE(queue.empty());
    queue.push("one\n");
    queue.push("two\n");
    EXPECT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue.front(1), "one\n");
    EXPECT_EQ(queue.front(2), "one\ntwo\n");
    EXPECT_EQ(queue.front(9), "one\ntwo\n");
}

TEST(LineQueue, ALineMayHoldLineEnds) {
    LineQueue queue;
    queue.push("\n--- header ---\n");
    queue.push("body\n");
    EXPECT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue.consume(queue.front(1).size()), 1U);
    EXPECT_EQ(queue.front(1), "body\n");
}

TEST(LineQueue, ALineWrittenInPartKeepsItsRest) {
    LineQueue queue;
    queue.push("one\n");
    queue.push("two\n");
    EXPECT_EQ(queue.consume(6), 1U);
    EXPECT_EQ(queue.size(), 1U);
    EXPECT_EQ(queue.front(1), "o\n");
    queue.push("three\n");
    EXPECT_EQ(queue.front(2), "o\nthree\n");
    EXPECT_EQ(queue.consume(2), 1U);
    EXPECT_EQ(queue.front(9), "three\n");
}

TEST(LineQueue, ALineEndsAtItsNul) {
    LineQueue queue;
    queue.push(std::string_view("ab\0cd\n", 6));
    queue.push("next\n");
    EXPECT_EQ(queue.front(9), "abnext\n");
    EXPECT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue.consume(7), 2U);
    EXPECT_TRUE(queue.empty());
}

TEST(LineQueue, LinesWithoutABytesAreConsumedToo) {
    LineQueue queue;
    queue.push("");
    queue.push(std::string_view("\0\n", 2));
    EXPECT_EQ(queue.front(9), "");
    EXPECT_EQ(queue.consume(0), 2U);
    EXPECT_TRUE(queue.empty());
}

TEST(LineQueue, MixedPushesAndPartialWritesLoseNothing) {
    LineQueue queue;
    std::string pushed;
    std::string written;
    std::size_t completed = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::string line =
            std::string(static_cast<std::size_t>(i % 97), 'x') + std::to_string(i) + "\n";
        queue.push(line);
        pushed += line;
        if (i % 3 == 0) {
            const std::string_view front = queue.front(4);
            const std::size_t taken = front.size() * static_cast<std::size_t>(i % 5) / 4;
            written += front.substr(0, taken);
            completed += queue.consume(taken);
        }
    }
    const std::string rest(queue.front(queue.size()));
    completed += queue.consume(rest.size());
    EXPECT_EQ(written + rest, pushed);
    EXPECT_EQ(completed, 5000U);
    EXPECT_TRUE(queue.empty());
}
