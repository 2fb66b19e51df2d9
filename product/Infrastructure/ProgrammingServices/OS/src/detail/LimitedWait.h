#pragma once

#include <ctime>

namespace kf::detail {

/// A wait with a time limit, in steps of a millisecond; the caller checks its condition between them.
/// Async-signal-safe.
class LimitedWait {
public:
    explicit LimitedWait(int milliseconds) : m_left(milliseconds) {}

    /// Sleeps for a millisecond. Once the limit is reached, returns false at once.
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
