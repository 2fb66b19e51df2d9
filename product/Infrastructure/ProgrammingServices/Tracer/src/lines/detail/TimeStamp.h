#pragma once

#include "detail/LineWriter.h"
#include "detail/MillisecondWatch.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>

namespace kf::detail {

/// The time at the beginning of a line: "[hh:mm:ss-mmm]", local time. The text is cached, because the
/// conversion to local time is expensive and many lines share a millisecond. A change of the time zone takes
/// effect with the next second.
///
/// Not thread-safe.
class TimeStamp {
public:
    static constexpr std::size_t LENGTH = 14;

    /// Takes the current time. Returns true if it is still in the millisecond that was taken last.
    bool take() {
        const std::uint64_t ticks = processorTicks();
        return m_watch.isSameMillisecond(ticks) || look(ticks);
    }
    /// As take(), but always reads the clock.
    /// @param ticks  of the processor, read just now
    bool look(std::uint64_t ticks = processorTicks());
    /// The time that was taken, in milliseconds since 1970.
    std::int64_t milliseconds() const { return m_milliseconds; }
    /// The time that was taken as text, without a blank behind it: LENGTH bytes.
    std::string_view text() const { return {m_text, LENGTH}; }
    /// Reads the time zone, so that keepTimeZone() has one to keep.
    static void learnTimeZone();
    /// From now on every stamp uses the time zone of the last one. For a crash handler: the C library
    /// converts to local time under a lock that the crashed thread may hold.
    static void keepTimeZone();
    /// Takes the current time and appends it to the line.
    void putNow(LineWriter& line) {
        take();
        line.put(text());
    }

private:
    void beginSecond(std::time_t second);

    MillisecondWatch m_watch;
    std::int64_t m_milliseconds = -1;
    std::time_t m_second = -1;
    char m_text[LENGTH + 1] = ""; // "[hh:mm:ss-mmm]"
};

} // namespace kf::detail
