#pragma once

#include <chrono>

namespace kf::detail {

/// The outcome of an attempt to take a lock; except for HELD, errno is the reason.
enum class LockResult {
    HELD,
    BUSY,        ///< somebody else holds it (EWOULDBLOCK)
    UNSUPPORTED, ///< the file system has no locks: nobody holds one
    FAILED
};

/// One wait for advisory locks of open files (flock), 5 seconds at most in total, however many locks it
/// takes. A lock belongs to the open file description: it is released when the last descriptor is closed, at
/// the latest when the process ends, however it ends. Thread: one per wait.
class LockWait {
public:
    /// Waits while somebody else holds the lock and time is left. @param operation  LOCK_SH or LOCK_EX
    LockResult take(int descriptor, int operation);

    /// The same without waiting.
    static LockResult tryToTake(int descriptor, int operation);

    /// Pauses long enough for somebody who waits for a lock to take it.
    static void letOthersIn();

    /// For tests: sets the longest wait of all threads from now on. Thread: any, while no other one waits.
    static void setLongest(std::chrono::milliseconds longest);
    static std::chrono::milliseconds getLongest();

private:
    std::chrono::steady_clock::time_point m_end; // set when the first lock is busy
};

} // namespace kf::detail
