#pragma once

#include "detail/FileDescriptor.h"
#include "detail/LockWait.h"

#include <chrono>
#include <string>

namespace kf::detail {

/// Holds the lock of a file that several processes read, change and write back. The lock is advisory. It is
/// released when the object is destroyed or, by the system, when the process dies; programs that are started
/// meanwhile do not inherit it. One thread creates and destroys its locks, the last one created first.
///
/// The lock is taken on a file of its own, pathBeside(path, ".lock"), because every write replaces the file
/// itself. The lock file has the file's mode and group, and from the superuser also its owner, so that
/// whoever may write the file can take its lock. It is never removed: then two processes could hold locks of
/// two files of one name.
class FileLock {
public:
    /// Waits until nobody else (process or thread) holds the lock of `path`, 5 seconds at most. If the folder
    /// allows no new file and has no lock file, the file itself is locked: the one at `path` when the lock is
    /// held. A lock file that this user may neither read nor write is not bypassed, since those who may would
    /// not notice: then the lock cannot be taken.
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool isHeld() const { return m_result == LockResult::HELD; }

    /// HELD; BUSY: somebody else held it for 5 seconds; UNSUPPORTED: nobody can lock here, so the caller can
    /// only go on without a lock; FAILED. Except for HELD, errno is the reason, right after the constructor.
    LockResult getResult() const { return m_result; }

    /// Whether this thread holds the lock of the open file itself. Then it needs no second one, and would
    /// wait in vain for it: a lock belongs to an open file description, not to a thread.
    static bool isOwnLockHeldOf(int descriptor);

private:
    LockResult take(const std::string& path);

    FileDescriptor m_file;
    bool m_isOwn = false; // the file itself is locked
    LockResult m_result;
    const FileLock* m_outer; // the lock that this thread took before this one
    std::chrono::steady_clock::time_point m_since;
};

} // namespace kf::detail
