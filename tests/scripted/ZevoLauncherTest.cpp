#include "ZevoLauncher.h"

#include "ExecutableFolder.h"
#include "HWServicePnP.h"
#include "LauncherConfiguration.h"
#include "OtherProcess.h"
#include "Script.h"
#include "ScriptedApplications.h"
#include "ScriptedRegistry.h"
#include "TextFile.h"
#include "TextOrder.h"
#include "TraceCapture.h"

#include <IOKit/IOMessage.h>

#include <stdexcept>

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

const char CD_ROM[] = "USB#Vid_12d1&Pid_1446";
const char MAIN[] = "/Applications/Quillmarsh.app";
const char NOTIFIER[] = "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app";

const char MAIN_STARTED[] = "LSOpenApplication(/Applications/Quillmarsh.app, 0x1)";
const char NOTIFIER_STARTED_HIDDEN[] =
    "LSOpenApplication(/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app, 0x100000)";

class ZevoLauncherTest : public ScriptedTest {
protected:
    ScriptedRegistry& registry() { return ScriptedRegistry::current(); }
    ScriptedApplications& applications() { return ScriptedApplications::current(); }
    std::vector<std::string> launches() { return script().callsOf("LSOpenApplication"); }

    ScriptedEntry& addDevice(int vendor, int product) {
        return registry()
            .add("device", "IOService:/usb@14000000")
            .with("idVendor", vendor)
            .with("idProduct", product);
    }

    /// Runs the launcher in a child process, because services and configuration exist once per process and
    /// are never destroyed. Writes the content, unless it is empty, into the launcher's configuration file.
    /// Calls `events` while the run loop runs, then `check`; neither may end the child process.
    template <typename Check>
    void run(const std::string& content, std::function<void()> events, Check check) {
        EXPECT_TRUE(inAnotherProcess([&] {
            if (!content.empty())
                writeFile(m_folder / "Launcher.cfg", content);
            registry().whileRunning = events;
            m_launcher.init();
            m_launcher.run();
            check();
            // The services own their notifications as long as the process lives.
            EXPECT_THAT(unreleased(),
                        testing::Each(testing::ContainsRegex("^(port$|iterator |interest in )")));
            return !HasFailure();
        }));
    }
    template <typename Check>
    void run(const std::string& content, Check check) {
        run(content, nullptr, check);
    }

    /// A device arrives; to be called while the run loop runs.
    void arrive(int vendor, int product) {
        registry().deliver(registry().notifications().at(0), {&addDevice(vendor, product)});
    }

    ExecutableFolder m_folder;
    ZevoLauncher m_launcher;
};

// ---- starting the applications

TEST_F(ZevoLauncherTest, StartsTheMainApplicationAndThenTheNotifierHidden) {
    m_launcher.processDevice();
    EXPECT_THAT(script().calls(),
                ElementsAre("GetNextProcess(first)", "FSPathMakeRef(/Applications/Quillmarsh.app)",
                            MAIN_STARTED, "GetNextProcess(first)",
                            "FSPathMakeRef(/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app)",
                            NOTIFIER_STARTED_HIDDEN));
}

TEST_F(ZevoLauncherTest, TracesWhatItStarts) {
    TraceCapture trace;
    m_launcher.processDevice();
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Start executable : /Applications/Quillmarsh.app\n"));
    EXPECT_THAT(
        trace.text(),
        HasSubstr(">> [D] Start executable : /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app\n"));
}

TEST_F(ZevoLauncherTest, WhatRunsAlreadyIsNotStartedAgainAndTraced) {
    TraceCapture trace;
    applications().addProcess(NOTIFIER);
    applications().addProcess(MAIN);
    m_launcher.processDevice();
    EXPECT_THAT(launches(), IsEmpty());
    EXPECT_THAT(script().callsOf("FSPathMakeRef"), IsEmpty());
    EXPECT_THAT(trace.text(),
                HasSubstr(">> [D] Executable already running : /Applications/Quillmarsh.app\n"));
    EXPECT_THAT(
        trace.text(),
        HasSubstr(
            ">> [D] Executable already running : /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app\n"));
}

TEST_F(ZevoLauncherTest, WithTheMainApplicationRunningOnlyTheNotifierIsStartedHidden) {
    applications().addProcess(MAIN);
    m_launcher.processDevice();
    EXPECT_THAT(launches(), ElementsAre(NOTIFIER_STARTED_HIDDEN));
}

