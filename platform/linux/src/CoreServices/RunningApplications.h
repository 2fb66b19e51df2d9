#pragma once

#include <MacTypes.h>
#include <string>
#include <sys/types.h>
#include <vector>

// The running applications of this user, read from /proc; ApplicationServices.h says what counts as one.
// Shared by the process list and by Launch Services, so that both mean the same by "running". Any thread.

namespace LinuxPlatform {

struct RunningApplication {
    pid_t pid;
    UInt64 startTime;       // of the process, in clock ticks: distinguishes it from a later one with its id
    std::string bundle;     // absolute, below the root if there is one
    std::string executable; // the file that the process runs
    bool isAsLaunched;      // Launch Services started this very process for the bundle
};

/// All of them, in ascending order of process ids. Processes that come or go meanwhile may be missing.
/// @return 0; the errno if the list cannot be read (it is empty then): because this process has no descriptor
///     left, for instance, or ESRCH if /proc is missing, empty or another namespace's. ESRCH is also reported
///     on standard error, once until lists can be read again.
int listRunningApplications(std::vector<RunningApplication>& applications);

/// Those that this process has started, in ascending order of process ids, without reading any other process.
/// @return as above
int listStartedApplications(std::vector<RunningApplication>& applications);

/// Whether an application of the bundle runs, and which.
/// @param bundle  absolute, links resolved
/// @return as above. If this process has started it, no list is read.
int findRunningApplicationOf(const std::string& bundle, bool& isRunning, RunningApplication& application);

/// Records that Launch Services have started this process for the bundle. From now on, it counts as running
/// until its process ends, whatever /proc lets this user read.
RunningApplication noteStartedApplication(pid_t pid, const std::string& bundle,
                                          const std::string& executable);

/// Inspects one process.
/// @return 0; ESRCH if it has ended, is not this user's, or runs no bundle; another errno if that cannot be
///     determined
int findRunningApplication(pid_t pid, RunningApplication& application);

/// Whether the process has its command line and its environment, so that other processes can see what it was
/// launched for. Also true if it has ended.
bool isComplete(pid_t pid);

/// For tests: reads another folder instead of /proc.
void readProcessesFrom(const std::string& folder);

/// The serial number of an application, as the process list returns it.
ProcessSerialNumber serialNumberOf(const RunningApplication& application);

} // namespace LinuxPlatform
