#pragma once

#include <chrono>
#include <string>

namespace LinuxPlatform {

/// The lock that launchers of one user hold from their check of the running applications until the
/// application that they start shows there. Otherwise two launchers that the same device wakes up would both
/// find nothing running. Advisory; released when the object is destroyed or, by the system, when the process
/// dies; programs that are started meanwhile do not inherit it. One at a time in a process.
///
/// A launcher that cannot get the lock starts applications all the same: twice is better than never. It
/// reports that on standard error.
class LaunchLock {
public:
    /// Locks `file`, a path in a folder that must be this user's and closed to others; creates that folder,
    /// if it is missing, and the file. Waits at most this long for another process: what that one starts may
    /// hang.
    LaunchLock(const std::string& file, std::chrono::milliseconds longest);
    /// Removes the file again, while nobody else can hold its lock.
    ~LaunchLock();

    LaunchLock(const LaunchLock&) = delete;
    LaunchLock& operator=(const LaunchLock&) = delete;

    bool isHeld() const { return m_file >= 0; }

private:
    bool open();
    bool lock();
    void close();

    const std::string m_path;
    int m_file = -1;
};

/// The file for this user and this root: in the folder of the user's session, /run/user/<id>, else in one of
/// the user's own, /tmp/zevolauncher-<id>.
std::string launchLockFile();

} // namespace LinuxPlatform
