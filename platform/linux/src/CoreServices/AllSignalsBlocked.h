#pragma once

#include <csignal>

namespace LinuxPlatform {

/// While one exists, no signal handler of this process runs on this thread, nor on a thread or in a process
/// that it starts meanwhile.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~AllSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

} // namespace LinuxPlatform
