#pragma once

#include <ctime>
#include <string>

/// The wall clock at the head of a line: "[hh:mm:ss-mmm]", local time. Keeps the text of the second it was
/// last asked in, since converting to local time is what costs.
///
/// Not thread-safe.
class TimeStamp {
public:
    /// Appends the current time, without a blank behind it.
    void appendNow(std::string& line);

private:
    std::time_t m_second = -1;
    char m_text[15] = ""; // "[hh:mm:ss-mmm]"
};
