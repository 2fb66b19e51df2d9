#include "LauncherTest.h"

#include <csignal>
#include <unistd.h>

using namespace Zevo;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

class DeviceWatch : public LauncherTest {
protected:
    void quitEverything() { ASSERT_TRUE(m_machine.quitApplications()); }

    void unplugAndWait(const std::string& port) {
        m_bus.unplug(port);
        ASSERT_TRUE(m_trace.waitFor("PnP called for onDeviceRemoval.\n"));
    }
};

TEST_F(DeviceWatch, ModemThatIsPresentAtStartStartsBothApplications) {
    m_bus.plug("1-1", m_modem.modem);
    startLauncher();
    expectStarts(1, 1);
    EXPECT_EQ(m_trace.count("Device found in Modem list.\n"), 1);
    EXPECT_EQ(arrivalsOf(m_modem.modem), 0) << "what is present already does not arrive";
}

TEST_F(DeviceWatch, OnlyTheIdToFindCountsForWhatIsPresentAtStart) {
    configure(hardwareIdentifier(m_modem.modem), "USB#Vid_0001&Pid_0002", hardwareIdentifier(m_modem.cdRom));
    m_bus.plug("1-1", m_modem.modem);
    m_bus.plug("1-2", m_modem.cdRom);
    startLauncher();
    plugMarker();
    expectStarts(0, 0);
}

TEST_F(DeviceWatch, ModemThatArrivesStartsBothApplications) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    plugMarker();
    expectStarts(1, 1);
    EXPECT_GE(arrivalsOf(m_modem.modem), 1);
}

TEST_F(DeviceWatch, NotifierIsStartedHiddenAndTheMainApplicationIsNot) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    const char HIDDEN[] = "PLATFORM_LAUNCH_HIDDEN=1";
    EXPECT_THAT(onlyStartOf(Bundle::notifier).values("environment"), Contains(HIDDEN));
    EXPECT_THAT(onlyStartOf(Bundle::mainApplication).values("environment"), Not(Contains(HIDDEN)));
}

TEST_F(DeviceWatch, CdRomPersonalityStartsTheApplicationsAndTheModemItTurnsIntoFindsThemRunning) {
    startLauncher();
    m_bus.plug("1-1", m_modem.cdRom);
    expectStarts(1, 1);
    m_bus.switchMode("1-1", m_modem.modem);
    ASSERT_TRUE(m_trace.waitFor("Detected hardware id : " + hardwareIdentifier(m_modem.modem) + "\n"));
    ASSERT_TRUE(m_trace.waitFor("Executable already running : /Applications/Quillmarsh.app\n"));
    ASSERT_TRUE(m_trace.waitFor(
        "Executable already running : /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app\n"));
    plugMarker();
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, CompositeModemArrivesSeveralTimesAndStartsEachApplicationOnce) {
    const Modem composite = modemNamed("composite");
    configureFor(composite.modem, composite.cdRom);
    startLauncher();
    m_bus.plug("1-1", composite.modem);
    plugMarker();
    // At least one for the device and one for each of its five interfaces.
    EXPECT_GE(arrivalsOf(composite.modem), 6);
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, NetworkModemIsAModemLikeAnyOther) {
    const Modem network = modemNamed("network-only");
    configureFor(network.modem, network.cdRom);
    startLauncher();
    m_bus.plug("2-1", network.cdRom);
    m_bus.switchMode("2-1", network.modem);
    plugMarker();
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, IdToDetectMayDifferInLetterCase) {
    configure("usb#VID_12D1&pID_1001", "USB#Vid_12d1&Pid_1001", "USB#Vid_0001&Pid_0001");
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, DigitsOfTheIdToFindMayDifferInLetterCase) {
    configure("USB#Vid_0001&Pid_0001", "USB#Vid_12D1&Pid_1001", "USB#Vid_0001&Pid_0001");
    m_bus.plug("1-1", m_modem.modem);
    startLauncher();
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, ForeignDeviceStartsNothing) {
    m_bus.plug("1-4", makePlainDevice(0x046d, 0xc077));
    startLauncher();
    m_bus.plug("1-1", makePlainDevice(0x12d1, 0x1002)); // the right vendor is not enough
    m_bus.plug("1-2", makePlainDevice(0x1001, 0x12d1));
    m_bus.unplug("1-1");
    plugMarker();
    expectStarts(0, 0);
    EXPECT_EQ(m_trace.count("ZevoLauncher::processDevice\n"), 0);
}

