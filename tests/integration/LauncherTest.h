#pragma once

#include "LauncherProcess.h"
#include "ModemFile.h"
#include "SampleMachine.h"
#include "TextFollower.h"
#include "VirtualUsbBus.h"

#include <gmock/gmock.h>
#include <memory>

namespace Zevo {

/// One machine, one virtual bus, and the real launcher on them. Everything is checked from outside: the
/// trace, the log, standard error, the processes started. At the end the launcher is told to terminate, and a
/// test fails when it does not end well, when it said something on standard error that the test did not
/// expect, when an application was started more often than the test expected, or when a process is left over.
class LauncherTest : public testing::Test {
protected:
    typedef SampleMachine::Bundle Bundle;

    LauncherTest();
    void TearDown() override;

    /// Starts the launcher and waits until it has looked at the present devices and watches for others.
    void startLauncher(const std::vector<std::string>& environment = {});
    void startLauncherWithoutWaiting(const std::vector<std::string>& environment = {});
    void waitUntilWatching();

    /// Plugs in a device of nobody's and waits until the launcher has dealt with its arrival: whatever the
    /// launcher was going to do about earlier events, it has done then.
    void plugMarker();

    /// So many starts of each application since the test began, no more and no less.
    void expectStarts(int ofMainApplication, int ofNotifier);
    int startCount(Bundle bundle) { return static_cast<int>(m_machine.startsOf(bundle).size()); }
    StartReport onlyStartOf(Bundle bundle);

    int arrivalsOf(const UsbDevice& device);
    /// False when the signal has not ended the launcher by the deadline.
    bool endLauncherBySignal(int number);
    void terminateLauncher();

    /// Standard error is expected to be this, not empty.
    void expectStandardError(const testing::Matcher<std::string>& matcher) { m_standardError = matcher; }

    /// Installs identifiers for the modem's two personalities.
    void configureFor(const UsbDevice& modem, const UsbDevice& cdRom);
    void configure(const std::string& toDetect, const std::string& toFind, const std::string& cdRomToDetect);

    /// Trace and log as an installation has them, in place of the test's own, but every line is written at once.
    void useInstalledTraceAndLog();

    static Modem modemNamed(const std::string& fileName);

    const Modem m_modem; // two serial ports; configured already
    SampleMachine m_machine;
    VirtualUsbBus m_bus;
    TextFollower m_trace;
    TextFollower m_log;
    std::unique_ptr<LauncherProcess> m_launcher;

private:
    std::string startLine(Bundle bundle) const;

    unsigned m_markers = 0;
    int m_expectedStarts[2] = {0, 0};
    testing::Matcher<std::string> m_standardError = testing::IsEmpty();
};

/// Processes whose parent is this one, zombies included.
std::vector<pid_t> childrenOf(pid_t parent);
/// The letter by which the kernel tells what a process does: 'R', 'S', 'T', 'Z'; '-' when there is none.
char stateOf(pid_t pid);
/// In KiB, what of the process is in memory.
long residentMemoryOf(pid_t pid);
int descriptorCountOf(pid_t pid);
int threadCountOf(pid_t pid);
/// How often its threads have given up a processor, of their own will or not, a line for each: equal texts mean that none
/// has woken up meanwhile.
std::string switchesOf(pid_t pid);

} // namespace Zevo
