#pragma once

#include <chrono>

namespace kf::detail {

/// What became of the attempt to take a lock; errno tells the reason of all but the first.
enum class LockResult {
    HELD,
    BUSY,        ///< somebody else holds it (EWOULDBLOCK)
    UNSUPPORTED, ///< the file system has no locks: nobody holds one
    FAILED
};

/// One wait for advisory locks of open files (flock), 5 seconds long at most, however many it takes. A lock
/// belongs to the open file: it goes when the last copy of the descriptor is closed, at the latest when the
/// process ends, however it ends. Thread: one per wait.
class LockWait {
public:
    /// Waits while somebody else holds the lock and there is time left. @param operation LOCK_SH or LOCK_EX
    LockResult take(int descriptor, int operation);

    /// The same without waiting.
    static LockResult tryToTake(int descriptor, int operation);

    /// Pauses so long that somebody who waits for a lock that is free takes it.
    static void letOthersIn();

    /// For tests: the longest wait from here on, of every thread. Thread: while no other one waits.
    static void setLongest(std::chrono::milliseconds longest);
    static std::chrono::milliseconds getLongest();

private:
    std::chrono::steady_clock::time_point m_end; // from the first lock on that is busy
};

} // namespace kf::detail
