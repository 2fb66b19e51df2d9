#include "Attack.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace Zevo;

namespace {

// ---- killed

class Kill : public Attack {
protected:
    Kill() { expectStandardError(testing::_); }

    void expectNextStartWorks() {
        startLauncher();
        EXPECT_TRUE(servesAModem()) << m_launcher->standardError() << m_trace.text();
    }
};

// The moments are spread over 60 ms: from the first instruction to a launcher that watches.
TEST_F(Kill, AtAnyMomentOfTheStartTheNextStartWorks) {
    const int moments = count(12, 400);
    const std::chrono::microseconds longest(60000);
    for (int moment = 0; moment < moments; ++moment) {
        startLauncherWithoutWaiting();
        std::this_thread::sleep_for(longest * moment / moments);
        m_launcher->sendSignal(SIGKILL);
        ASSERT_TRUE(m_launcher->waitForEnd());
        if (moment % 4 == 3)
            expectNextStartWorks();
    }
    expectNextStartWorks();
    tellFigure(std::to_string(moments) + " moments of the start; every start behind them works");
}

// The moments are spread over the time that an undisturbed end takes.
TEST_F(Kill, AtAnyMomentOfTheEndTheNextStartWorks) {
    startLauncher();
    const auto begin = std::chrono::steady_clock::now();
    m_launcher->sendSignal(SIGTERM);
    while (m_launcher->isRunning()) // waitForEnd() polls too seldom to measure this
        std::this_thread::yield();
    const auto longest = std::chrono::steady_clock::now() - begin;
    const int moments = count(8, 200);
    int early = 0;
    for (int moment = 0; moment < moments; ++moment) {
        expectNextStartWorks();
        m_launcher->sendSignal(SIGTERM);
        std::this_thread::sleep_for(longest * moment / moments);
        m_launcher->sendSignal(SIGKILL);
        ASSERT_TRUE(m_launcher->waitForEnd());
        early += m_launcher->endingSignal() == SIGKILL ? 1 : 0;
    }
    expectNextStartWorks();
    EXPECT_GT(early, 0) << "each kill came too late";
    tellFigure(std::to_string(moments) + " moments of the end, " + std::to_string(early) +
               " of them before it was over; every start behind them works");
}

// ---- the applications

class Application : public Attack {
protected:
    /// Replaces the main application's program by a shell script that reports its start and then runs the
    /// text.
    void installScript(const std::string& text) {
        const std::string program = m_machine.executableOf(Bundle::mainApplication);
        unlink(program.c_str());
        writeTextFile(program, "#!/bin/sh\nmkdir -p \"$(dirname \"$0\")/../started\"\n"
                               "echo pid=$$ > \"$(dirname \"$0\")/../started/$$.txt\"\n" +
                                   text + "\n");
        ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    }

    /// Script lines that start the command as a child, which outlives the script, and record its pid.
    std::string inBackground(const std::string& command) const {
        return command + " </dev/null >/dev/null 2>&1 &\necho $! >> '" + childFile() + "'";
    }
    std::string childFile() const { return m_machine.folder() + "/child"; }
    std::vector<pid_t> children() const {
        std::istringstream lines(readTextFile(childFile()));
        return {std::istream_iterator<pid_t>(lines), {}};
    }
    /// Whether every script that was started has started its child and ended.
    bool childrenAreAlone() {
        const std::vector<StartReport> starts = m_machine.startsOf(Bundle::mainApplication);
        return children().size() == starts.size() &&
               std::none_of(starts.begin(), starts.end(),
                            [](const StartReport& start) { return stateOf(start.pid()) != '-'; });
    }
    void endChildren() {
        for (const pid_t pid : children())
            kill(pid, SIGTERM);
    }

