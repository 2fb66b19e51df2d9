#pragma once

#include "AllSignalsBlocked.h"

#include <csignal>
#include <future>
#include <system_error>
#include <thread>

namespace LinuxPlatform {

/// A signal of these comes from what the thread itself has done: where it is blocked, the kernel ends the process without
/// its crash handler.
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
    std::promise<void> isJoined;
    std::thread other;
    try {
        const AllSignalsBlocked onTheOtherThread;
        other = std::thread([&task, &isJoined] {
            hearOwnFaults();
            task();
            isJoined.get_future().wait();
        });
    } catch (const std::system_error&) {
        return call();
    }
    result.wait();
    // A signal may end the program up to here, but not once the other thread ends: it would never be joined.
    const AllSignalsBlocked whileItEnds;
    isJoined.set_value();
    other.join();
    return result.get();
}

} // namespace LinuxPlatform
