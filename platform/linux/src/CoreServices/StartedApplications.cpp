#include "StartedApplications.h"

#include "ProcessFolder.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

/// A pidfd, which becomes readable when the process ends; close-on-exec. -1 if there is none.
int openProcess(pid_t pid) {
#if defined(SYS_pidfd_open)
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
#else
    static_cast<void>(pid);
    return -1;
#endif
}

} // namespace

StartedApplications& StartedApplications::get() {
    static StartedApplications& applications = *new StartedApplications;
    return applications;
}

template <typename Condition>
void StartedApplications::forget(const Condition& isForgotten) {
    const auto closeForgotten = [&isForgotten](const Started& started) {
        if (!isForgotten(started))
            return false;
        if (started.descriptor >= 0)
            ::close(started.descriptor);
        return true;
    };
    m_started.erase(std::remove_if(m_started.begin(), m_started.end(), closeForgotten), m_started.end());
}

void StartedApplications::add(const RunningApplication& application) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    forgetEnded();
    // An application whose end could not be detected may still be listed with this id, which is the new one's
    // now.
    forget([&application](const Started& started) { return started.application.pid == application.pid; });
    m_started.push_back({application, m_usesDescriptors ? openProcess(application.pid) : -1});
}

int StartedApplications::list(std::vector<RunningApplication>& applications) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    applications.clear();
    const int error = forgetEnded();
    for (const Started& started : m_started)
        applications.push_back(started.application);
    return error;
}

int StartedApplications::find(pid_t pid, RunningApplication& application, bool& isOne) {
    isOne = false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = std::find_if(m_started.begin(), m_started.end(),
                                    [pid](const Started& started) { return started.application.pid == pid; });
    if (found == m_started.end())
        return 0;
    const int error = checkWhetherItRuns(*found, isOne);
    if (error == 0 && isOne)
        application = found->application;
    return error;
}

void StartedApplications::useDescriptors(bool areUsed) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_usesDescriptors = areUsed;
}

int StartedApplications::checkWhetherItRuns(const Started& started, bool& runs) {
    if (started.descriptor >= 0) {
        struct pollfd end = {started.descriptor, POLLIN, 0};
        runs = ::poll(&end, 1, 0) <= 0; // an interrupted call says nothing about its end
        return 0;
    }
    ProcessStatus status;
    const pid_t pid = started.application.pid;
    const int error = ProcessFolder(pid).readStatus(status);
    if (status.startTime != 0)
        runs = status.startTime == started.application.startTime && !status.hasEnded();
    else // it is gone, or /proc hides it from this user
        runs = ::kill(pid, 0) == 0 || errno == EPERM;
    return error;
}

/// Removes those that have ended; keeps those of which that cannot be determined.
int StartedApplications::forgetEnded() {
    int firstError = 0;
    const auto hasEnded = [&firstError](const Started& started) {
        bool runs = true;
        const int error = checkWhetherItRuns(started, runs);
        if (error != 0 && firstError == 0)
            firstError = error;
        return error == 0 && !runs;
    };
    forget(hasEnded);
    return firstError;
}

} // namespace LinuxPlatform
