#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace LinuxPlatform {

/// Describes a detached process. The texts are passed on as they are.
struct DetachedProcess {
    std::string file;                     // absolute path of the executable
    std::vector<std::string> environment; // "NAME=value"
    /// Where the process's own id is written before its exec, in decimal digits with leading zeros:
    /// `pidWidth` characters of the first entry of the environment, from this offset on. A width of 0:
    /// nowhere.
    std::size_t pidPlace = 0;
    std::size_t pidWidth = 0;
};

/// Starts a program that is independent of this process: session, signals, files, folder, umask and parent
/// are as LSOpenApplication promises. Returns when the program has begun to run or has failed to. Sends no
/// SIGCHLD to this process, and leaves it no child. Any thread, but one at a time: meanwhile this process
/// does not adopt orphans.
/// @param pid  set on success
/// @return 0, or the errno of the failure
int startDetached(DetachedProcess plan, pid_t& pid);

/// Closes every descriptor from 3 on. Async-signal-safe. The first asks the kernel (5.9 and later) and
/// returns whether that worked; the second walks /proc/self/fd.
bool closeFilesByRange();
void closeFilesByListing();

} // namespace LinuxPlatform