TEST_F(ZevoLauncherTest, WithTheNotifierRunningOnlyTheMainApplicationIsStarted) {
    applications().addProcess(NOTIFIER);
    m_launcher.processDevice();
    EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED));
}

TEST_F(ZevoLauncherTest, NoLaunchIsRememberedSoTheNextTriggerLooksAgain) {
    applications().launchedApplicationsRun = true;
    m_launcher.processDevice();
    m_launcher.processDevice();
    EXPECT_EQ(launches().size(), 2u);
    applications().quitAll();
    m_launcher.processDevice();
    EXPECT_EQ(launches().size(), 4u);
}

TEST_F(ZevoLauncherTest, AFailedReferenceIsTracedAtLevelOneAndTheNextBundleIsStillHandled) {
    TraceCapture trace;
    applications().referenceStatus[MAIN] = -43;
    m_launcher.processDevice();
    EXPECT_THAT(launches(), ElementsAre(NOTIFIER_STARTED_HIDDEN));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] FSPathMakeRef failed : status = -43\n"));
}

TEST_F(ZevoLauncherTest, AFailedLaunchIsTracedAtLevelTwoAndTheNextBundleIsStillHandled) {
    TraceCapture trace;
    applications().launchStatus[MAIN] = -10827;
    applications().launchStatus[NOTIFIER] = -10810;
    m_launcher.processDevice();
    EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN));
    EXPECT_THAT(trace.text(), AllOf(HasSubstr(">> [E] LSOpenApplication failed : status = -10827\n"),
                                    HasSubstr(">> [E] LSOpenApplication failed : status = -10810\n")));
}

// ---- running processes

TEST_F(ZevoLauncherTest, AskingForAProcessMakesTheseCallsInTheirOrder) {
    applications().addProcess("/Applications/Other.app");
    applications().addProcess(MAIN);
    applications().addProcess("/Applications/Unasked.app");
    EXPECT_TRUE(m_launcher.isProcessRunning(MAIN));
    EXPECT_THAT(script().calls(),
                ElementsAre("GetNextProcess(first)", "ProcessInformationCopyDictionary(1, 0xffffffff)",
                            "GetNextProcess(next)", "ProcessInformationCopyDictionary(2, 0xffffffff)"));
}

TEST_F(ZevoLauncherTest, TheEndOfTheListIsNotFound) {
    applications().addProcess("/Applications/Other.app");
    EXPECT_FALSE(m_launcher.isProcessRunning(MAIN));
    EXPECT_EQ(script().callsOf("GetNextProcess").size(), 2u);
}

TEST_F(ZevoLauncherTest, ErrorsOtherThanTheEndOfTheListAreDeliberatelyAskedAgain) {
    applications().addError(-50);
    applications().addError(-1);
    applications().addProcess("/Applications/Other.app");
    applications().addError(-609);
    applications().addProcess(MAIN);
    EXPECT_TRUE(m_launcher.isProcessRunning(MAIN));
    EXPECT_EQ(script().callsOf("GetNextProcess").size(), 5u);
    EXPECT_EQ(script().callsOf("ProcessInformationCopyDictionary").size(), 2u);
}

TEST_F(ZevoLauncherTest, AThousandErrorsBeforeTheEndAreOutlasted) {
    for (int i = 0; i < 1000; ++i)
        applications().addError(-50);
    EXPECT_FALSE(m_launcher.isProcessRunning(MAIN));
    EXPECT_EQ(script().callsOf("GetNextProcess").size(), 1001u);
}

TEST_F(ZevoLauncherTest, BundlePathsAreComparedExactlyAndByLetterCase) {
    applications().addProcess("/applications/quillmarsh.app");
    applications().addProcess("/Applications/Quillmarsh.app/");
    applications().addProcess("/Applications/Quillmarsh");
    applications().addProcess(NOTIFIER);
    EXPECT_FALSE(m_launcher.isProcessRunning(MAIN));
}

TEST_F(ZevoLauncherTest, ProcessesWithoutInformationOrBundlePathAreSkipped) {
    applications().addVanishedProcess();
    applications().addProcessWithout("BundlePath");
    applications().addProcess(MAIN);
    EXPECT_TRUE(m_launcher.isProcessRunning(MAIN));
}

TEST_F(ZevoLauncherTest, ABundlePathThatIsNoTextIsSkipped) {
    applications().addProcessWithNumberFor("BundlePath");
    EXPECT_FALSE(m_launcher.isProcessRunning(MAIN));
}

