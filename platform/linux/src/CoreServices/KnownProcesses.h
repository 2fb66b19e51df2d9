#pragma once

#include <MacTypes.h>
#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <time.h>
#include <vector>

namespace LinuxPlatform {

/// The CPU-time clock of a process, which anybody may read with one call.
class ProcessorClock {
public:
    ProcessorClock() = default;
    explicit ProcessorClock(pid_t pid) : m_isThere(::clock_getcpuclockid(pid, &m_clock) == 0) {}

    /// In nanoseconds; -1 if it cannot be read.
    SInt64 now() const;

private:
    clockid_t m_clock = 0;
    bool m_isThere = false;
};

/// All processes of the last enumeration. Any thread; an enumeration holds the lock.
///
/// This exists for one row of docs/performance.md: arrival-to-exec, at most a microsecond for each running
/// process. With 300 others, an arrival takes 1.6 ms with it and 9.1 ms without, since each of its
/// enumerations would inspect each process again.
///
/// A process that was not an application is kept with the CPU time that it had used until then. Most
/// processes sleep most of the time, and one that has not run since is what it was: reading its clock takes a
/// tenth of inspecting it. (The kernel updates the clock of a running process with each tick, so the list may
/// show a process as it was a tick ago, about as long as it takes to read the list.)
///
/// As long as there are as many processes as are known, no other one has come, and /proc need not be read,
/// which takes twice as long as the clocks. That is the usual case: a device and its interfaces arrive in a
/// row.
class KnownProcesses {
public:
    /// Never destroyed, since lists are read until the process ends.
    static KnownProcesses& get();

    /// Determines whether a process is an application; returns 0, or the errno if that cannot be determined.
    using Inspect = std::function<int(pid_t pid, bool& isApplication)>;

    /// Inspects every process that may be an application by now, in no order. The result for a process
    /// depends on the root and the user; a change of one makes all processes new.
    /// @return 0; the first error of an inspection; the errno if this process lacks the means to read /proc;
    ///     ESRCH if /proc does not list this process, which always exists: it is another namespace's, or
    ///     missing. That is reported on standard error, once until /proc can be read again.
    int visit(const std::string& root, uid_t user, const Inspect& inspect);

    /// Adds a process that was started here and may be an application. It then counts as known: no reason to
    /// read /proc.
    void add(pid_t pid);

    /// Makes all processes new.
    void forget();

private:
    static const SInt64 INSPECT_AGAIN = -1;
    struct Known {
        pid_t pid;
        ProcessorClock clock;
        SInt64 time; // when it was not an application; INSPECT_AGAIN if it was one
        bool hasEnded;
    };

    std::vector<Known>::iterator positionOf(pid_t pid);
    bool isKnown(pid_t pid);
    int visitAll(const Inspect& inspect);
    int visitKnown(const Inspect& inspect);
    int visitOthers(const Inspect& inspect);
    void reportMissingList(bool isThere);

    std::mutex m_mutex;
    std::string m_root;
    uid_t m_user = 0;
    std::vector<Known> m_known; // sorted by id
    long m_otherFolders = 0;    // the folders of /proc that are not processes
    bool m_isThere = true;
};

} // namespace LinuxPlatform
