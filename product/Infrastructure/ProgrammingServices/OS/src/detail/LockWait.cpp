#include "detail/LockWait.h"

#include "detail/FileDescriptor.h"

#include <atomic>
#include <cerrno>
#include <sys/file.h>
#include <unistd.h>

namespace kf::detail {

namespace {

/// Short, because a writer that writes again and again releases its lock only for a few microseconds.
const useconds_t PAUSE_MICROSECONDS = 100;

std::atomic<int> longestWait{5000}; // milliseconds

} // namespace

void LockWait::setLongest(std::chrono::milliseconds longest) {
    longestWait = static_cast<int>(longest.count());
}

std::chrono::milliseconds LockWait::getLongest() {
    return std::chrono::milliseconds(longestWait);
}

void LockWait::letOthersIn() {
    usleep(3 * PAUSE_MICROSECONDS);
}

LockResult LockWait::tryToTake(int descriptor, int operation) {
    int result = 0;
    do {
        result = flock(descriptor, operation | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result == 0)
        return LockResult::HELD;
    if (errno == EWOULDBLOCK)
        return LockResult::BUSY;
    // EBADF of an open file: this file system locks only writable descriptors, and this user may only read.
    return isUnsupported(errno) || errno == EBADF ? LockResult::UNSUPPORTED : LockResult::FAILED;
}

LockResult LockWait::take(int descriptor, int operation) {
    for (;;) {
        const LockResult result = tryToTake(descriptor, operation);
        if (result != LockResult::BUSY)
            return result;
        const auto now = std::chrono::steady_clock::now();
        if (m_end == std::chrono::steady_clock::time_point())
            m_end = now + getLongest();
        if (now >= m_end) {
            errno = EWOULDBLOCK;
            return result;
        }
        // The kernel's own wait can only be limited with a signal, and signals belong to the crash handler.
        usleep(PAUSE_MICROSECONDS);
    }
}

} // namespace kf::detail
