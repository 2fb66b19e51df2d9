#pragma once

#include "RunningApplications.h"

#include <mutex>

namespace LinuxPlatform {

/// The applications that this process has started. Each counts as running until its process ends, whatever
/// /proc lets this user read. A pidfd (Linux 5.3) shows the end; without one, the start time in the process's
/// status line does. Any thread.
class StartedApplications {
public:
    /// Never destroyed, since lists are read until the process ends.
    static StartedApplications& get();

    void add(const RunningApplication& application);

    /// Those that still run.
    /// @return 0, or the errno if that cannot be determined
    int list(std::vector<RunningApplication>& applications);

    /// The application of that process, if it still runs; `isOne` says whether it does.
    /// @return 0, or the errno if that cannot be determined
    int find(pid_t pid, RunningApplication& application, bool& isOne);

    /// For tests: whether pidfds are used from now on.
    void useDescriptors(bool areUsed);

private:
    struct Started {
        RunningApplication application;
        int descriptor; // -1: none
    };

    static int checkWhetherItRuns(const Started& started, bool& runs);
    int forgetEnded();
    template <typename Condition>
    void forget(const Condition& isForgotten);

    std::mutex m_mutex;
    std::vector<Started> m_started;
    bool m_usesDescriptors = true;
};

} // namespace LinuxPlatform
