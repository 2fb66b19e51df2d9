#include "Attack.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Zevo;
using testing::HasSubstr;

namespace {

// ---- resource limits

class Limits : public Attack {
protected:
    Limits() { expectStandardError(testing::_); }

    /// Sets a soft limit of the running launcher.
    void limit(__rlimit_resource resource, rlim_t to) {
        rlimit both{};
        ASSERT_EQ(prlimit(m_launcher->pid(), resource, nullptr, &both), 0);
        both.rlim_cur = to;
        ASSERT_EQ(prlimit(m_launcher->pid(), resource, &both, nullptr), 0);
    }
};

TEST_F(Limits, WithoutAFreeDescriptorItMissesWhatItMustAndGoesOnWithTheNext) {
    startLauncher();
    const int rounds = count(3, 100);
    for (int round = 0; round < rounds; ++round) {
        // 0 to 3 descriptors are free.
        limit(RLIMIT_NOFILE, static_cast<rlim_t>(descriptorCountOf(m_launcher->pid()) + round % 4));
        m_bus.plug("1-1", m_modem.modem);
        m_bus.unplug("1-1");
        limit(RLIMIT_NOFILE, 1024);
        expectServesAModem();
    }
    tellFigure(std::to_string(rounds) + " times without descriptors, each next modem served");
}

TEST_F(Limits, WithoutMemoryToBeHadItEndsWithItsReportOrGoesOn) {
    int ended = 0;
    int round = 0;
    // Each round starts a new launcher: one that went on retains memory and would not run short again. Often
    // even a new one has enough, but at least one must end, or the test shows nothing.
    for (const int rounds = count(5, 100); round < rounds || (ended == 0 && round < 10 * rounds); ++round) {
        if (m_launcher && m_launcher->isRunning())
            terminateLauncher();
        startLauncher();
        // Its resident size plus some KiB, a different amount each round.
        limit(RLIMIT_AS, static_cast<rlim_t>(residentMemoryOf(m_launcher->pid()) + round % 5 * 16) * 1024);
        for (unsigned i = 0; i < 50 && m_launcher->isRunning(); ++i)
            m_bus.plug("2-" + std::to_string(i + 1), makePlainDevice(0x2000, i + 1));
        m_bus.unplugAll();
        if (m_launcher->isRunning())
            limit(RLIMIT_AS, RLIM_INFINITY);
        if (servesAModem())
            continue;
        ASSERT_FALSE(m_launcher->isRunning()) << m_trace.text();
        ASSERT_EQ(m_launcher->exitStatus(), 0) << m_launcher->standardError();
        ASSERT_TRUE(hasReport()) << m_trace.text();
        ++ended;
    }
    EXPECT_GT(ended, 0) << "memory was never short";
    tellFigure(std::to_string(round) + " times without memory: " + std::to_string(round - ended) +
               " went on, " + std::to_string(ended) + " ended with a report");
}

TEST_F(Limits, AFileThatMayNotGrowEndsItWithItsReportInTheNextFile) {
    const int rounds = count(3, 100);
    for (int round = 0; round < rounds; ++round) {
        startLauncher();
        limit(RLIMIT_FSIZE, 20000 + static_cast<rlim_t>(round) * 37);
        for (unsigned i = 0; m_launcher->isRunning() && i < 500; ++i) {
            m_bus.plug("2-1", makePlainDevice(0x2000, i + 1));
            m_bus.unplug("2-1");
        }
        ASSERT_TRUE(m_launcher->waitForEnd());
        EXPECT_EQ(m_launcher->exitStatus(), 0);
        const std::string report = readTextFile(m_machine.logFolder() + "/trace_1.txt");
        EXPECT_THAT(report, HasSubstr("UNKNOWN SIGNAL (25)\n"));
        EXPECT_THAT(report, HasSubstr("-------------- CALLSTACK --------------\n"));
        EXPECT_THAT(report, HasSubstr("-------------- OBJECT(S) COUNT --------------\n"));
        unlink((m_machine.logFolder() + "/trace_1.txt").c_str());
    }
    tellFigure(std::to_string(rounds) + " of " + std::to_string(rounds) + " reports in the next file");
}

/// Processes that only wait; the destructor ends them.
class Crowd {
public:
    explicit Crowd(int size) {
        for (int i = 0; i < size; ++i) {
            const pid_t pid = fork();
            if (pid == 0)
                for (;;)
                    pause();
            if (pid > 0)
                m_processes.push_back(pid);
        }
    }
    ~Crowd() {
        for (const pid_t pid : m_processes)
            kill(pid, SIGKILL);
        for (const pid_t pid : m_processes)
            waitpid(pid, nullptr, 0);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    int size() const { return static_cast<int>(m_processes.size()); }

private:
    std::vector<pid_t> m_processes;
};

TEST_F(Limits, ManyProcessesInTheListAreLookedThroughForEveryArrival) {
    startLauncher();
    const Crowd crowd(count(300, 10000));
    ASSERT_EQ(crowd.size(), count(300, 10000));
    const auto begin = std::chrono::steady_clock::now();
    expectServesAModem();
    const auto took = std::chrono::steady_clock::now() - begin;
    tellFigure(std::to_string(crowd.size()) + " processes more: both applications run " +
               std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()) +
               " ms after the modem is plugged in");
    // A new launcher finds the running applications at the end of the process list, behind the crowd.
    const int starts = startCount(Bundle::mainApplication);
    terminateLauncher();
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    EXPECT_EQ(startCount(Bundle::mainApplication), starts);
}

// ---- the clock

class Clock : public Attack {};

TEST_F(Clock, SetBackAndForwardIsFollowedByTheStampsAndStopsNothing) {
    std::string configuration = m_machine.installedText("tracer_zevolauncher.cfg");
    const std::string direct = "TRACE_MUST_FLUSH\n";
    // Not written directly: this is about the flush thread.
    configuration.replace(configuration.find(direct), direct.size(), "TRACE_CLOCK\n");
    m_machine.install("tracer_zevolauncher.cfg", configuration);
    startWithFaults();
    const long HOUR = 3600;
    int settings = 0;
    for (const long ahead : {HOUR, -HOUR, 24 * HOUR, -24 * 365 * HOUR, 24 * 365 * HOUR, 0L}) {
        if (!isLong() && settings == 3)
            break;
        m_faults.setClockAhead(ahead);
        expectServesAModem();
        plugMarker(); // its line reaches the file: the flush thread still wakes up
        ++settings;
    }
    m_faults.setClockAhead(0);
    tellFigure("set " + std::to_string(settings) + " times; every line is written within its second or so");
}

// ---- /proc and /sys

class Kernel : public Attack {
protected:
    Kernel() { expectStandardError(testing::_); }

