#include "LauncherTest.h"

#include <csignal>
#include <map>

using namespace Zevo;
using testing::HasSubstr;

namespace {

std::string textOf(int signal) {
    static const std::map<int, std::string> TEXTS = {
        {1, "SIGNAL_HANG_UP"},
        {2, "SIGNAL_INTERRUPT"},
        {3, "SIGNAL_QUIT"},
        {4, "SIGNAL_ILLEGAL_INSTRUCTION"},
        {5, "SIGNAL_TRACE_TRAP"},
        {6, "SIGNAL_ABORT"},
        {8, "SIGNAL_FLT"},
        {10, "SIGNAL_BUS_ERROR"},
        {11, "SIGNAL_SEGMENTATION_FAULT"},
        {12, "SIGNAL_BAD_ARGUMENT_SYSTEM_CALL"},
        {13, "SIGNAL_WRITE_PIPE_WITH_NO_READER"},
        {14, "SIGNAL_ALARM_CLOCK"},
        {15, "SIGNAL_SOTWARE_TERMINATION"},
        {16, "SIGNAL_URG_ON_IO_CHANNEL"},
        {17, "SIGNAL_STOP"},
        {20, "SIGNAL_SIGCHLD"},
        {21, "SIGNAL_SIGTTIN"},
        {22, "SIGNAL_SIGTTOU"},
        {30, " :  - In File :  - At Line : "}, // no contract check has failed: nothing was recorded
    };
    const auto found = TEXTS.find(signal);
    return found == TEXTS.end() ? "UNKNOWN SIGNAL (" + std::to_string(signal) + ")" : found->second;
}

class CrashSignal : public LauncherTest {
protected:
    /// The signal ends the launcher with status 0 and a report: the cause, the stacks, the object counts.
    void expectEndWithReport(int signal) {
        ASSERT_TRUE(endLauncherBySignal(signal));
        EXPECT_EQ(m_launcher->exitStatus(), 0);
        for (const std::string& line :
             {">> [E] " + textOf(signal) + "\n", std::string("\n-------------- CALLSTACK --------------\n"),
              std::string("    [2] ZevoLauncher::run\n"), std::string("    [1] ZevoLauncher::Main\n"),
              std::string("---------------------------------------\n"),
              std::string("\n-------------- OBJECT(S) COUNT --------------\n"),
              std::string("Class = ZevoLauncher                  , count = 000001\n"),
              std::string("---------------------------------------------\n")})
            EXPECT_TRUE(m_trace.waitFor(line, std::chrono::milliseconds(0))) << line << m_trace.text();
    }
};

class CaughtSignal : public CrashSignal, public testing::WithParamInterface<int> {};

TEST_P(CaughtSignal, EndsTheLauncherWithStatus0AndAReportInTheTrace) {
    startLauncher();
    expectEndWithReport(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Number, CaughtSignal,
                         testing::Values(1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21,
                                         22, 23, 24, 25, 26, 27, 29, 30),
                         testing::PrintToStringParamName());

TEST_F(CrashSignal, Number28ChangesNothing) {
    startLauncher();
    m_launcher->sendSignal(28);
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    plugMarker();
    EXPECT_TRUE(m_launcher->isRunning());
}

// Signals 9 and 19 cannot be caught on Linux: the kernel handles them itself.
TEST_F(CrashSignal, Number9IsTheKernelsAndLeavesNoReport) {
    startLauncher();
    ASSERT_TRUE(endLauncherBySignal(9));
    EXPECT_EQ(m_launcher->endingSignal(), 9);
    EXPECT_EQ(m_trace.count("CALLSTACK"), 0);
    m_launcher.reset();
}

TEST_F(CrashSignal, Number19StopsTheLauncherUntilItIsContinued) {
    startLauncher();
    m_launcher->sendSignal(19);
    ASSERT_TRUE(waitUntil([&] { return stateOf(m_launcher->pid()) == 'T'; }));
    expectEndWithReport(18); // SIGCONT is caught like nearly every signal, and ends the launcher
}

TEST_F(CrashSignal, InstallingTheHandlersTracesTheTwoThatCannotBeCaught) {
    startLauncher();
    EXPECT_EQ(m_trace.count(">> [E] Cant install signal handler for 9 errno = 22.\n"), 1);
    EXPECT_EQ(m_trace.count(">> [E] Cant install signal handler for 19 errno = 22.\n"), 1);
    EXPECT_EQ(m_trace.count("Cant install signal handler for"), 2);
}

TEST_F(CrashSignal, NeedsNoTraceToEndWithStatus0) {
    m_machine.uninstall("tracer_zevolauncher.cfg");
    expectStandardError(HasSubstr("Warning: cannot open tracer configuration file"));
    startLauncherWithoutWaiting();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    ASSERT_TRUE(endLauncherBySignal(SIGSEGV));
    EXPECT_EQ(m_launcher->exitStatus(), 0);
}

/// With trace lines in the queue of the flush thread, as in the field.
class QueuedTrace : public CrashSignal {
protected:
    QueuedTrace() {
        std::string configuration = m_machine.installedText("tracer_zevolauncher.cfg");
        const std::string direct = "TRACE_MUST_FLUSH\n";
        configuration.erase(configuration.find(direct), direct.size());
        m_machine.install("tracer_zevolauncher.cfg", configuration);
    }
};

TEST_F(QueuedTrace, LosesNoLine) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    expectEndWithReport(SIGTERM);
    EXPECT_EQ(m_trace.count("Start executable : /Applications/Quillmarsh.app\n"), 1);
}

/// The signal that stops the launcher, and one that follows at once; 0: none.
class Stop : public QueuedTrace, public testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(Stop, LeavesTraceAndLogWholeWhateverSignalComesNext) {
    startLauncher();
    m_launcher->sendSignal(GetParam().first);
    if (GetParam().second != 0)
        m_launcher->sendSignal(GetParam().second);
    ASSERT_TRUE(m_launcher->waitForEnd());
    EXPECT_EQ(m_launcher->exitStatus(), 0);
    EXPECT_EQ(m_trace.count("\t\t\tLaunching ZevoLauncher\n"), 1);
    // The second signal may be delivered first, or to another thread at the same moment.
    EXPECT_EQ(m_trace.count("SIGNAL_FILTER\n"), 2) << "the call and the stack";
    EXPECT_GE(m_trace.count("-------------- CALLSTACK --------------\n"), 1);
    EXPECT_EQ(m_trace.count("    [1] ZevoLauncher::Main\n"), 1);
    EXPECT_EQ(m_trace.count("Class = ZevoLauncher                  , count = 000001\n"), 1);
    EXPECT_EQ(m_trace.count("\n---------------------------------------------\n"), 1);
    EXPECT_EQ(m_log.count("[LEVEL_0]"), 8);
}

INSTANTIATE_TEST_SUITE_P(Signals, Stop,
                         testing::Values(std::pair(15, 0), std::pair(15, 18), std::pair(15, 15),
                                         std::pair(1, 0), std::pair(1, 18), std::pair(1, 1), std::pair(2, 0),
                                         std::pair(2, 18), std::pair(2, 2)),
                         [](const auto& tested) {
                             return std::to_string(tested.param.first) + "Then" +
                                    std::to_string(tested.param.second);
                         });

} // namespace
