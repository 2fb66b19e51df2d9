#include "detail/TimeStamp.h"

#include <atomic>
#include <cstdio>
#include <sys/time.h>

namespace kf::detail {

namespace {

constexpr std::time_t DAY = 24 * 60 * 60;

std::atomic<bool> isTimeZoneKept{false};
// The local time of day minus that of UTC, in seconds, modulo a day.
std::atomic<std::time_t> lastOffset{0};

std::tm toLocalTime(std::time_t second) {
    std::tm local{};
    if (isTimeZoneKept.load(std::memory_order_relaxed)) {
        const std::time_t ofDay = (second + lastOffset.load(std::memory_order_relaxed)) % DAY;
        local.tm_hour = static_cast<int>(ofDay / 3600);
        local.tm_min = static_cast<int>(ofDay / 60 % 60);
        local.tm_sec = static_cast<int>(ofDay % 60);
        return local;
    }
    tzset(); // localtime_r alone may keep using an old time zone: POSIX, localtime()
    localtime_r(&second, &local);
    const std::time_t ofDay = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
    lastOffset.store((ofDay - second % DAY + DAY) % DAY, std::memory_order_relaxed);
    return local;
}

} // namespace

void TimeStamp::learnTimeZone() {
    toLocalTime(std::time(nullptr));
}

void TimeStamp::keepTimeZone() {
    isTimeZoneKept = true;
}

bool TimeStamp::look(std::uint64_t ticks) {
    timeval now;
    gettimeofday(&now, nullptr);
    m_watch.look(ticks, processorTicks(), now.tv_sec * std::int64_t{1000000} + now.tv_usec);
    const unsigned int ofSecond = static_cast<unsigned int>(now.tv_usec) / 1000;
    const std::int64_t milliseconds = now.tv_sec * std::int64_t{1000} + ofSecond;
    if (milliseconds == m_milliseconds)
        return true;
    if (now.tv_sec != m_second)
        beginSecond(now.tv_sec);
    m_text[10] = static_cast<char>('0' + ofSecond / 100);
    m_text[11] = static_cast<char>('0' + ofSecond / 10 % 10);
    m_text[12] = static_cast<char>('0' + ofSecond % 10);
    m_milliseconds = milliseconds;
    return false;
}

void TimeStamp::beginSecond(std::time_t second) {
    const std::tm local = toLocalTime(second);
    // Each of them has two digits; the remainders only tell the compiler so.
    std::snprintf(m_text, sizeof m_text, "[%02d:%02d:%02d-", local.tm_hour % 100, local.tm_min % 100,
                  local.tm_sec % 100);
    m_text[LENGTH - 1] = ']';
    m_second = second;
}

} // namespace kf::detail
