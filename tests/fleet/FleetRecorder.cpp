#include "LauncherTest.h"

#include <csignal>
#include <cstdlib>
#include <unistd.h>

using testing::HasSubstr;

namespace Zevo {
namespace {

/// Records real runs of the launcher, one of each kind, from which a fleet is made. Each leaves its trace and
/// its log in a folder of its own below ZEVO_FLEET_RECORDINGS.
class FleetRecorder : public LauncherTest {
protected:
    FleetRecorder() { useInstalledTraceAndLog(); }

    void plugModemThatSwitches() {
        m_bus.plug("1-1", m_modem.cdRom);
        expectStarts(1, 1);
        m_bus.unplug("1-1");
        m_bus.plug("1-1", m_modem.modem);
        plugMarker();
    }

    void keepRecording() {
        const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        const std::string folder = std::string(std::getenv("ZEVO_FLEET_RECORDINGS")) + "/" + name;
        ASSERT_EQ(std::system(("cp -Rp '" + m_machine.logFolder() + "' '" + folder + "'").c_str()), 0);
    }
};

TEST_F(FleetRecorder, Started) {
    startLauncher();
    plugModemThatSwitches();
    terminateLauncher();
    keepRecording();
}

TEST_F(FleetRecorder, NotInstalled) {
    m_machine.removeBundle(Bundle::mainApplication);
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    terminateLauncher();
    keepRecording();
}

TEST_F(FleetRecorder, WithoutExecutable) {
    unlink(m_machine.executableOf(Bundle::mainApplication).c_str());
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(0, 1);
    plugMarker();
    terminateLauncher();
    keepRecording();
}

TEST_F(FleetRecorder, OtherDeviceOfTheMaker) {
    startLauncher();
    m_bus.plug("1-1", makePlainDevice(0x12d1, 0x14fe));
    plugMarker();
    terminateLauncher();
    keepRecording();
}

TEST_F(FleetRecorder, Crashed) {
    startLauncher();
    plugModemThatSwitches();
    ASSERT_TRUE(endLauncherBySignal(SIGSEGV));
    keepRecording();
}

TEST_F(FleetRecorder, Aborted) {
    startLauncher();
    ASSERT_TRUE(endLauncherBySignal(SIGABRT));
    keepRecording();
}

TEST_F(FleetRecorder, Deaf) {
    m_bus.plug("1-1", m_modem.modem);
    expectStandardError(HasSubstr("devices that arrive later will not be seen"));
    const char* const preloaded = std::getenv("LD_PRELOAD");
    startLauncher(
        {"LD_PRELOAD=" ZEVO_NO_HOT_PLUG_LIBRARY ":" + std::string(preloaded == nullptr ? "" : preloaded)});
    expectStarts(1, 1);
    terminateLauncher();
    keepRecording();
}

} // namespace
} // namespace Zevo
