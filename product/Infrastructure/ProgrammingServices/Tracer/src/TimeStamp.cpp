#include "TimeStamp.h"

#include <cstdio>
#include <sys/time.h>

bool TimeStamp::lookAtClock(std::uint64_t ticks) {
    timeval now;
    gettimeofday(&now, nullptr);
    m_watch.look(ticks, processorTicks(), now.tv_sec * std::int64_t{1000000} + now.tv_usec);
    const unsigned int milliseconds = static_cast<unsigned int>(now.tv_usec) / 1000;
    if (now.tv_sec == m_second && milliseconds == m_millisecond)
        return true;
    if (now.tv_sec != m_second)
        beginSecond(now.tv_sec);
    if (milliseconds != m_millisecond)
        beginMillisecond(milliseconds);
    m_milliseconds = now.tv_sec * std::int64_t{1000} + milliseconds;
    return false;
}

void TimeStamp::beginMillisecond(unsigned int milliseconds) {
    m_text[10] = static_cast<char>('0' + milliseconds / 100);
    m_text[11] = static_cast<char>('0' + milliseconds / 10 % 10);
    m_text[12] = static_cast<char>('0' + milliseconds % 10);
    m_millisecond = milliseconds;
}

void TimeStamp::beginSecond(std::time_t second) {
    std::tm local{};
    localtime_r(&second, &local);
    // Hours, minutes and seconds have two digits each; the remainders only tell the compiler so.
    std::snprintf(m_text, sizeof m_text, "[%02d:%02d:%02d-", local.tm_hour % 100, local.tm_min % 100,
                  local.tm_sec % 100);
    m_text[LENGTH - 1] = ']';
    m_second = second;
    m_millisecond = NO_MILLISECOND; // its digits are gone
}
