#include "BundleTest.h"

#include "CoreServices/DetachedProcess.h"
#include "OtherProcess.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using namespace LinuxPlatform;

static std::vector<int> openFiles() {
    std::vector<int> open;
    for (int file = 0; file < 1024; ++file)
        if (fcntl(file, F_GETFD) != -1)
            open.push_back(file);
    return open;
}

/// Opens more descriptors than one read of their folder returns, with gaps and one far beyond the others.
static void openManyFiles() {
    for (int i = 0; i < 500; ++i)
        dup(0);
    for (int file = 100; file < 500; file += 7)
        close(file);
    fcntl(0, F_DUPFD, 1000);
}

TEST(DetachedProcess, ClosesEveryFileButTheFirstThreeByRange) {
    EXPECT_TRUE(inAnotherProcess([] {
        openManyFiles();
        return openFiles().size() > 400 && closeFilesByRange() && openFiles() == std::vector<int>{0, 1, 2};
    }));
}

TEST(DetachedProcess, ClosesEveryFileButTheFirstThreeByListing) {
    EXPECT_TRUE(inAnotherProcess([] {
        openManyFiles();
        const bool manyWereOpen = openFiles().size() > 400;
        closeFilesByListing();
        return manyWereOpen && openFiles() == std::vector<int>{0, 1, 2};
    }));
}

class StartDetached : public BundleTest {
protected:
    StartDetached() { copyExecutable(inRoot("/program")); }

    DetachedProcess plan(const std::string& file) const {
        DetachedProcess made;
        made.file = inRoot(file);
        made.environment = {"ID=......", "SAMPLE_REPORTS=" + reports()};
        made.pidPlace = 3;
        made.pidWidth = 6;
        return made;
    }
};

TEST_F(StartDetached, FillsTheProcessIdIn) {
    pid_t pid = 0;
    DetachedProcess process = plan("/program");
    process.environment[0] = "ID=..........";
    process.pidWidth = 10;
    ASSERT_EQ(startDetached(process, pid), 0);
    const std::string digits = reportOf(pid)["variable ID"];
    EXPECT_EQ(digits.size(), 10u);
    EXPECT_EQ(std::stol(digits), pid);
    kill(pid, SIGKILL);
}

TEST_F(StartDetached, LeavesTheEnvironmentAloneWhereNoIdIsWanted) {
    pid_t pid = 0;
    DetachedProcess process = plan("/program");
    process.pidWidth = 0;
    ASSERT_EQ(startDetached(process, pid), 0);
    EXPECT_EQ(reportOf(pid)["variable ID"], "......");
    kill(pid, SIGKILL);
}

TEST_F(StartDetached, SaysWhyItCouldNot) {
    pid_t pid = -7;
    EXPECT_EQ(startDetached(plan("/missing"), pid), ENOENT);
    EXPECT_EQ(startDetached(plan(""), pid), EACCES);
    writeFile(inRoot("/no-program"), "\x7F", 0755);
    EXPECT_EQ(startDetached(plan("/no-program"), pid), ENOEXEC);
    EXPECT_EQ(pid, -7);
}

TEST_F(StartDetached, WithoutAFreeProcessItCannot) {
    // As an ordinary user, because this limit does not bind the superuser.
    EXPECT_TRUE(asOrdinaryUser("/", [] {
        const struct rlimit none = {0, 0};
        DetachedProcess process;
        process.file = "/bin/true";
        pid_t pid = 0;
        return setrlimit(RLIMIT_NPROC, &none) == 0 && startDetached(process, pid) == EAGAIN;
    }));
}

TEST_F(StartDetached, NeedsNoFreeDescriptor) {
    const DetachedProcess process = plan("/program");
    EXPECT_TRUE(inAnotherProcess([&] {
        while (dup(0) >= 0) {
        }
        pid_t pid = 0;
        return startDetached(process, pid) == 0 && kill(pid, SIGKILL) == 0;
    }));
}

TEST_F(StartDetached, ForkedProcessesStartAtTheSameTime) {
    const auto startsMany = [] {
        DetachedProcess process;
        process.file = "/bin/true";
        for (int i = 0; i < 300; ++i) {
            pid_t pid = 0;
            if (startDetached(process, pid) != 0 || pid <= 0)
                return false;
        }
        return true;
    };
    DetachedProcess process;
    process.file = "/bin/true";
    pid_t pid = 0;
    ASSERT_EQ(startDetached(process, pid), 0); // what it keeps for the next start is then copied by fork
    EXPECT_TRUE(inAnotherProcess([&] {
        const pid_t other = fork();
        if (other == 0)
            _exit(startsMany() ? WENT_WELL : 1);
        const bool wentWell = startsMany();
        int status = 0;
        return waitpid(other, &status, 0) == other && WIFEXITED(status) && WEXITSTATUS(status) == WENT_WELL &&
               wentWell;
    }));
}

TEST_F(StartDetached, WhatWasSentToTheGroupBeforeDoesNotReachTheProgram) {
    const DetachedProcess process = plan("/program");
    EXPECT_TRUE(inAnotherProcess([&] {
        setpgid(0, 0);
        signal(SIGUSR1, SIG_IGN);
        std::atomic<bool> isDone(false);
        std::thread sender([&] {
            while (!isDone)
                kill(0, SIGUSR1);
        });
        bool haveAllSurvived = true;
        for (int i = 0; i < 20 && haveAllSurvived; ++i) {
            pid_t pid = 0;
            haveAllSurvived = startDetached(process, pid) == 0 && !reportOf(pid).empty();
            kill(pid, SIGKILL);
        }
        isDone = true;
        sender.join();
        return haveAllSurvived;
    }));
}
