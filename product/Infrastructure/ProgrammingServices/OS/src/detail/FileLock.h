#pragma once

#include "detail/FileDescriptor.h"
#include "detail/LockWait.h"

#include <chrono>
#include <string>

namespace kf::detail {

/// Holds the lock of a file that several processes read, change and write back. Advisory: it binds those who
/// take it. Released when the object goes or, by the system, when the process dies; never inherited by a
/// program that is started meanwhile. Made and destroyed by one thread, the last one made first.
///
/// The lock stands in a file of its own, pathBeside(path, ".lock"), because the file itself is replaced by every
/// write. It has the file's mode and group, and from the superuser also its owner, so that whoever may write
/// the file can take its lock. That file is left in place: removing it would let two processes hold locks of
/// two files of one name.
class FileLock {
public:
    /// Waits until nobody else (process or thread) holds the lock of `path`, 5 seconds long at most. Where
    /// the folder allows no new file and has no lock file, the file itself is locked: the one that stands at
    /// `path` once the lock is held. A lock file that this user may neither read nor write is not passed
    /// over, since those who may would not notice: the lock cannot be had then.
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool isHeld() const { return m_result == LockResult::HELD; }

    /// HELD; BUSY: somebody else has held it for 5 seconds; UNSUPPORTED: there are no locks here, for nobody,
    /// and the caller can only go on without; FAILED. Then errno, right after the constructor, says why.
    LockResult getResult() const { return m_result; }

    /// Whether this thread holds the lock of the open file itself. It needs no second one then, and would
    /// wait in vain for it: a lock belongs to a descriptor, not to a thread.
    static bool isOwnLockHeldOf(int descriptor);

private:
    LockResult take(const std::string& path);

    FileDescriptor m_file;
    bool m_isOwn = false; // the lock of the file itself
    LockResult m_result;
    const FileLock* m_outer; // the one that this thread has held before
    std::chrono::steady_clock::time_point m_since;
};

} // namespace kf::detail
