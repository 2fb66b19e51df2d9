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
/// trace, the log, standard error, the started processes. At its end a test terminates the launcher; it fails
/// if the launcher does not end with status 0, if it wrote something on standard error that the test did not
/// expect, if an application was started more or less often than expected, or if a process is left over.
class LauncherTest : public testing::Test {
protected:
    typedef SampleMachine::Bundle Bundle;

    LauncherTest();
    void TearDown() override;

    /// Starts the launcher and waits until it has examined the present devices and watches for others.
    void startLauncher(const std::vector<std::string>& environment = {});
    void startLauncherWithoutWaiting(const std::vector<std::string>& environment = {});
    void waitUntilWatching();

    /// Plugs in a device that is no modem and waits until the launcher has dealt with its arrival: then it
    /// has dealt with all earlier events, too.
    void plugMarker();

    /// Expects exactly this number of starts of each application since the test began.
    void expectStarts(int ofMainApplication, int ofNotifier);
    int startCount(Bundle bundle) { return static_cast<int>(m_machine.startsOf(bundle).size()); }
    StartReport onlyStartOf(Bundle bundle);

    int arrivalsOf(const UsbDevice& device);
    /// False if the signal does not end the launcher before the deadline.
    bool endLauncherBySignal(int number);
    void terminateLauncher();

    /// Expects standard error to match, rather than to be empty.
    void expectStandardError(const testing::Matcher<std::string>& matcher) { m_standardError = matcher; }

    /// Installs identifiers for the modem's two personalities.
    void configureFor(const UsbDevice& modem, const UsbDevice& cdRom);
    void configure(const std::string& toDetect, const std::string& toFind, const std::string& cdRomToDetect);

    /// Uses the trace and log configuration of an installation in place of the test's, but with direct
    /// writing.
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
/// The kernel's letter for the state of a process: 'R', 'S', 'T', 'Z'; '-' if there is no such process.
char stateOf(pid_t pid);
/// The resident memory of the process, in KiB.
long residentMemoryOf(pid_t pid);
int descriptorCountOf(pid_t pid);
int threadCountOf(pid_t pid);
/// The voluntary and involuntary context switches of each of its threads, as text: two equal texts mean that
/// no thread has woken up in between.
std::string switchesOf(pid_t pid);

} // namespace Zevo
