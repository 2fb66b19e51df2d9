#include "detail/LineQueue.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace kf::detail;

namespace {

/// Appends all queued lines to a text; returns their number.
std::size_t writeAll(LineQueue& queue, std::string& written) {
    std::size_t completed = 0;
    while (!queue.empty()) {
        const std::string_view front = queue.front(queue.size());
        written += front;
        completed += queue.consume(front.size());
    }
    return completed;
}

/// A queue that has memory already, so that slots can be reserved.
class ReservedPlaces : public testing::Test {
protected:
    ReservedPlaces() {
        queue.push("first\n");
        queue.consume(queue.front(1).size());
    }
    static void fill(const LineQueue::Slot& slot, std::string_view text) {
        std::memcpy(slot.text(), text.data(), text.size());
        slot.finish();
    }

    LineQueue queue;
};

} // namespace

TEST(LineQueue, AnEmptyLineIsCompleteWhenItIsAskedFor) {
    LineQueue queue;
    queue.push("a\n");
    queue.push("");
    queue.push("b\n");
    EXPECT_EQ(queue.consume(queue.front(1).size(), 1), 1U);
    EXPECT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue.front(1), "");
    EXPECT_EQ(queue.consume(0, 1), 1U);
    EXPECT_EQ(queue.front(1), "b\n");
}

TEST(LineQueue, ALineWrittenInPartCanBeWrittenFromItsBeginning) {
    LineQueue queue;
    queue.push("first\n");
    queue.push("second\n");
    queue.consume(std::string("first\nsec").size());
    EXPECT_EQ(queue.front(1), "ond\n");
    queue.restoreFrontLine();
    EXPECT_EQ(queue.front(1), "second\n");
    queue.consume(queue.front(1).size());
    queue.restoreFrontLine();
    EXPECT_TRUE(queue.empty());
}

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

