#include "detail/EventCount.h"

#include "WaitUntil.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace kf::detail;

TEST(EventCount, AConditionThatHoldsIsNotWaitedFor) {
    EventCount events;
    events.await([] { return true; });
}

TEST(EventCount, LooksAtTheConditionOnceForEachNotice) {
    EventCount events;
    std::atomic<int> looks{0};
    std::thread waiter([&] { events.await([&] { return ++looks == 3; }); });
    for (int look = 1; look <= 3; ++look) {
        EXPECT_TRUE(waitUntil([&] { return looks == look; }));
        events.notify();
    }
    waiter.join();
    EXPECT_EQ(looks, 3);
}

TEST(EventCount, WakesEveryWaiter) {
    EventCount events;
    std::atomic<int> looks{0};
    std::atomic<bool> isThere{false};
    const auto wait = [&] {
        events.await([&] {
            ++looks;
            return isThere.load();
        });
    };
    std::thread one(wait);
    std::thread other(wait);
    EXPECT_TRUE(waitUntil([&] { return looks == 2; }));
    isThere = true;
    events.notify();
    one.join();
    other.join();
}

// Two threads wait for each other in turn: a lost wake-up stops both.
TEST(EventCount, LosesNoWakeUp) {
    constexpr int ROUNDS = 20000;
    EventCount events;
    std::atomic<int> ball{0};
    const auto play = [&](int side) {
        for (int round = side; round < ROUNDS; round += 2) {
            events.await([&] { return ball == round; });
            ++ball;
            events.notify();
        }
    };
    std::thread other(play, 1);
    play(0);
    other.join();
    EXPECT_EQ(ball, ROUNDS);
}
