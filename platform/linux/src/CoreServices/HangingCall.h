#pragma once

#include "AllSignalsBlocked.h"

#include <csignal>
#include <future>
#include <system_error>
#include <thread>

namespace LinuxPlatform {

/// Unblocks the signals that a thread causes itself: if such a signal is blocked, the kernel ends the process
/// without its crash handler.
inline void unblockOwnFaults() {
    sigset_t faults;
    ::sigemptyset(&faults);
    for (const int fault : {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS})
        ::sigaddset(&faults, fault);
    ::pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
}

/// Makes a call that may block on a file system for ever. A thread blocked like that handles no signal, so
/// SIGTERM could not end the launcher. Therefore another thread makes the call, with all signals blocked
/// except those of its own faults, and this one waits where signals reach it. If no thread can be created,
/// this one makes the call.
/// @return what the call returns; an exception of the call is rethrown here
template <typename Call>
auto makeHangingCall(Call call) -> decltype(call()) {
    std::packaged_task<decltype(call())()> task(call);
    auto result = task.get_future();
    std::promise<void> isJoined;
    std::thread other;
    try {
        const AllSignalsBlocked onTheOtherThread;
        other = std::thread([&task, &isJoined] {
            unblockOwnFaults();
            task();
            isJoined.get_future().wait();
        });
    } catch (const std::system_error&) {
        return call();
    }
    result.wait();
    // Up to here a signal may end the program; not once the other thread is ending, since it would never be
    // joined.
    const AllSignalsBlocked whileItEnds;
    isJoined.set_value();
    other.join();
    return result.get();
}

} // namespace LinuxPlatform
