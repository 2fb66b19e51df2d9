#pragma once

#include <chrono>
#include <string>

namespace LinuxPlatform {

/// The lock that launchers of one user hold from their look at the running applications until what they start
/// shows there: else two of them, which the same device wakes up, both find nothing running. Advisory;
/// released when the object goes or, by the system, when the process dies; never inherited by a program that
/// is started meanwhile. One at a time in a process.
///
/// A launcher that cannot have the lock starts applications all the same: twice is better than never. It says
/// so on standard error.
class LaunchLock {
public:
    /// Locks `file`, a path in a folder that must be this user's and closed to others; makes that folder, if
    /// it is missing, and the file. Waits at most so long for another process: what that one starts may hang.
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
