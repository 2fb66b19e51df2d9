#pragma once

#include "AllSignalsBlocked.h"

#include <csignal>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

namespace LinuxPlatform {

/// These signals come from what the thread itself has done. Where one of them is blocked, the kernel ends the process
/// without its crash handler.
inline void hearOwnFaults() {
    sigset_t faults;
    ::sigemptyset(&faults);
    for (const int fault : {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS})
        ::sigaddset(&faults, fault);
    ::pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
}

/// Makes a call that may wait for a file system for ever. A thread that waits so hears no signal, and the launcher could
/// not be told to stop: so another thread makes the call, which hears no signal but those of its own faults, and this one
/// waits for it where signals reach it. Where there is no thread to be had, this one makes the call.
/// @return what the call returns; what it throws, comes out here
template <typename Call>
auto makeHangingCall(Call call) -> decltype(call()) {
    std::packaged_task<decltype(call())()> task(call);
    auto result = task.get_future();
    try {
        const AllSignalsBlocked onTheOtherThread;
        // Detached: a signal may end the program at any moment, and a thread that has ended by then would wait for
        // somebody to join it.
        std::thread([task = std::move(task)]() mutable {
            hearOwnFaults();
            task();
        }).detach();
    } catch (const std::system_error&) {
        return call();
    }
    return result.get();
}

} // namespace LinuxPlatform
