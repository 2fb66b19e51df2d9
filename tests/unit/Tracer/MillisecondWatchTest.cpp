#include "detail/MillisecondWatch.h"

#include <gtest/gtest.h>

using namespace kf::detail;

namespace {

constexpr std::uint64_t RATE = 3000; // ticks in a microsecond
constexpr std::uint64_t LOOK = 60;   // ticks that a clock read takes

/// A counter and a clock that agree, and a watch that has recorded enough clock reads to know the rate.
class Watched : public testing::Test {
protected:
    void SetUp() override {
        lookAt(999800);
        lookAt(1000000);
        lookAt(1000200);
    }
    void lookAt(std::int64_t microseconds, std::uint64_t took = LOOK) {
        watch.look(ticksAt(microseconds), ticksAt(microseconds) + took, microseconds);
    }
    static std::uint64_t ticksAt(std::int64_t microseconds) {
        return 77 + RATE * static_cast<std::uint64_t>(microseconds);
    }
    bool isSameAt(std::int64_t microseconds) const { return watch.isSameMillisecond(ticksAt(microseconds)); }

    MillisecondWatch watch;
};

} // namespace

TEST(MillisecondWatch, KnowsNothingBeforeTheRateIsMeasured) {
    MillisecondWatch watch;
    EXPECT_FALSE(watch.isSameMillisecond(0));
    watch.look(5000, 5010, 1000000);
    EXPECT_FALSE(watch.isSameMillisecond(5011));
    watch.look(5000 + 99 * RATE, 5010 + 99 * RATE, 1000099);
    EXPECT_FALSE(watch.isSameMillisecond(5011 + 99 * RATE)) << "too short a time to measure a rate";
    watch.look(5000 + 200 * RATE, 5010 + 200 * RATE, 1000200);
    EXPECT_FALSE(watch.isSameMillisecond(5011 + 200 * RATE)) << "nothing to compare the rate with";
    watch.look(5000 + 400 * RATE, 5010 + 400 * RATE, 1000400);
    EXPECT_TRUE(watch.isSameMillisecond(5011 + 400 * RATE));
}

TEST_F(Watched, TellsMostOfAMillisecond) {
    EXPECT_TRUE(isSameAt(1000200));
    EXPECT_TRUE(isSameAt(1000900));
}

TEST_F(Watched, NeverTellsAMillisecondThatIsOver) {
    EXPECT_FALSE(isSameAt(1001000));
    EXPECT_FALSE(isSameAt(2000000));
    lookAt(1001999);
    EXPECT_FALSE(isSameAt(1002000));
}

TEST_F(Watched, AllowsForTheMicrosecondThatTheClockCutsOff) {
    // One tick before the microsecond that the clock shows is over.
    const std::uint64_t before = ticksAt(1001999) - 1;
    watch.look(before, before + LOOK, 1001998);
    EXPECT_FALSE(isSameAt(1002000));
    watch.look(ticksAt(1002000) - 1, ticksAt(1002000) + LOOK, 1001999);
    EXPECT_FALSE(isSameAt(1002000));
}

TEST_F(Watched, LooksAgainWhenTheCounterGoesBack) {
    EXPECT_FALSE(isSameAt(1000199));
    EXPECT_FALSE(watch.isSameMillisecond(0));
}

TEST_F(Watched, AnInterruptedLookMeasuresNoRate) {
    // 5 milliseconds pass between reading the counter and the clock: by this clock read, the counter would
    // run at a quarter of its rate, and by the next one at 3.5 times.
    const std::uint64_t before = ticksAt(1002000);
    watch.look(before, ticksAt(1007000), 1007000);
    lookAt(1009000);
    EXPECT_TRUE(isSameAt(1009100));
    EXPECT_FALSE(isSameAt(1010000));
}

TEST_F(Watched, ForgetsTheRateWhenTheClockIsSetOrTheMachineSlept) {
    watch.look(ticksAt(1000300), ticksAt(1000300) + LOOK, 500000);
    EXPECT_FALSE(isSameAt(1000301)) << "set back";
    lookAt(1000500);
    lookAt(1000700);
    EXPECT_FALSE(isSameAt(1000701)) << "measured once only";
    lookAt(1000800);
    ASSERT_TRUE(isSameAt(1000801));
    watch.look(ticksAt(1000900), ticksAt(1000900) + LOOK, 99000000);
    EXPECT_FALSE(isSameAt(1000901)) << "gone far ahead";
}

TEST_F(Watched, DoesNotBelieveARateThatAClockSetBackMakesTooHigh) {
    // No clock read for an hour; then the clock, set back, shows only a tenth of a second more.
    const std::uint64_t hour = RATE * 3600000000u;
    watch.look(ticksAt(1100000) + hour, ticksAt(1100000) + hour + LOOK, 1100000);
    EXPECT_TRUE(watch.isSameMillisecond(ticksAt(1100900) + hour));
    EXPECT_FALSE(watch.isSameMillisecond(ticksAt(1101000) + hour));
}

TEST_F(Watched, DoesNotBelieveARateThatACounterThatJumpedMakesTooHigh) {
    const std::uint64_t jump = RATE * 1000000u;
    watch.look(ticksAt(1001500) + jump, ticksAt(1001500) + jump + LOOK, 1001500);
    EXPECT_TRUE(watch.isSameMillisecond(ticksAt(1001900) + jump));
    EXPECT_FALSE(watch.isSameMillisecond(ticksAt(1002000) + jump));
}

TEST_F(Watched, FollowsAnotherRate) {
    // From here on at half the rate, as when a processor whose counter's rate is not constant saves power.
    const std::uint64_t start = ticksAt(1000200);
    const auto slowly = [start](std::int64_t microseconds) {
        return start + RATE / 2 * static_cast<std::uint64_t>(microseconds - 1000200);
    };
    watch.look(slowly(1001300), slowly(1001300) + LOOK, 1001300);
    EXPECT_TRUE(watch.isSameMillisecond(slowly(1001900)));
    EXPECT_FALSE(watch.isSameMillisecond(slowly(1002000)));
}

TEST(MillisecondWatch, ACounterThatStandsStillIsNeverBelieved) {
    MillisecondWatch watch;
    for (std::int64_t microseconds = 1000000; microseconds < 1100000; microseconds += 150) {
        watch.look(0, 0, microseconds);
        ASSERT_FALSE(watch.isSameMillisecond(0));
    }
}
