#pragma once

#include "detail/FileDescriptor.h"

#include <string>

/// The lock of a log folder: the launcher that holds it is the one that runs, and traces and logs there.
/// Advisory. Released when the object goes or, by the system, when the process ends, however it does; not
/// inherited by the applications that are started. Not shared between threads.
///
/// The file "launcher.lock" holds the launcher's process id as a decimal text. It stays when that ends.
class LauncherLock {
public:
    /// Takes the lock, unless another launcher has it. `folder` ends with its separator.
    explicit LauncherLock(const std::string& folder);
    ~LauncherLock();
    LauncherLock(const LauncherLock&) = delete;
    LauncherLock& operator=(const LauncherLock&) = delete;

    /// False also where no lock is to be had: the folder cannot be written, or its file system has no locks.
    bool isHeldByAnother() const { return m_isHeldByAnother; }
    /// The process id of the other launcher; 0 while it has not written it.
    long otherProcess() const;
    /// Waits until the other launcher has ended, and takes its lock.
    void waitForIt();

private:
    void noteProcess();

    kf::detail::FileDescriptor m_file;
    bool m_isHeldByAnother = false;
};
