#include "TimeStamp.h"

#include <cstdio>
#include <sys/time.h>

void TimeStamp::appendNow(std::string& line) {
    timeval now;
    gettimeofday(&now, nullptr);
    const std::time_t second = now.tv_sec;
    if (second != m_second || m_secondText.empty()) {
        std::tm local{};
        localtime_r(&second, &local);
        char text[64];
        std::snprintf(text, sizeof text, "[%02d:%02d:%02d-", local.tm_hour, local.tm_min, local.tm_sec);
        m_secondText = text;
        m_second = second;
    }
    const int milliseconds = static_cast<int>(now.tv_usec / 1000);
    line += m_secondText;
    line += static_cast<char>('0' + milliseconds / 100);
    line += static_cast<char>('0' + milliseconds / 10 % 10);
    line += static_cast<char>('0' + milliseconds % 10);
    line += ']';
}
