#include "LineQueue.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

/// Appends all waiting lines to a text; returns how many they were.
std::size_t writeAll(LineQueue& queue, std::string& written) {
    std::size_t completed = 0;
    while (!queue.empty()) {
        const std::string_view front = queue.front(queue.size());
        written += front;
        completed += queue.consume(front.size());
    }
    return completed;
}

} // namespace

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
    completed += writeAll(queue, written);
    EXPECT_EQ(written, pushed);
    EXPECT_EQ(completed, 5000U);
    EXPECT_TRUE(queue.empty());
}

TEST(LineQueue, ALineStaysWholeWhereverItsMemoryEnds) {
    LineQueue queue;
    std::string pushed;
    for (int i = 0; i < 100000; ++i) {
        const std::string line =
            std::string(static_cast<std::size_t>(i % 61), 'x') + std::to_string(i) + "\n";
        queue.push(line);
        pushed += line;
    }
    std::string written;
    for (std::size_t waiting = queue.size(); waiting > 0; waiting = queue.size()) {
        const std::string front(queue.front(7));
        ASSERT_EQ(front.back(), '\n');
        written += front;
        ASSERT_GT(queue.consume(front.size()), 0U);
    }
    EXPECT_EQ(written, pushed);
}

TEST(LineQueue, ALongLineIsWhole) {
    LineQueue queue;
    const std::string longLine = std::string(3000000, 'l') + "\n";
    const std::string middle(65536, 'm');
    queue.push(longLine);
    queue.push("one\n");
    queue.push(middle);
    queue.push(longLine);
    std::string written;
    EXPECT_EQ(writeAll(queue, written), 4U);
    EXPECT_TRUE(written == longLine + "one\n" + middle + longLine);
}

TEST(LineQueue, ALongLineAfterShortOnesWereWrittenIsWhole) {
    LineQueue queue;
    std::string written;
    queue.push("one\n");
    EXPECT_EQ(writeAll(queue, written), 1U);
    const std::string longLine(3000000, 'l');
    queue.push(longLine);
    EXPECT_EQ(writeAll(queue, written), 1U);
    EXPECT_TRUE(written == "one\n" + longLine);
}

TEST(LineQueue, ALineIsPutTogetherInItsPlace) {
    LineQueue queue;
    char* const line = queue.beginLine(10);
    line[0] = 'a';
    line[1] = '\n';
    EXPECT_EQ(queue.lineInProgress(line + 2), "a\n");
    EXPECT_TRUE(queue.empty());
    queue.endLine(line + 2);
    EXPECT_EQ(queue.size(), 1U);
    EXPECT_EQ(queue.front(1), "a\n");
}

TEST(LineQueue, ALineThatWasBegunAndNotEndedIsForgotten) {
    LineQueue queue;
    queue.push("one\n");
    std::memcpy(queue.beginLine(10), "forgotten", 9);
    queue.push("two\n");
    EXPECT_EQ(queue.front(9), "one\ntwo\n");
}

TEST(LineQueue, MemoryOfABurstIsKeptForTheNextOneAndGivenBackWhenNoneCame) {
    LineQueue queue;
    const std::string line(99, 'x');
    const auto burst = [&](int lines) {
        for (int i = 0; i < lines; ++i)
            queue.push(line);
        std::string written;
        writeAll(queue, written);
        queue.trim();
    };
    burst(100);
    const std::size_t little = queue.bytes();
    burst(200000);
    const std::size_t much = queue.bytes();
    EXPECT_GT(much, 200000U * line.size());
    burst(200000);
    EXPECT_GT(queue.bytes(), 200000U * line.size());
    EXPECT_LE(queue.bytes(), much);
    for (int drain = 0; drain < 10; ++drain)
        burst(1);
    EXPECT_LE(queue.bytes(), little);
}

TEST(LineQueue, AWaitingLineTakesItsBytesAndFewMore) {
    LineQueue queue;
    const std::string line(77, 'x');
    constexpr std::size_t lines = 1000000;
    for (std::size_t i = 0; i < lines; ++i)
        queue.push(line);
    EXPECT_LE(queue.bytes(), lines * (line.size() + 8));
}
