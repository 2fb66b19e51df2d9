#pragma once

#include <MacTypes.h>
#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <time.h>
#include <vector>

namespace LinuxPlatform {

/// The clock of the processor time that a process gets, which anybody may read with one call.
class ProcessorClock {
public:
    ProcessorClock() = default;
    explicit ProcessorClock(pid_t pid) : m_isThere(::clock_getcpuclockid(pid, &m_clock) == 0) {}

    /// In nanoseconds; -1 when it cannot be told.
    SInt64 now() const;

private:
    clockid_t m_clock = 0;
    bool m_isThere = false;
};

/// All processes of the last look at them. Any thread; a look holds the lock.
///
/// This is here for one row of docs/performance.md: arrival-to-exec, at most a microsecond for each running process. With
/// 300 others, an arrival takes 1.6 ms with it and 9.1 ms without: each of its looks would ask each process anew.
///
/// A process that was no application is kept with the processor time that it had had until then. Most processes
/// sleep most of the time, and one that has not run since is what it was: reading its clock takes a tenth
/// of looking at it. (The kernel brings the clock of a process that runs this very moment up to date with each
/// tick; so the list may show a process as it was a tick ago, about as long as it takes to read the list.)
///
/// As long as there are as many processes as are known, no other one has come, and /proc need not be
/// read: that takes twice as long as the clocks. A device and its interfaces come in a row.
class KnownProcesses {
public:
    /// Lives to the very end of the process, as lists are read until then.
    static KnownProcesses& get();

    /// Tells whether a process is an application; returns 0, or the errno that says why it cannot be told.
    using Look = std::function<int(pid_t pid, bool& isApplication)>;

    /// Has every process looked at that may be an application by now, in no order. What a process is depends
    /// on the root and the user; a change of one makes everything new.
    /// @return 0; the first error of a look; what this process lacks to read /proc; ESRCH where /proc does not
    ///     list this process, which is always there, and so is another namespace's or none. That is said on
    ///     standard error, once until it can be read again.
    int visit(const std::string& root, uid_t user, const Look& look);

    /// A process that has been started here, and may be an application. Known from now on, it is no reason to read /proc.
    void add(pid_t pid);

    /// Makes everything new.
    void forget();

private:
    static const SInt64 LOOK_AGAIN = -1;
    struct Known {
        pid_t pid;
        ProcessorClock clock;
        SInt64 time; // had when it was no application; LOOK_AGAIN when it was one
        bool hasEnded;
    };

    std::vector<Known>::iterator placeOf(pid_t pid);
    bool isKnown(pid_t pid);
    int visitAll(const Look& look);
    int visitKnown(const Look& look);
    int visitOthers(const Look& look);
    void noteWhetherThereIsAList(bool isThere);

    std::mutex m_mutex;
    std::string m_root;
    uid_t m_user = 0;
    std::vector<Known> m_known; // by ascending id
    long m_otherFolders = 0;    // in /proc
    bool m_isThere = true;
};

} // namespace LinuxPlatform
