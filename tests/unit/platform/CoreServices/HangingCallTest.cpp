#include "CoreServices/HangingCall.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using LinuxPlatform::makeHangingCall;

namespace {

volatile pid_t theOtherThread;

/// Whether the other thread sleeps or is gone.
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

} // namespace

TEST(HangingCall, GivesBackWhatTheCallReturns) {
    const pthread_t caller = pthread_self();
    EXPECT_EQ(7, makeHangingCall([&] { return pthread_equal(caller, pthread_self()) ? 0 : 7; }));
}

TEST(HangingCall, WhatTheCallThrowsComesOut) {
    EXPECT_THROW(makeHangingCall([]() -> int { throw std::runtime_error("no answer"); }), std::runtime_error);
}

// The thread sanitizer counts a thread that has ended and that nobody joins as a leak.
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
    EXPECT_EQ(3, WEXITSTATUS(status));
}