TEST(LineQueue, ALineThatIsLongerThanAnyPlaceLosesNothing) {
    LineQueue queue;
    const std::string tooLong(LineQueue::LONGEST_SLOT + 10, 'x');
    queue.push(tooLong);
    queue.push("next\n");
    std::string written;
    writeAll(queue, written);
    EXPECT_TRUE(written == tooLong + "next\n");
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

TEST(LineQueue, HasSpareMemoryUntilTrimmingFreesNoMore) {
    LineQueue queue;
    EXPECT_FALSE(queue.hasSpareMemory());
    std::string written;
    queue.push("one\n");
    writeAll(queue, written);
    EXPECT_FALSE(queue.hasSpareMemory()) << "the first memory stays";
    for (int i = 0; i < 200000; ++i)
        queue.push(std::string(99, 'x'));
    writeAll(queue, written);
    int trims = 0;
    for (; queue.hasSpareMemory(); ++trims) {
        ASSERT_LT(trims, 20);
        queue.trim();
    }
    EXPECT_GT(trims, 2);
    const std::size_t least = queue.bytes();
    queue.trim();
    EXPECT_EQ(queue.bytes(), least);
}

TEST(LineQueue, AWaitingLineTakesItsBytesAndFewMore) {
    LineQueue queue;
    const std::string line(77, 'x');
    constexpr std::size_t lines = 1000000;
    for (std::size_t i = 0; i < lines; ++i)
        queue.push(line);
    EXPECT_LE(queue.bytes(), lines * (line.size() + 8));
}

TEST(LineQueue, ABurstOfAnySizeTakesAtMostThreeTimesItsLines) {
    const std::string line(77, 'x');
    for (const std::size_t lines : {1000U, 3000U, 10000U, 30000U, 100000U}) {
        LineQueue queue;
        for (std::size_t i = 0; i < lines; ++i)
            queue.push(line);
        EXPECT_LE(queue.bytes(), 3 * lines * (line.size() + 4)) << lines;
    }
}

TEST(LineQueue, ALineThatNoUsualChunkHoldsGetsOneOfItsOwn) {
    for (const std::size_t length : {std::size_t{100000}, 5 * LineQueue::LARGEST_CHUNK}) {
        LineQueue queue;
        const std::string line(length, 'x');
        queue.push("one\n");
        queue.push(line);
        EXPECT_LE(queue.bytes(), 131072 + length + LineQueue::LARGEST_CHUNK);
        std::string written;
        writeAll(queue, written);
        EXPECT_EQ(written, "one\n" + line);
    }
}

// ---- slots for lines of any thread

TEST(LineQueue, HasNoPlaceBeforeThereIsMemory) {
    LineQueue queue;
    EXPECT_FALSE(queue.reserve(1));
    EXPECT_TRUE(queue.empty());
}

TEST_F(ReservedPlaces, KeepTheOrderOfTheReservations) {
    const LineQueue::Slot one = queue.reserve(4);
    const LineQueue::Slot two = queue.reserve(4);
    ASSERT_TRUE(one && two);
    fill(two, "two\n");
    fill(one, "one\n");
    queue.push("three\n");
    EXPECT_EQ(queue.size(), 3U);
    EXPECT_EQ(queue.front(9), "one\ntwo\nthree\n");
}

TEST_F(ReservedPlaces, AreWaitedForUntilTheyAreFinished) {
    const LineQueue::Slot one = queue.reserve(4);
    std::atomic<bool> isReading{false};
    std::thread reader([&] {
        isReading = true;
        EXPECT_EQ(queue.front(9), "one\n");
    });
    while (!isReading)
        std::this_thread::yield();
    fill(one, "one\n");
    reader.join();
}

TEST_F(ReservedPlaces, AnUnfinishedOneDoesNotKeepWhatStandsBeforeIt) {
    queue.push("one\n");
    const LineQueue::Slot two = queue.reserve(4);
    EXPECT_EQ(queue.front(1), "one\n");
    EXPECT_EQ(queue.consume(4), 1U);
    EXPECT_EQ(queue.size(), 1U);
    fill(two, "two\n");
    EXPECT_EQ(queue.front(9), "two\n");
}

TEST_F(ReservedPlaces, InAHurryAnUnfinishedOneBecomesQuestionMarks) {
    queue.push("one\n");
    ASSERT_TRUE(queue.reserve(5));
    queue.push("three\n");
    queue.limitWaits();
    EXPECT_EQ(queue.front(9), "one\n????\nthree\n");
    std::string written;
    EXPECT_EQ(writeAll(queue, written), 3U);
}

TEST_F(ReservedPlaces, WhatDoesNotFitIsVoidAndSoIsAllThatFollows) {
    std::size_t slots = 0;
    for (LineQueue::Slot slot = queue.reserve(1000); slot; slot = queue.reserve(1000), ++slots)
        fill(slot, std::string(999, 'x') + "\n");
    EXPECT_GT(slots, 10U);
    EXPECT_FALSE(queue.reserve(1)) << "it would stand before the line that had to go elsewhere";
    EXPECT_EQ(queue.size(), slots);
    EXPECT_EQ(queue.front(slots + 9).size(), 1000 * slots);
    queue.push("elsewhere\n");
    EXPECT_EQ(queue.size(), slots + 1);
    EXPECT_TRUE(queue.reserve(1));
}

TEST_F(ReservedPlaces, AreThereAgainWhenAFullChunkWasWritten) {
    for (LineQueue::Slot slot = queue.reserve(1000); slot; slot = queue.reserve(1000))
        fill(slot, std::string(999, 'x') + "\n");
    std::string written;
    writeAll(queue, written);
    const std::size_t memory = queue.bytes();
    const LineQueue::Slot slot = queue.reserve(4);
    ASSERT_TRUE(slot);
    fill(slot, "one\n");
    EXPECT_EQ(queue.front(9), "one\n");
    EXPECT_EQ(queue.bytes(), memory);
}

TEST_F(ReservedPlaces, ThatAreForgottenLeaveNothing) {
    for (const std::string& order : std::vector<std::string>{"x", "ax", "xa", "xxaxxbxx", "axxxxb"}) {
        std::string lines;
        for (const char kind : order) {
            const LineQueue::Slot slot = queue.reserve(2);
            if (kind == 'x') {
                slot.cancel();
            } else {
                fill(slot, std::string(1, kind) + "\n");
                lines += std::string(1, kind) + "\n";
            }
        }
        const std::uint64_t left = queue.removedCount();
        EXPECT_EQ(queue.size(), order.size());
        std::string written;
        EXPECT_EQ(writeAll(queue, written), lines.size() / 2) << order;
        EXPECT_EQ(written, lines) << order;
        EXPECT_EQ(queue.removedCount() - left, order.size());
    }
}

TEST_F(ReservedPlaces, ThatAreForgottenMayFillAChunk) {
    while (const LineQueue::Slot slot = queue.reserve(1000))
        slot.cancel();
    queue.push("behind\n");
    std::string written;
    EXPECT_EQ(writeAll(queue, written), 1U);
    EXPECT_EQ(written, "behind\n");
    EXPECT_TRUE(queue.empty());
}

TEST_F(ReservedPlaces, ThatAreForgottenInTheMiddleOfAWrittenLineLoseNothing) {
    fill(queue.reserve(4), "one\n");
    queue.reserve(4).cancel();
    fill(queue.reserve(4), "two\n");
    EXPECT_EQ(queue.front(9), "one\n");
    EXPECT_EQ(queue.consume(2), 0U);
    EXPECT_EQ(queue.front(9), "e\n");
    EXPECT_EQ(queue.consume(2), 1U);
    EXPECT_EQ(queue.front(9), "two\n");
}

TEST_F(ReservedPlaces, LieInClearedMemory) {
    // Slots need cleared memory, even where former lines were: a zero in place of its end marks a line as
    // unfinished.
    const std::string longLine(500, 'x');
    for (int chunk = 0; chunk < 3; ++chunk) {
        while (LineQueue::Slot slot = queue.reserve(longLine.size()))
            fill(slot, longLine);
        queue.push(longLine); // in the next chunk
    }
    std::string written;
    writeAll(queue, written);
    for (std::size_t line = 0; line < 3 * 128 * 1024 / longLine.size(); ++line) {
        LineQueue::Slot slot = queue.reserve(longLine.size());
        if (!slot) {
            queue.push(longLine);
            continue;
        }
        ASSERT_EQ(std::string(slot.text(), longLine.size()), std::string(longLine.size(), '\0')) << line;
        fill(slot, longLine);
    }
}

TEST(LineQueue, ManyThreadsAndADrainLoseNoLineAndKeepTheOrderOfEach) {
    constexpr int THREADS = 4;
    constexpr int LINES = 20000;
    LineQueue queue;
    std::mutex lock;
    std::atomic<int> running{THREADS};
    const auto put = [&](const std::string& line) {
        if (const LineQueue::Slot slot = queue.reserve(line.size())) {
            std::memcpy(slot.text(), line.data(), line.size());
            slot.finish();
            return;
        }
        const std::lock_guard<std::mutex> locked(lock);
        queue.push(line);
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < LINES; ++i) {
                const std::size_t length = static_cast<std::size_t>(i % 1000 == 0 ? 70000 : i % 97);
                put(std::to_string(thread) + " " + std::to_string(i) + std::string(length, '.') + "\n");
            }
            --running;
        });
    }
    std::string written;
    std::size_t completed = 0;
    for (bool last = false; !last;) {
        last = running == 0;
        const std::lock_guard<std::mutex> locked(lock);
        for (std::size_t waiting = queue.size(); waiting > 0;) {
            // Partly, as if the disk became full for a moment.
            const std::string_view front = queue.front(waiting);
            const std::size_t taken = front.size() > 3 ? front.size() / 3 * 2 : front.size();
            written += front.substr(0, taken);
            const std::size_t lines = queue.consume(taken);
            completed += lines;
            waiting -= lines;
        }
        queue.trim();
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(completed, static_cast<std::size_t>(THREADS * LINES));
    std::vector<int> next(THREADS, 0);
    for (std::size_t begin = 0; begin < written.size();) {
        const std::size_t end = written.find('\n', begin);
        ASSERT_NE(end, std::string::npos);
        const std::string line = written.substr(begin, end - begin);
        int thread = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "%d %d", &thread, &number), 2) << line.substr(0, 200);
        ASSERT_TRUE(thread >= 0 && thread < THREADS) << line.substr(0, 200);
        ASSERT_EQ(number, next[static_cast<std::size_t>(thread)]++) << line.substr(0, 200);
        const std::size_t dots = static_cast<std::size_t>(number % 1000 == 0 ? 70000 : number % 97);
        ASSERT_EQ(static_cast<std::size_t>(std::count(line.begin(), line.end(), '.')), dots);
        begin = end + 1;
    }
    EXPECT_EQ(next, std::vector<int>(THREADS, LINES));
}

TEST_F(ReservedPlaces, ADrainThatIsAlwaysUpToDateMissesNoLine) {
    constexpr int LINES = 300000;
    std::thread writer([this] {
        for (int i = 0; i < LINES; ++i) {
            const std::string line = std::to_string(i) + "\n";
            LineQueue::Slot slot = queue.reserve(line.size());
            while (!slot) // the drain makes room
                slot = queue.reserve(line.size());
            fill(slot, line);
        }
    });
    std::string written;
    for (int completed = 0; completed < LINES;) {
        const std::string_view front = queue.front(1000);
        written += front;
        completed += static_cast<int>(queue.consume(front.size()));
    }
    writer.join();
    std::string expected;
    for (int i = 0; i < LINES; ++i)
        expected += std::to_string(i) + "\n";
    EXPECT_TRUE(written == expected);
}
