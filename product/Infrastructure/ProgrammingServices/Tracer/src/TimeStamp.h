#pragma once

#include "LineWriter.h"

#include <cstddef>
#include <ctime>

/// The wall clock at the head of a line: "[hh:mm:ss-mmm]", local time. Keeps the text of the second it was
/// last asked in, since converting to local time is what costs.
///
/// Not thread-safe.
class TimeStamp {
public:
    static constexpr std::size_t LENGTH = 14;

    /// Puts the current time, without a blank behind it: LENGTH bytes.
    void putNow(LineWriter& line);

private:
    void beginSecond(std::time_t second);

    std::time_t m_second = -1;
    char m_text[LENGTH + 1] = ""; // "[hh:mm:ss-mmm]"
};
