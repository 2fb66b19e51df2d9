#pragma once

#include "RunningApplications.h"

#include <mutex>

namespace LinuxPlatform {

/// The applications that this process has started. Each is running until its process ends, whatever /proc lets
/// this user read of it. A descriptor of the process (pidfd, Linux 5.3) tells its end; where there is none to
/// be had, the start time in the process's status line does. Any thread.
class StartedApplications {
public:
    /// Lives to the very end of the process, as lists are read until then.
    static StartedApplications& get();

    void add(const RunningApplication& application);

    /// Those that still run.
    /// @return 0, or the errno that says why it cannot be told
    int list(std::vector<RunningApplication>& applications);

    /// The one of that process, if it still runs; `isOne` tells.
    /// @return 0, or the errno that says why it cannot be told
    int find(pid_t pid, RunningApplication& application, bool& isOne);

    /// For tests: whether descriptors are used from here on.
    void useDescriptors(bool areUsed);

private:
    struct Started {
        RunningApplication application;
        int descriptor; // -1: none
    };

    static int lookWhetherItRuns(const Started& started, bool& runs);
    int forgetEnded();
    template <typename Condition>
    void forget(const Condition& isForgotten);

    std::mutex m_mutex;
    std::vector<Started> m_started;
    bool m_usesDescriptors = true;
};

} // namespace LinuxPlatform
