#pragma once

#include <MacTypes.h>
#include <string>
#include <sys/types.h>
#include <vector>

// The running applications of this user, read from /proc; what counts as one is told in
// ApplicationServices.h. Shared by the process list and by Launch Services, so that both mean the same by
// "running". Any thread.

namespace LinuxPlatform {

struct RunningApplication {
    pid_t pid;
    UInt64 startTime;       // of the process, in the kernel's ticks: tells it from a later one with its id
    std::string bundle;     // absolute, below the root where one is set
    std::string executable; // the file that the process runs
    bool isAsLaunched;      // the bundle is the one that Launch Services started this very process for
};

/// All of them, by ascending process id. Processes that come or go meanwhile may be missing.
/// @return 0; the errno that says why it cannot be told (the list is empty then): that this process has no
///     descriptor left, for instance, or ESRCH where /proc is missing, empty or another namespace's. That is
///     said on standard error, too, once until lists can be read again.
int listRunningApplications(std::vector<RunningApplication>& applications);

/// Those that this process has started, by ascending process id, without a look at any other process.
/// @return as above
int listStartedApplications(std::vector<RunningApplication>& applications);

/// Whether an application of the bundle runs, and which.
/// @param bundle  absolute, links resolved
/// @return as above. Where this process has started it, no list is needed.
int findRunningApplicationOf(const std::string& bundle, bool& isRunning, RunningApplication& application);

/// Launch Services have started this process for the bundle: from now on, it is running until its process
/// ends, whatever /proc lets this user read of it.
RunningApplication noteStartedApplication(pid_t pid, const std::string& bundle,
                                          const std::string& executable);

/// One process.
/// @return 0; ESRCH when it has ended, is not this user's, or runs no bundle; another errno when that is not
///     to be told
int findRunningApplication(pid_t pid, RunningApplication& application);

/// Whether the process has its command line and its environment, and shows to other processes what it was
/// launched for; true as well when it has ended.
bool isComplete(pid_t pid);

/// For tests: another folder than /proc. Processes are then known by what it says of them.
void readProcessesFrom(const std::string& folder);

/// Its serial number, as the process list gives it.
ProcessSerialNumber serialNumberOf(const RunningApplication& application);

} // namespace LinuxPlatform