TEST_F(DeviceWatch, RemovalLeavesTheApplicationsAlone) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    unplugAndWait("1-1");
    plugMarker();
    expectStarts(1, 1);
    EXPECT_EQ(m_machine.processesOf(Bundle::mainApplication).size(), 1u);
    EXPECT_EQ(m_machine.processesOf(Bundle::notifier).size(), 1u);
}

TEST_F(DeviceWatch, ModemThatComesBackAfterTheApplicationsHaveQuitStartsThemAgain) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    unplugAndWait("1-1");
    quitEverything();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(2, 2);
    plugMarker();
    expectStarts(2, 2);
}

TEST_F(DeviceWatch, QuickReplugsAreAllSeen) {
    startLauncher();
    const int ROUNDS = 20;
    for (int round = 0; round < ROUNDS; ++round) {
        m_bus.plug("1-1", m_modem.modem);
        m_bus.unplug("1-1");
    }
    plugMarker();
    expectStarts(1, 1);
    EXPECT_EQ(m_trace.count("PnP called for onDeviceRemoval.\n"), ROUNDS);
}

TEST_F(DeviceWatch, OnlyTheNotifierIsStartedWhenTheMainApplicationRuns) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    plugMarker(); // the modem's last arrival is dealt with
    ASSERT_TRUE(m_machine.quit(Bundle::notifier));
    unplugAndWait("1-1");
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 2);
    EXPECT_TRUE(m_trace.waitFor("Executable already running : /Applications/Quillmarsh.app\n"));
    for (const StartReport& start : m_machine.startsOf(Bundle::notifier))
        EXPECT_THAT(start.values("environment"), Contains("PLATFORM_LAUNCH_HIDDEN=1"));
    plugMarker();
    expectStarts(1, 2);
}

TEST_F(DeviceWatch, OnlyTheMainApplicationIsStartedWhenTheNotifierRuns) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    plugMarker(); // the modem's last arrival is dealt with
    ASSERT_TRUE(m_machine.quit(Bundle::mainApplication));
    m_bus.plug("1-2", m_modem.modem);
    expectStarts(2, 1);
    plugMarker();
    expectStarts(2, 1);
}

TEST_F(DeviceWatch, MissingBundleIsTracedWithItsStatusAndTheLauncherGoesOn) {
    m_machine.removeBundle(Bundle::notifier);
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    ASSERT_TRUE(m_trace.waitFor(
        ">> [D] Start executable : /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app\n"));
    ASSERT_TRUE(m_trace.waitFor(">> [D] FSPathMakeRef failed : status = -43\n"));
    expectStarts(1, 0);
    m_machine.createBundle(Bundle::notifier);
    m_bus.plug("1-2", m_modem.modem);
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, BothBundlesMissingIsTracedForBoth) {
    m_machine.removeBundle(Bundle::mainApplication);
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    ASSERT_TRUE(m_trace.waitFor("Start executable : /Applications/Quillmarsh.app\n"));
    ASSERT_TRUE(m_trace.waitFor("FSPathMakeRef failed : status = -43\n"));
    ASSERT_TRUE(
        m_trace.waitFor("Start executable : /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app\n"));
    ASSERT_TRUE(m_trace.waitFor("FSPathMakeRef failed : status = -43\n"));
    plugMarker();
    expectStarts(0, 0);
}

