#include "CoreServices/HangingCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using LinuxPlatform::makeHangingCall;

namespace {

std::atomic<pid_t> theOtherThread;

/// Whether the other thread sleeps or has ended.
bool hasTheOtherThreadDoneItsCall() {
    std::ifstream stat("/proc/self/task/" + std::to_string(theOtherThread) + "/stat");
    std::string line;
    return !std::getline(stat, line) || line.find(") S ") != std::string::npos;
}

void endTheProgram(int) {
    while (!hasTheOtherThreadDoneItsCall())
        std::this_thread::yield();
    std::exit(3);
}

/// The signals that the thread which makes the call blocks.
sigset_t blockedInTheCall() {
    return makeHangingCall([] {
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        return blocked;
    });
}

} // namespace

TEST(HangingCall, GivesBackWhatTheCallReturns) {
    const pthread_t caller = pthread_self();
    EXPECT_EQ(makeHangingCall([&] { return pthread_equal(caller, pthread_self()) ? 0 : 7; }), 7);
}

TEST(HangingCall, WhatTheCallThrowsComesOut) {
    EXPECT_THROW(makeHangingCall([]() -> int { throw std::runtime_error("no answer"); }), std::runtime_error);
}

// The thread sanitizer would report a thread that has ended and is not joined as a leak.
TEST(HangingCall, ASignalMayEndTheProgramWhileItWaits) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGUSR1, &endTheProgram);
        const pthread_t caller = pthread_self();
        makeHangingCall([caller] {
            theOtherThread = static_cast<pid_t>(syscall(SYS_gettid));
            return pthread_kill(caller, SIGUSR1);
        });
        _exit(4);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(HangingCall, LeavesSignalsToTheThreadThatWaits) {
    const sigset_t blocked = blockedInTheCall();
    for (const int stop : {SIGTERM, SIGINT, SIGHUP, SIGCHLD})
        EXPECT_EQ(sigismember(&blocked, stop), 1) << stop;
}

// A library that runs out of memory may fault; if its thread blocked these signals, the launcher would end
// without a report.
TEST(HangingCall, ThatCrashesReachesTheCrashHandler) {
    const sigset_t blocked = blockedInTheCall();
    for (const int fault : {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS})
        EXPECT_EQ(sigismember(&blocked, fault), 0) << fault;
}
