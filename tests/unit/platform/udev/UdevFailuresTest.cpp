#include "FeedTest.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class UdevFailures : public FeedTest {
protected:
    /// Starts, or pumps; returns what that writes on standard error.
    std::string StartSays() {
        testing::internal::CaptureStderr();
        start();
        return testing::internal::GetCapturedStderr();
    }
    std::string PumpSays() {
        testing::internal::CaptureStderr();
        m_feed.pump(m_devices);
        return testing::internal::GetCapturedStderr();
    }
};

} // namespace

TEST_F(UdevFailures, LostEventsAreMadeUpForByLookingAgain) {
    const std::string leaves = m_bus.AddUsbDevice("1-1", "12d1", "1001", {}, {{"product", "leaves"}});
    const std::string interface = m_bus.AddInterface(leaves, "1-1:1.0");
    m_bus.AddUsbDevice("1-2", "12d1", "1002", {}, {{"product", "stays"}});
    start();
    TakeEvents();
    m_bus.remove(interface);
    m_bus.remove(leaves);
    m_bus.AddUsbDevice("1-3", "12d1", "1003", {}, {{"product", "arrives"}});
    LoseEvents();
    EXPECT_THAT(PumpSays(), HasSubstr("device events were lost; looking at all devices again"));
    EXPECT_THAT(TakeEvents(), ElementsAre("-IOUSBInterface", "-leaves", "+arrives"));
}

TEST_F(UdevFailures, EventsAfterALossAreNotLost) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().receiveFails = {ENOBUFS};
    EXPECT_THAT(PumpSays(), HasSubstr("lost"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem")) << "once, by the event or by the look";
    m_bus.AddUsbDevice("1-2", "12d1", "1002");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ADevicePluggedInAgainInTheGapIsRemovedAndArrives) {
    const std::string device =
        m_bus.AddUsbDevice("1-1", "12d1", "1001", {{"DEVNUM", "007"}}, {{"devnum", "7"}});
    m_bus.AddInterface(device, "1-1:1.0");
    start();
    TakeEvents();
    m_bus.SetProperty(device, "DEVNUM", "008");
    m_bus.SetAttribute(device, "devnum", "8");
    LoseEvents();
    PumpSays();
    EXPECT_THAT(TakeEvents(), ElementsAre("-IOUSBInterface", "-Modem", "+Modem", "+IOUSBInterface"));
}

// The messages around them are read, however many of them there are.
TEST_F(UdevFailures, MessagesThatCannotBeReadArePassedOver) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    start();
    TakeEvents();
    for (int round = 0; round < 10; ++round) {
        for (int message = 0; message < 8; ++message) // the socket holds ten
            m_bus.Announce(device, "frobnicate");
        EXPECT_EQ(PumpSays(), "");
    }
    for (const std::string& message :
         {std::string(), std::string("x"), std::string(100, 'x'), std::string(5000, '\0')})
        m_bus.Send(message);
    m_bus.AddUsbDevice("1-2", "12d1", "1002");
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(MockedUdev::get().monitors, 1);
}

TEST_F(UdevFailures, AnyNumberOfMessagesThatCannotBeReadIsPassedOverAtOnce) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    for (const int error : {EBADMSG, EINVAL, ENOENT, EIO, 0}) // 0: libudev filters the message out
        MockedUdev::get().refusals.insert(MockedUdev::get().refusals.end(), 50, error);
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, AMessageThatIsNotOfInterestIsNotTakenForAnEarlierFailure) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().receiveFails = {ENOBUFS};
    MockedUdev::get().refusals.assign(50, MockedUdev::SILENT);
    EXPECT_EQ(PumpSays(), "IOKit: device events were lost; looking at all devices again\n");
    EXPECT_EQ(MockedUdev::get().monitors, 1);
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, AnEventThatThereIsNoMemoryForIsLost) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().refusals = {ENOMEM};
    EXPECT_THAT(PumpSays(), HasSubstr("lost"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ADeviceThatThereIsNoMemoryToLookAtIsLookedAtAgain) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().looksFail = {ENOMEM};
    EXPECT_EQ(StartSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ADeviceThatThereIsNoMemoryToDescribeIsLookedAtAgain) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().subsystemsFail = {ENOMEM};
    EXPECT_EQ(StartSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

// If libudev has no memory for a line of the device's uevent file, it skips the line, and that property is
// missing.
TEST_F(UdevFailures, ADeviceWhoseFileWasReadInPartIsLookedAtAgain) {
    m_bus.AddPort(m_bus.AddInterface(m_bus.AddUsbDevice("1-1", "12d1", "1001"), "1-1:1.0"), "ttyUSB0");
    MockedUdev::get().typesFail = {ENOENT, ENOENT};
    EXPECT_EQ(StartSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "+IOUSBInterface", "+ttyUSB0"));
    m_devices.leaveAll();
    TakeEvents();
    MockedUdev::get().nodesFail = {ENOENT, ENOENT};
    EXPECT_EQ(StartSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "+IOUSBInterface", "+ttyUSB0"));
    EXPECT_EQ(textOf(Service("ttyUSB0"), "IOCalloutDevice"), "/dev/ttyUSB0");
}

