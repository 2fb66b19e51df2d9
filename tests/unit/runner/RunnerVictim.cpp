// Tests that each go wrong in a different way, for the test of tests/run-test-program, which chooses one with
// --gtest_filter. None of them is run as a test of its own.
#include "KFExceptionHandler.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

TEST(Good, Passes) {}

TEST(Bad, Fails) {
    ADD_FAILURE();
}

// Without the framework's macros for these two, which the check of the sources refuses.
TEST(Bad, Skips) {
    return GTEST_MESSAGE_("no reason", ::testing::TestPartResult::kSkip);
}

#define SWITCHED_OFF(name) DISABLED##_##name
TEST(Bad, SWITCHED_OFF(IsSwitchedOff)) {}

TEST(Bad, ExitsWithStatusZero) {
    std::exit(0);
}

TEST(Bad, RaisesASignalUnderTheCrashHandler) {
    KFExceptionHandler::GetInstance();
    raise(SIGTERM);
}

TEST(Bad, Hangs) {
    while (true)
        pause();
}

TEST(Bad, LeavesAFile) {
    close(open("left-behind", O_CREAT | O_WRONLY, 0600));
}

TEST(Bad, LeavesADetachedProcess) {
    if (fork() == 0) {
        setsid();
        if (fork() == 0) {
            // Runs until the runner kills it.
            while (true)
                pause();
        }
        _exit(0);
    }
}

TEST(Good, SeesNothingOfTheCallersEnvironment) {
    EXPECT_EQ(getenv("ZEVO_VICTIM"), nullptr);
    EXPECT_EQ(getenv("LD_PRELOAD"), nullptr);
    EXPECT_EQ(getenv("XDG_DATA_HOME"), nullptr);
    for (int descriptor = 3; descriptor < 64; ++descriptor)
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << descriptor;
}

TEST(Good, SeesDefaultSignalDispositions) {
    struct sigaction action;
    for (int number : {SIGINT, SIGPIPE, SIGCHLD, SIGHUP}) {
        ASSERT_EQ(sigaction(number, nullptr, &action), 0);
        EXPECT_TRUE(action.sa_handler == SIG_DFL) << number;
    }
    sigset_t mask;
    ASSERT_EQ(sigprocmask(SIG_BLOCK, nullptr, &mask), 0);
    EXPECT_FALSE(sigismember(&mask, SIGINT));
}