// ---- arrivals

TEST_F(ZevoLauncherTest, AnArrivalWithoutConfigurationStartsNothing) {
    TraceCapture trace;
    std::string hid = MODEM;
    m_launcher.onDeviceArrival(hid);
    EXPECT_THAT(script().calls(), IsEmpty());
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Detected hardware id : USB#Vid_12d1&Pid_1001\n"));
}

TEST_F(ZevoLauncherTest, AnArrivalTracesWhatCameAndWhatWasExpectedInThisOrder) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            TraceCapture trace;
            std::string hid = "USB#Vid_0001&Pid_0002";
            m_launcher.onDeviceArrival(hid);
            const std::string text = trace.text();
            const size_t detected = text.find(">> [D] Detected hardware id : USB#Vid_0001&Pid_0002\n");
            const size_t modem = text.find(">> [D] expected modem hardware id : USB#Vid_12d1&Pid_1001\n");
            const size_t cdRom = text.find(">> [D] expected cdrom hardware id : USB#Vid_12d1&Pid_1446\n");
            EXPECT_LT(detected, modem);
            EXPECT_LT(modem, cdRom);
            EXPECT_NE(std::string::npos, cdRom);
        });
}

TEST_F(ZevoLauncherTest, TheArrivingModemStartsTheApplications) {
    applications().launchedApplicationsRun = true;
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM), [&] { arrive(0x12D1, 0x1001); },
        [&] { EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN)); });
}

TEST_F(ZevoLauncherTest, TheArrivingCdRomPersonalityStartsTheApplicationsExactlyAsTheModemDoes) {
    applications().launchedApplicationsRun = true;
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM), [&] { arrive(0x12D1, 0x1446); },
        [&] { EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN)); });
}

TEST_F(ZevoLauncherTest, BothPersonalitiesOneAfterTheOtherStartTheApplicationsOnce) {
    applications().launchedApplicationsRun = true;
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            arrive(0x12D1, 0x1446);
            registry().send(registry().notifications().at(1), kIOMessageServiceIsTerminated);
            arrive(0x12D1, 0x1001);
        },
        [&] { EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN)); });
}

TEST_F(ZevoLauncherTest, AForeignDeviceStartsNothing) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM), [&] { arrive(0x0001, 0x0002); },
        [&] { EXPECT_THAT(launches(), IsEmpty()); });
}

TEST_F(ZevoLauncherTest, AnIdThatDiffersOnlyInLetterCaseStartsTheApplications) {
    applications().launchedApplicationsRun = true;
    run(
        launcherConfiguration("usb#VID_12D1&PID_1001", MODEM, CD_ROM), [&] { arrive(0x12D1, 0x1001); },
        [&] { EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN)); });
}

TEST_F(ZevoLauncherTest, ARemovalHasNoEffectAndALaterArrivalStartsWhatHasQuit) {
    applications().launchedApplicationsRun = true;
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            arrive(0x12D1, 0x1001);
            script().forgetCalls();
            registry().send(registry().notifications().at(1), kIOMessageServiceIsTerminated);
            EXPECT_THAT(script().callsOf("GetNextProcess"), IsEmpty());
            applications().quitAll();
            arrive(0x12D1, 0x1001);
        },
        [&] { EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN)); });
}

TEST_F(ZevoLauncherTest, AnEmptyArrivingIdMatchesAnEmptyConfiguredOne) {
    std::string hid;
    m_launcher.onDeviceArrival(hid);
    EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN));
}

TEST_F(ZevoLauncherTest, VolumeNotificationsAndRemovalsDoNothing) {
    TraceCapture trace;
    HWServicePnPClient& client = m_launcher;
    std::string text = MODEM;
    client.onDeviceRemoval(text);
    client.onVolumeArrival(text);
    client.onVolumeRemoval(text);
    EXPECT_THAT(script().calls(), IsEmpty());
    EXPECT_THAT(trace.text(), IsEmpty());
}

// ---- searching for a modem that is already there

TEST_F(ZevoLauncherTest, TheIdToFindIsComparedInDecimal) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            TraceCapture trace;
            registry().matches = {{&addDevice(4817, 4097)}};
            EXPECT_TRUE(m_launcher.isDeviceFound());
            EXPECT_THAT(trace.text(), AllOf(HasSubstr(">> [D]  hardware id to be found : 4817|4097\n"),
                                            HasSubstr(">> [D] Device found in Modem list.\n")));
        });
}

