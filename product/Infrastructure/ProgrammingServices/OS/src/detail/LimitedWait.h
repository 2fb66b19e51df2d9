#pragma once

#include <ctime>

namespace kf::detail {

/// A wait with an end, in steps of a millisecond: for a condition that is looked at between them. Async-signal-safe.
class LimitedWait {
public:
    explicit LimitedWait(int milliseconds) : m_left(milliseconds) {}

    /// Sleeps for a millisecond. Returns false, at once, when the time is over.
    bool sleep() {
        if (m_left-- <= 0)
            return false;
        const timespec millisecond = {0, 1000000};
        nanosleep(&millisecond, nullptr);
        return true;
    }

private:
    int m_left;
};

} // namespace kf::detail