TEST_F(UdevFailures, AnEventOfADeviceThatIsNotBelowUsbIsNotALostOne) {
    start();
    m_bus.AddPort("", "ttyS9");
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

// The kernel wakes no process for an event that its filter drops.
TEST_F(UdevFailures, OnlyEventsOfThreeSubsystemsAreReceived) {
    start();
    EXPECT_THAT(MockedUdev::get().filters, ElementsAre("usb", "tty", "net"));
}

TEST_F(UdevFailures, ANetworkCardIsCompleteWithoutADeviceFile) {
    m_bus.AddNetworkCard(m_bus.AddInterface(m_bus.AddUsbDevice("1-1", "12d1", "1001"), "1-1:1.0"), "wwan0");
    EXPECT_EQ(StartSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "+IOUSBInterface", "+wwan0"));
}

TEST_F(UdevFailures, AnEventThatThereIsNoMemoryToReadIsLost) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().subsystemsFail = {ENOMEM};
    EXPECT_THAT(PumpSays(), HasSubstr("lost"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ADeviceThatCannotBeLookedAtIsSaidAndLookedAtWithTheNextEvent) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().looksFail = {EMFILE, EMFILE, EMFILE};
    testing::internal::CaptureStderr();
    m_feed.start(m_devices);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "IOKit: cannot look at all devices (Too many open files); trying again with the next event\n");
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, WhatCannotBeLookedAtLaterHasNotLeft) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001", {}, {{"product", "stays"}});
    start();
    TakeEvents();
    LoseEvents();
    MockedUdev::get().looksFail = {ENOMEM, ENOMEM, ENOMEM};
    EXPECT_THAT(PumpSays(), HasSubstr("cannot look at all devices (Cannot allocate memory)"));
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(UdevFailures, ADeviceThatHasJustGoneIsNotLookedAtAgain) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().looksFail = {ENODEV};
    EXPECT_EQ(StartSays(), "");
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(UdevFailures, WhereEventsAreLostAgainAndAgainTheLoopComesRoundBetween) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    for (int loss = 0; loss < 5; ++loss)
        MockedUdev::get().receiveFails.insert(MockedUdev::get().receiveFails.end(), {ENOBUFS, EAGAIN});
    const std::string lost = "IOKit: device events were lost; looking at all devices again\n";
    EXPECT_EQ(PumpSays(), lost + lost + lost);
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(PumpSays(), lost + lost);
    EXPECT_EQ(PumpSays(), "");
}

TEST_F(UdevFailures, AnInterruptedReadIsRepeated) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().receiveFails.assign(1000, EINTR);
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ABrokenMonitorIsReplacedByANewOne) {
    const std::string leaves = m_bus.AddUsbDevice("1-1", "12d1", "1001", {}, {{"product", "leaves"}});
    start();
    TakeEvents();
    m_bus.forget(leaves);
    MockedUdev::get().receiveFails.assign(16, EIO);
    EXPECT_EQ(PumpSays(),
              "IOKit: the connection to udev is broken (Input/output error); making a new one and looking at "
              "all devices again\n");
    EXPECT_THAT(TakeEvents(), ElementsAre("-leaves")) << "what happened in the gap";
    EXPECT_TRUE(m_feed.hears());
    m_bus.AddUsbDevice("1-2", "12d1", "1002");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem"));
    EXPECT_EQ(MockedUdev::get().monitors, 2);
}

