#include "detail/LatestMillisecond.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace kf::detail;

TEST(LatestMillisecond, IsWhatAnyThreadHasReached) {
    LatestMillisecond latest;
    EXPECT_FALSE(latest.isBehind(0));
    latest.reach(5);
    latest.reach(4);
    EXPECT_EQ(latest.get(), 5);
    EXPECT_TRUE(latest.isBehind(4));
    EXPECT_FALSE(latest.isBehind(5));
    EXPECT_FALSE(latest.isBehind(6));
}

TEST(LatestMillisecond, FollowsAClockThatWasSetBackUnlessAnotherThreadHasSeenToIt) {
    LatestMillisecond latest;
    latest.reach(5000);
    latest.setBack(5000, 1000);
    EXPECT_EQ(latest.get(), 1000);
    latest.reach(1001);
    latest.setBack(5000, 1000);
    EXPECT_EQ(latest.get(), 1001);
}

TEST(LatestMillisecond, OfManyThreadsIsTheHighest) {
    LatestMillisecond latest;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&latest, thread] {
            for (int round = 0; round < 10000; ++round) {
                const int milliseconds = 4 * round + thread;
                latest.reach(milliseconds);
                EXPECT_FALSE(latest.get() < milliseconds);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(latest.get(), 4 * 9999 + 3);
}