    /// Use it in place of servesAModem(), which cannot make a script quit: its process runs the shell's
    /// program, and the machine finds only processes that run its own programs.
    void plugModem() {
        m_bus.plug("1-1", makePlainDevice(m_modem.modem.vendor, m_modem.modem.product));
        m_bus.unplug("1-1");
        plugMarker();
    }
};

TEST_F(Application, ThatCrashesAtOnceIsStartedWithTheNextArrivalAgain) {
    installScript("kill -SEGV $$");
    startLauncher();
    const int rounds = count(5, 100);
    for (int round = 1; round <= rounds; ++round) {
        plugModem();
        ASSERT_TRUE(waitUntil([&] { return startCount(Bundle::mainApplication) >= round; })) << round;
    }
    EXPECT_TRUE(waitUntil([this] { return childrenOf(m_launcher->pid()).empty(); })) << "no child is left";
    EXPECT_TRUE(m_launcher->isRunning());
    tellFigure(std::to_string(rounds) + " arrivals, " + std::to_string(startCount(Bundle::mainApplication)) +
               " starts, no process left behind");
}

TEST_F(Application, ThatIsReplacedWhileItRunsIsNotStartedTwice) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    ASSERT_TRUE(waitUntil([this] { return startCount(Bundle::notifier) == 1; }));
    plugMarker();
    const std::string program = m_machine.executableOf(Bundle::mainApplication);
    const std::string text = readTextFile(program);
    const int rounds = count(3, 30);
    for (int round = 0; round < rounds; ++round) {
        writeTextFile(program + ".new", text);
        ASSERT_EQ(chmod((program + ".new").c_str(), 0755), 0);
        ASSERT_EQ(rename((program + ".new").c_str(), program.c_str()), 0);
        m_bus.unplug("1-1");
        m_bus.plug("1-1", m_modem.modem);
        plugMarker();
    }
    EXPECT_EQ(startCount(Bundle::mainApplication), 1);
    EXPECT_EQ(startCount(Bundle::notifier), 1);
    for (const StartReport& start : m_machine.startsOf(Bundle::mainApplication))
        kill(start.pid(), SIGTERM); // quitApplications() does not find it: its program file is deleted
    tellFigure(std::to_string(rounds) + " times replaced, started once");
}

// As a daemon does: the program that was started ends, and its child goes on.
TEST_F(Application, ThatForksAndGoesOnInItsBundleIsNotStartedTwice) {
    installScript("daemon=\"$(dirname \"$0\")/daemon\"\n"
                  "cp \"$(command -v sleep)\" \"$daemon\"\n" +
                  inBackground("\"$daemon\" 10000"));
    startLauncher();
    plugModem();
    ASSERT_TRUE(waitUntil([this] { return startCount(Bundle::mainApplication) > 0 && childrenAreAlone(); }));
    const int before = startCount(Bundle::mainApplication);
    const int rounds = count(3, 30);
    for (int round = 0; round < rounds; ++round)
        plugModem();
    EXPECT_EQ(startCount(Bundle::mainApplication), before);
    endChildren();
    tellFigure(std::to_string(rounds) + " arrivals while its child goes on in the bundle, none started");
}

TEST_F(Application, ThatEndsAndLeavesAProgramOfTheSystemsIsStartedWithTheNextArrivalAgain) {
    installScript(inBackground("sleep 10000"));
    startLauncher();
    const int rounds = count(3, 30);
    for (int round = 1; round <= rounds; ++round) {
        plugModem();
        ASSERT_TRUE(waitUntil([&] { return startCount(Bundle::mainApplication) >= round; })) << round;
        ASSERT_TRUE(waitUntil([this] { return childrenAreAlone(); })) << round;
    }
    endChildren();
    tellFigure(std::to_string(rounds) + " arrivals while programs of the system's go on, " +
               std::to_string(startCount(Bundle::mainApplication)) + " starts");
}

// ---- two launchers

class Together : public Attack {
protected:
    Together() { expectStandardError(testing::_); }
};

TEST_F(Together, OneWatchesAndTheOtherOneSaysThatItWaits) {
    const int rounds = count(5, 100);
    for (int round = 0; round < rounds; ++round) {
        startLauncherWithoutWaiting();
        LauncherProcess second(m_machine);
        waitUntilWatching();
        ASSERT_TRUE(servesAModem());
        const std::string said = m_launcher->standardError() + second.standardError();
        EXPECT_NE(said.find("another launcher runs"), std::string::npos) << said;
        ASSERT_TRUE(m_launcher->isRunning() && second.isRunning());
        second.sendSignal(SIGKILL);
        ASSERT_TRUE(second.waitForEnd());
        m_launcher->sendSignal(SIGKILL);
        ASSERT_TRUE(m_launcher->waitForEnd());
    }
    m_launcher.reset();
    tellFigure(std::to_string(rounds) + " pairs: one works, one waits and says so");
}

} // namespace