TEST_F(UdevFailures, AMonitorThatDoesNothingButLoseEventsIsReplacedToo) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().receiveFails.assign(16, ENOBUFS);
    EXPECT_THAT(PumpSays(), HasSubstr("the connection to udev is broken (No buffer space available)"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_TRUE(m_feed.hears());
}

TEST_F(UdevFailures, AMonitorThatBreaksNowAndThenIsReplacedEachTime) {
    start();
    for (int round = 0; round < 20; ++round) {
        MockedUdev::get().receiveFails.assign(16, EIO);
        PumpSays();
        m_bus.AddUsbDevice("1-" + std::to_string(round + 1), "12d1", "1001");
        EXPECT_THAT(Pumped(), ElementsAre("+Modem"));
    }
}

TEST_F(UdevFailures, WhereEveryNewMonitorIsBrokenTooItIsGivenUpAndSaid) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    start();
    MockedUdev::get().receiveFails.assign(1000, EIO);
    PumpSays();
    EXPECT_THAT(PumpSays(), HasSubstr("udev cannot be listened to any more (Input/output error)"));
    EXPECT_EQ(MockedUdev::get().monitors, 4);
    EXPECT_EQ(m_feed.descriptor(), -1);
    EXPECT_FALSE(m_feed.hears());
    EXPECT_TRUE(m_devices.knows(device)) << "what is known stays known";
    EXPECT_EQ(PumpSays(), "");
}

TEST_F(UdevFailures, WhereNoNewMonitorCanBeMadeThatIsSaid) {
    start();
    MockedUdev::get().receiveFails.assign(16, EIO);
    MockedUdev::get().monitorFails = EMFILE;
    EXPECT_THAT(PumpSays(), HasSubstr("cannot listen to udev (Too many open files)"));
    EXPECT_FALSE(m_feed.hears());
    EXPECT_EQ(m_feed.descriptor(), -1);
}

TEST_F(UdevFailures, WithoutUdevThereAreNoDevicesButAMessage) {
    MockedUdev::get().newFails = ENOMEM;
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(StartSays(), HasSubstr("udev cannot be used (Cannot allocate memory)"));
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_FALSE(m_feed.hears());
    EXPECT_EQ(m_feed.descriptor(), -1);
    EXPECT_EQ(PumpSays(), "");
}

TEST_F(UdevFailures, WithoutAMonitorTheDevicesThatAreThereAreSeen) {
    MockedUdev::get().monitorFails = EMFILE;
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(StartSays(), HasSubstr("cannot listen to udev (Too many open files)"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(m_feed.descriptor(), -1);
}

TEST_F(UdevFailures, AMonitorThatCannotBeEnabledIsReported) {
    MockedUdev::get().enableFails = EACCES;
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(StartSays(), HasSubstr("cannot listen to udev (Permission denied)"));
    EXPECT_FALSE(m_feed.hears());
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(m_feed.descriptor(), -1);
}

TEST_F(UdevFailures, WithoutTheDaemonTheLauncherIsTold) {
    MockedUdev::get().groups = 0;
    EXPECT_THAT(StartSays(), HasSubstr("the udev daemon is not running"));
    EXPECT_FALSE(m_feed.hears());
}

TEST_F(UdevFailures, WithoutTheDaemonTheLauncherIsToldAlsoWhereUdevListensAllTheSame) {
    MockedUdev::get().groups = 2;
    MockedUdev::get().isDaemonThere = false;
    EXPECT_THAT(StartSays(), HasSubstr("the udev daemon is not running"));
    EXPECT_FALSE(m_feed.hears());
}

TEST_F(UdevFailures, WithTheDaemonNothingIsSaid) {
    MockedUdev::get().groups = 2;
    EXPECT_EQ(StartSays(), "");
    EXPECT_TRUE(m_feed.hears());
}
