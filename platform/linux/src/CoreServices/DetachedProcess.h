#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace LinuxPlatform {

/// What a detached process is to be. The texts are handed over as they are.
struct DetachedProcess {
    std::string file;                     // absolute path of the executable
    std::vector<std::string> environment; // "NAME=value"
    /// Where the process's own id is to be written before it begins, in decimal digits filled up with zeros:
    /// this many characters of the first entry of the environment from this place on. No characters: nowhere.
    std::size_t pidPlace = 0;
    std::size_t pidWidth = 0;
};

/// Starts a program that has nothing to do with this process any more: session, signals, files, folder, mask
/// and parent are as LSOpenApplication promises. Returns when the program has begun to run or could not. No
/// SIGCHLD is sent to this process, and no child is left to it. Any thread, but one at a time: whether this
/// process adopts orphans is changed meanwhile.
/// @param pid  set on success
/// @return 0, or the errno that says why not
int startDetached(DetachedProcess plan, pid_t& pid);

/// Closes every descriptor from 3 on. Only async-signal-safe calls. The first way asks the kernel (5.9 and
/// later) and says whether that worked; the second walks /proc/self/fd.
bool closeFilesByRange();
void closeFilesByListing();

} // namespace LinuxPlatform