TEST_F(ZevoLauncherTest, AnotherDeviceIsNotFoundAndNoMessageSaysSo) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            TraceCapture trace;
            registry().matches = {{&addDevice(4817, 4098), &addDevice(48, 174097)}};
            EXPECT_FALSE(m_launcher.isDeviceFound());
            EXPECT_THAT(trace.text(), Not(HasSubstr("Device found")));
        });
}

struct IdToFind {
    const char* name;
    const char* configured;
    const char* rewritten;
};

class IdToFindTest : public ZevoLauncherTest, public testing::WithParamInterface<IdToFind> {};

TEST_P(IdToFindTest, IsRewrittenToDecimalNumbers) {
    run(
        launcherConfiguration(MODEM, GetParam().configured, CD_ROM),
        [&] {
            TraceCapture trace;
            m_launcher.isDeviceFound();
            EXPECT_THAT(trace.text(),
                        HasSubstr(std::string(" hardware id to be found : ") + GetParam().rewritten + "\n"));
        });
}

INSTANTIATE_TEST_SUITE_P(
    All, IdToFindTest,
    testing::Values(IdToFind{"AsItShouldBe", "USB#Vid_12d1&Pid_1001", "4817|4097"},
                    IdToFind{"UpperCaseDigits", "USB#Vid_12D1&Pid_100A", "4817|4106"},
                    // Without markers, the position overflows and becomes 3; "#VID" is no number.
                    IdToFind{"UpperCaseMarkersAreDeliberatelyNotFound", "USB#VID_12D1&PID_1001", "0|0"},
                    IdToFind{"WithoutMarkersTheFourCharactersFromPositionThreeAreTakenOnPurpose",
                             "xxx12d1yyy", "4817|4817"},
                    IdToFind{"OnlyOneMarker", "USBabcdVid_0001", "1|43981"},
                    IdToFind{"TheFirstMarkerCounts", "Vid_0001Vid_0002Pid_0003", "1|3"},
                    IdToFind{"ATextThatEndsFirst", "Pid_0001Vid_2", "2|1"},
                    IdToFind{"ATextThatEndsAtTheMarker", "Pid_0001Vid_", "0|1"},
                    IdToFind{"DigitsUpToTheFirstOther", "Vid_1g00Pid_00-1", "1|0"},
                    IdToFind{"NoDigitAtAll", "Vid_ghijPid_0001", "0|1"}),
    [](const testing::TestParamInfo<IdToFind>& test) { return test.param.name; });

class ShortIdTest : public ZevoLauncherTest, public testing::WithParamInterface<const char*> {};

TEST_P(ShortIdTest, LeavesRunAsAnOutOfRangeErrorOnPurpose) {
    EXPECT_TRUE(inAnotherProcess([&] {
        writeFile(m_folder / "Launcher.cfg", launcherConfiguration(MODEM, GetParam(), CD_ROM));
        EXPECT_THROW(m_launcher.run(), std::out_of_range);
        EXPECT_THAT(script().calls(), IsEmpty());
        return !HasFailure();
    }));
}

INSTANTIATE_TEST_SUITE_P(All, ShortIdTest, testing::Values("", "US"));

TEST_F(ZevoLauncherTest, AnIdOfThreeCharactersIsJustLongEnough) {
    run(
        launcherConfiguration(MODEM, "USB", CD_ROM), [&] { EXPECT_FALSE(m_launcher.isDeviceFound()); });
}

// ---- waking up

TEST_F(ZevoLauncherTest, WakingUpWithTheModemThereStartsTheApplications) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            registry().matches = {{&addDevice(4817, 4097)}};
            m_launcher.onResumeStandbyMode();
            EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN));
        });
}

TEST_F(ZevoLauncherTest, WakingUpWithoutTheModemStartsNothingAndIsNotTracedByItself) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            TraceCapture trace;
            m_launcher.onResumeStandbyMode();
            EXPECT_THAT(launches(), IsEmpty());
            EXPECT_THAT(trace.text(), AllOf(Not(HasSubstr("onResumeStandbyMode")),
                                            HasSubstr("ZevoLauncher::isDeviceFound")));
        });
}

// ---- the whole run

