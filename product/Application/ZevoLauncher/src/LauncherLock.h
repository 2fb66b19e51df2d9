#pragma once

#include "detail/FileDescriptor.h"

#include <string>

/// The lock of a log folder: the launcher that holds it is the active one, which traces and logs there.
/// Advisory. Released when the object is destroyed or, by the system, when the process ends, however it does;
/// the applications that are started do not inherit it. Not shared between threads.
///
/// The file "launcher.lock" contains the launcher's process id as decimal text. It stays when the launcher
/// ends.
class LauncherLock {
public:
    /// Takes the lock, unless another launcher holds it. `folder` ends with a separator.
    explicit LauncherLock(const std::string& folder);
    ~LauncherLock();
    LauncherLock(const LauncherLock&) = delete;
    LauncherLock& operator=(const LauncherLock&) = delete;

    /// Also false if no lock can be taken: the folder is not writable, or its file system has no locks.
    bool isHeldByAnother() const { return m_isHeldByAnother; }
    /// The process id of the other launcher; 0 if it has not written it yet.
    long otherProcess() const;
    /// Waits until the other launcher has ended, and takes its lock.
    void waitForIt();

private:
    void noteProcess();

    kf::detail::FileDescriptor m_file;
    bool m_isHeldByAnother = false;
};
