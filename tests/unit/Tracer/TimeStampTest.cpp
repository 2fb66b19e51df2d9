#include "detail/TimeStamp.h"
#include "ChildProcess.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <sys/time.h>

using namespace kf::detail;

namespace {

std::string stampOf(TimeStamp& stamp) {
    char text[TimeStamp::LENGTH];
    LineWriter line(text);
    stamp.putNow(line);
    return {text, static_cast<std::size_t>(line.end() - text)};
}

long long nowInMilliseconds() {
    timeval now;
    gettimeofday(&now, nullptr);
    return now.tv_sec * 1000LL + now.tv_usec / 1000;
}

/// The time of day that the stamp shows, in milliseconds since midnight.
long long stampInMilliseconds(const std::string& stamp) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int milliseconds = 0;
    EXPECT_EQ(std::sscanf(stamp.c_str(), "[%02d:%02d:%02d-%03d]", &hours, &minutes, &seconds, &milliseconds),
              4);
    return ((hours * 60LL + minutes) * 60 + seconds) * 1000 + milliseconds;
}

long long sinceMidnight(long long milliseconds) {
    const std::time_t second = static_cast<std::time_t>(milliseconds / 1000);
    std::tm local;
    localtime_r(&second, &local);
    return ((local.tm_hour * 60LL + local.tm_min) * 60 + local.tm_sec) * 1000 + milliseconds % 1000;
}

} // namespace

TEST(TimeStamp, IsTheLocalTimeWithMilliseconds) {
    TimeStamp stamp;
    const long long before = nowInMilliseconds();
    const std::string text = stampOf(stamp);
    const long long after = nowInMilliseconds();
    ASSERT_EQ(text.size(), 14U) << text;
    const long long shown = stampInMilliseconds(text);
    constexpr long long day = 24LL * 60 * 60 * 1000;
    const long long passed = (shown - sinceMidnight(before) + day) % day;
    EXPECT_LE(passed, after - before);
}

TEST(TimeStamp, GoesOnWhenTheSecondChanges) {
    TimeStamp stamp;
    const std::string previous = stampOf(stamp);
    std::string next = previous;
    const long long deadline = nowInMilliseconds() + 5000;
    while (next.substr(0, 10) == previous.substr(0, 10) && nowInMilliseconds() < deadline)
        next = stampOf(stamp);
    constexpr long long day = 24LL * 60 * 60 * 1000;
    const long long passed = (stampInMilliseconds(next) - stampInMilliseconds(previous) + day) % day;
    EXPECT_GT(passed, 0);
    EXPECT_LE(passed, 2000);
}

TEST(TimeStamp, NeverLagsBehindTheClockNorGoesAheadOfIt) {
    TimeStamp stamp;
    constexpr long long day = 24LL * 60 * 60 * 1000;
    const long long end = nowInMilliseconds() + 50;
    for (long long after = 0; after < end;) {
        const long long before = nowInMilliseconds();
        const std::string text = stampOf(stamp);
        after = nowInMilliseconds();
        const long long shown = stampInMilliseconds(text);
        ASSERT_LE((shown - sinceMidnight(before) + day) % day, after - before) << text;
    }
}

/// Sets the process's time zone for a scope.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ"))
            m_before = before;
        setenv("TZ", zone, 1);
    }
    ~TimeZone() {
        setenv("TZ", m_before.c_str(), 1);
        tzset();
    }

private:
    std::string m_before = "UTC";
};

TEST(TimeStamp, NoticesWithinASecondThatTheTimeZoneChanges) {
    TimeStamp stamp;
    const std::string before = stampOf(stamp);
    const TimeZone elsewhere("ELSEWHERE-5:30");
    std::string after = before;
    const long long end = nowInMilliseconds() + 1100;
    while (nowInMilliseconds() < end)
        after = stampOf(stamp);
    constexpr long long day = 24LL * 60 * 60 * 1000;
    const long long passed = (stampInMilliseconds(after) - stampInMilliseconds(before) + day) % day;
    constexpr long long halfPastFive = (5 * 60 + 30) * 60 * 1000;
    EXPECT_GE(passed, halfPastFive);
    EXPECT_LE(passed, halfPastFive + 10000);
}

/// The name of a time zone in which it is 23:30 now.
std::string zoneJustBeforeMidnight() {
    const long long minutes = (23 * 60 + 30 - nowInMilliseconds() / 60000 % 1440 + 1440) % 1440;
    char name[32];
    std::snprintf(name, sizeof name, "ELSEWHERE-%02lld:%02lld", minutes / 60, minutes % 60);
    return name;
}

// For the lines of a crash report: reading the zone anew may allocate memory.
TEST(TimeStamp, KeepsTheTimeZoneOnceItIsAskedTo) {
    const ChildResult child = runInChild([] {
        const TimeZone elsewhere(zoneJustBeforeMidnight().c_str());
        TimeStamp::learnTimeZone();
        TimeStamp::keepTimeZone();
        const TimeZone another("ANOTHER-1:00");
        TimeStamp stamp;
        std::fputs(stampOf(stamp).substr(0, 5).c_str(), stdout);
    });
    EXPECT_EQ(child.output, "[23:3");
}