TEST_F(DeviceWatch, BundleWithoutExecutableIsTracedWithItsStatusAndTheNotifierIsStartedAllTheSame) {
    unlink(m_machine.executableOf(Bundle::mainApplication).c_str());
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    ASSERT_TRUE(m_trace.waitFor("Start executable : /Applications/Quillmarsh.app\n"));
    ASSERT_TRUE(m_trace.waitFor(">> [E] LSOpenApplication failed : status = -10827\n"));
    expectStarts(0, 1);
}

TEST_F(DeviceWatch, TwoEqualModemsStartEachApplicationOnce) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    m_bus.plug("2-1", m_modem.modem);
    plugMarker();
    expectStarts(1, 1);
    unplugAndWait("1-1");
    quitEverything();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    expectStarts(2, 2);
}

// The services below a device are recognised by their paths: a watch of port 1-1 must not report those of
// port 1-10, nor those of an equal modem elsewhere.
TEST_F(DeviceWatch, ModemsAtPorts1And10DoNotAnswerForEachOther) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    const int arrivalsOfOne = arrivalsOf(m_modem.modem);
    m_bus.plug("1-10", m_modem.modem);
    plugMarker();
    EXPECT_EQ(arrivalsOf(m_modem.modem), 2 * arrivalsOfOne);
    unplugAndWait("1-1");
    unplugAndWait("1-10");
    EXPECT_EQ(m_trace.count("PnP called for onDeviceRemoval.\n"), 2);
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, ModemBehindAHubIsSeen) {
    startLauncher();
    m_bus.plug("1-3", makePlainDevice(0x05e3, 0x0608));
    m_bus.plug("1-3.2", m_modem.modem);
    expectStarts(1, 1);
}

TEST_F(DeviceWatch, EventsOfOtherKindsAreIgnored) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    const int arrivals = arrivalsOf(m_modem.modem);
    m_bus.announce("1-1", "change");
    m_bus.announce("1-1", "move");
    m_bus.announce("1-1", "online");
    m_bus.announce("1-1", "bind");
    plugMarker();
    EXPECT_EQ(arrivalsOf(m_modem.modem), arrivals);
    expectStarts(1, 1);
}

/// A point of the start-up, recognised by a text of the trace, at which the modem is plugged in.
struct StartPoint {
    const char* name;
    const char* traceText;
};

void PrintTo(const StartPoint& point, std::ostream* stream) {
    *stream << point.name;
}

class ModemPluggedIn : public LauncherTest, public testing::WithParamInterface<StartPoint> {};

TEST_P(ModemPluggedIn, WhileTheLauncherStartsIsLaunchedForOnce) {
    startLauncherWithoutWaiting();
    ASSERT_TRUE(m_trace.waitFor(GetParam().traceText));
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    plugMarker();
    expectStarts(1, 1);
}

const StartPoint START_POINTS[] = {
    {"BeforeItsFirstLine", ""},
    {"AtItsFirstLines", "Launching ZevoLauncher\n"},
    {"WhenInitialised", "ZevoLauncher::init\n"},
    {"WhenItRuns", "ZevoLauncher::run\n"},
    {"WhenItReadsItsConfiguration", "ZevoLauncherConfigReader::loadConfiguration\n"},
    {"BeforeItRegisters", "HWServicePnP::registerClient\n"},
    {"WhileItRegisters", "HWServicePnPIOKit::registerService\n"},
    {"OnceItHasRegistered", "<- HWServicePnPIOKit::registerService\n"},
    {"BeforeItLooks", "ZevoLauncher::isDeviceFound\n"},
    {"WhileItLooks", "HWServiceDetectionIOKit::getConnectedDevices\n"},
    {"OnceItHasLooked", "<- ZevoLauncher::isDeviceFound\n"},
};

INSTANTIATE_TEST_SUITE_P(, ModemPluggedIn, testing::ValuesIn(START_POINTS),
                         [](const auto& point) { return std::string(point.param.name); });

} // namespace