TEST_F(ZevoLauncherTest, RunRegistersThenLooksForTheModemThenRunsTheLoop) {
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM),
        [&] {
            EXPECT_THAT(
                script().calls(),
                ElementsAre(
                    "IOServiceMatching(IOUSBDevice)", "IONotificationPortCreate(default)",
                    "IONotificationPortGetRunLoopSource(port)",
                    "CFRunLoopAddSource(current, source, common modes)",
                    "IOServiceAddMatchingNotification(port, IOServiceMatched, IOProviderClass=IOUSBDevice)",
                    "IOIteratorNext(iterator 1) = none", "IONotificationPortGetMachPort(port)",
                    "IOServiceMatching(IOUSBDevice)",
                    "IOServiceGetMatchingServices(IOProviderClass=IOUSBDevice)",
                    "IOIteratorNext(iterator 2) = none", "IOObjectRelease(iterator 2)", "CFRunLoopRun()"));
        });
}

TEST_F(ZevoLauncherTest, AModemThatIsThereAtStartStartsTheApplicationsOnceBeforeTheLoop) {
    ScriptedEntry& modem = addDevice(0x12D1, 0x1001);
    // For the notification of devices, for that of the modem's children, and for the search.
    registry().matches = {{&modem}, {&modem}, {&modem}};
    run(launcherConfiguration(MODEM, MODEM, CD_ROM), [&] {
        EXPECT_THAT(launches(), ElementsAre(MAIN_STARTED, NOTIFIER_STARTED_HIDDEN));
        EXPECT_EQ(script().calls().back(), "CFRunLoopRun()");
    });
}

TEST_F(ZevoLauncherTest, WithoutAConfigurationTheErrorsAreTracedAndTheRunGoesOn) {
    TraceCapture trace;
    run("", [&] {
        EXPECT_EQ(script().calls().back(), "CFRunLoopRun()");
        std::string hid = MODEM;
        m_launcher.onDeviceArrival(hid);
        EXPECT_THAT(launches(), IsEmpty());
    });
    EXPECT_TRUE(standInOrder(
        trace.text(),
        {">> [E] Error accessing ZevoLauncher parameters.\n",
         ">> [E] Configuration File Manager Exception : CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND on "
         "file product/Application/ZevoLauncher/src/ZevoLauncherConfigReader at line 133\n"}))
        << trace.text();
    EXPECT_THAT(trace.text(), HasSubstr(">> [D]  hardware id to be found : \n"));
}

TEST_F(ZevoLauncherTest, AConfigurationThatIsNoPropertyListIsTracedAndTheRunGoesOn) {
    TraceCapture trace;
    run("no property list\n", [&] { EXPECT_EQ(script().calls().back(), "CFRunLoopRun()"); });
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] Error accessing ZevoLauncher parameters.\n"));
}

TEST_F(ZevoLauncherTest, InitialisesTheServicesAndAsksForTheIdsInThisOrder) {
    TraceCapture trace;
    run(launcherConfiguration(MODEM, MODEM, CD_ROM), [] {});
    EXPECT_TRUE(standInOrder(trace.text(), {"HWServiceDetectionIOKit::init\n", "HWServicePnPIOKit::init\n",
                                            "ZevoLauncherConfigReader::getModemHIdToDetect\n",
                                            "ZevoLauncherConfigReader::getCdRomHIdToDetect\n",
                                            "ZevoLauncherConfigReader::getModemHIdToFind\n"}))
        << trace.text();
}

TEST_F(ZevoLauncherTest, ItsEndDeliberatelyUnregistersNothing) {
    EXPECT_TRUE(inAnotherProcess([&] {
        writeFile(m_folder / "Launcher.cfg", launcherConfiguration(MODEM, MODEM, CD_ROM));
        {
            ZevoLauncher launcher;
            launcher.init();
            launcher.run();
            script().forgetCalls();
        }
        EXPECT_THAT(script().calls(), IsEmpty());
        return !HasFailure();
    }));
}

TEST_F(ZevoLauncherTest, EachOfTheseOperationsIsTraced) {
    TraceCapture trace;
    { ZevoLauncher another; }
    run(
        launcherConfiguration(MODEM, MODEM, CD_ROM), [&] { arrive(0x12D1, 0x1001); }, [] {});
    for (const char* name :
         {"ZevoLauncher::constructor", "ZevoLauncher::destructor", "ZevoLauncher::init", "ZevoLauncher::run",
          "ZevoLauncher::onDeviceArrival", "ZevoLauncher::isDeviceFound", "ZevoLauncher::processDevice"})
        EXPECT_THAT(trace.text(), HasSubstr(std::string(name) + "\n"));
}

} // namespace