    void startWithout(void (Faults::*refuse)(int)) {
        (m_faults.*refuse)(EACCES);
        startWithFaults();
        const unsigned long refused = m_faults.refusedLooks();
        EXPECT_GT(refused, 0u);
        (m_faults.*refuse)(0);
        expectServesAModem();
        tellFigure(std::to_string(refused) + " looks refused; the next modem served");
    }
};

TEST_F(Kernel, WithoutAListOfProcessesNothingIsStartedAndWithOneItIs) {
    startWithFaults();
    m_faults.refuseProc(EACCES);
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    EXPECT_GT(m_faults.refusedLooks(), 0u);
    const int starts = startCount(Bundle::mainApplication);
    EXPECT_EQ(starts, 0) << "it might run already";
    m_faults.refuseProc(0);
    m_bus.unplug("1-1");
    expectServesAModem();
    tellFigure(std::to_string(m_faults.refusedLooks()) +
               " looks refused: nothing started meanwhile, the next modem served");
}

TEST_F(Kernel, AStartWithoutSysSeesWhatComesLater) {
    startWithout(&Faults::refuseSys);
}

TEST_F(Kernel, AStartWithoutProcSeesWhatComesLater) {
    startWithout(&Faults::refuseProc);
}

// ---- events

class Events : public Attack, public testing::WithParamInterface<std::pair<const char*, event_fault>> {
protected:
    Events() { expectStandardError(testing::_); }
};

TEST_P(Events, ThatAreSpoiltAreFollowedByWholeOnes) {
    startWithFaults();
    const int rounds = count(30, 1000);
    int starts = 0;
    for (int round = 0; round < rounds; ++round) {
        m_faults.spoilEvents(GetParam().second);
        m_bus.plug("1-1", round % 2 == 0 ? m_modem.modem : m_modem.cdRom);
        m_bus.plug("1-2", makePlainDevice(0x2000, static_cast<unsigned>(round + 1)));
        m_bus.unplug("1-1");
        m_bus.unplug("1-2");
        m_faults.spoilEvents(EVENTS_WHOLE);
        if (round % 10 == 0) {
            expectServesAModem();
            plugMarker();
            ++starts;
        }
    }
    // The removal of a device whose events are whole is noticed, too.
    plugMarker();
    m_bus.plug("1-3", makePlainDevice(0x2000, 0x3000));
    m_bus.unplug("1-3");
    EXPECT_TRUE(m_trace.waitFor("PnP called for onDeviceRemoval.\n"));
    EXPECT_GT(m_faults.touchedEvents(), 0u);
    tellFigure(std::to_string(m_faults.touchedEvents()) + " events spoilt; " + std::to_string(starts) +
               " modems between them served");
}

INSTANTIATE_TEST_SUITE_P(Coming, Events,
                         testing::Values(std::pair("Twice", EVENTS_TWICE),
                                         std::pair("Exchanged", EVENTS_EXCHANGED),
                                         std::pair("Cut", EVENTS_CUT)),
                         [](const auto& tested) { return tested.param.first; });

} // namespace
