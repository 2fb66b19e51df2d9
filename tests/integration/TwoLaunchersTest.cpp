#include "LauncherTest.h"

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Zevo;

namespace {

/// A second launcher of the same user, beside the one that runs.
class TwoLaunchers : public LauncherTest {
protected:
    void startSecond() {
        const std::string line = "another launcher runs (process " + std::to_string(m_launcher->pid()) +
                                 "); waiting for its end\n";
        expectStandardError("ZevoLauncher : " + line);
        m_logLine = "[ERROR  ] " + line;
        m_second = std::make_unique<LauncherProcess>(m_machine);
        ASSERT_TRUE(waitUntil([this] { return log().find(m_logLine) != std::string::npos; })) << log();
        EXPECT_EQ(m_second->standardError(), "ZevoLauncher : " + line);
    }

    std::string trace() const { return readTextFile(m_trace.path()); }
    std::string log() const { return readTextFile(m_log.path()); }

    void waitUntilSecondWatches() {
        // It continues the log after its line, but begins the trace file anew, shortly before that.
        const std::string goesOn = m_logLine + "[LEVEL_0] Starting Vurl ZevoLauncher with ID card :\n";
        ASSERT_TRUE(waitUntil([&] { return log().find(goesOn) != std::string::npos; })) << log();
        const std::string watches = "<- ZevoLauncher::isDeviceFound\n";
        ASSERT_TRUE(waitUntil([&] { return trace().find(watches) != std::string::npos; })) << trace();
    }

    void terminateSecond() {
        m_second->sendSignal(SIGTERM);
        ASSERT_TRUE(m_second->waitForEnd());
    }

    std::string m_logLine;
    std::unique_ptr<LauncherProcess> m_second;
};

TEST_F(TwoLaunchers, TheSecondSaysSoAndLeavesTraceAndLogOfTheFirstAlone) {
    startLauncher();
    const std::string traceBefore = trace();
    const std::string logBefore = log();
    startSecond();
    EXPECT_EQ(log(), logBefore + m_logLine);
    EXPECT_EQ(trace(), traceBefore);
    terminateSecond();
    EXPECT_EQ(m_second->endingSignal(), SIGTERM) << "it waits as it was, without a crash handler yet";
}

TEST_F(TwoLaunchers, OnlyTheFirstStartsApplications) {
    startLauncher();
    startSecond();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    expectStarts(1, 1);
    terminateSecond();
}

TEST_F(TwoLaunchers, TheSecondFollowsTheFirst) {
    startLauncher();
    startSecond();
    terminateLauncher();
    waitUntilSecondWatches();
    EXPECT_EQ(readTextFile(m_machine.logFolder() + "/launcher.lock"), std::to_string(m_second->pid()) + "\n");
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    terminateSecond();
    EXPECT_EQ(m_second->exitStatus(), 0);
}

TEST_F(TwoLaunchers, TheSecondFollowsAFirstThatWasKilled) {
    startLauncher();
    startSecond();
    m_launcher->sendSignal(SIGKILL);
    ASSERT_TRUE(m_launcher->waitForEnd());
    waitUntilSecondWatches();
    terminateSecond();
}

TEST_F(TwoLaunchers, AFirstThatHasNotToldItsProcessYetIsWaitedForToo) {
    createFolders(m_machine.logFolder());
    const int file =
        open((m_machine.logFolder() + "/launcher.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(flock(file, LOCK_EX), 0);
    const std::string line = "another launcher runs; waiting for its end\n";
    expectStandardError("ZevoLauncher : " + line);
    startLauncherWithoutWaiting();
    EXPECT_TRUE(waitUntil([&] { return log() == "[ERROR  ] " + line; })) << log();
    close(file);
    waitUntilWatching();
}

TEST_F(TwoLaunchers, TheApplicationsDoNotHoldTheLockOfALauncherThatHasEnded) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    terminateLauncher();
    startLauncher();
}

} // namespace
