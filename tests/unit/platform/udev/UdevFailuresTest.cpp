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
    /// What a Start or a Pump says on standard error.
    std::string StartSays() {
        testing::internal::CaptureStderr();
        Start();
        return testing::internal::GetCapturedStderr();
    }
    std::string PumpSays() {
        testing::internal::CaptureStderr();
        m_feed.Pump(m_devices);
        return testing::internal::GetCapturedStderr();
    }
};

} // namespace

TEST_F(UdevFailures, LostEventsAreMadeUpForByLookingAgain) {
    const std::string leaves = m_bus.AddUsbDevice("1-1", "12d1", "1001", {}, {{"product", "leaves"}});
    const std::string interface = m_bus.AddInterface(leaves, "1-1:1.0");
    m_bus.AddUsbDevice("1-2", "12d1", "1002", {}, {{"product", "stays"}});
    Start();
    TakeEvents();
    m_bus.Remove(interface);
    m_bus.Remove(leaves);
    m_bus.AddUsbDevice("1-3", "12d1", "1003", {}, {{"product", "arrives"}});
    LoseEvents();
    EXPECT_THAT(PumpSays(), HasSubstr("device events were lost; looking at all devices again"));
    EXPECT_THAT(TakeEvents(), ElementsAre("-IOUSBInterface", "-leaves", "+arrives"));
}

TEST_F(UdevFailures, EventsAfterALossAreNotLost) {
    Start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::Get().receiveFails = {ENOBUFS};
    EXPECT_THAT(PumpSays(), HasSubstr("lost"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem")) << "once, by the event or by the look";
    m_bus.AddUsbDevice("1-2", "12d1", "1002");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ADevicePluggedInAgainInTheGapIsRemovedAndArrives) {
    const std::string device =
        m_bus.AddUsbDevice("1-1", "12d1", "1001", {{"DEVNUM", "007"}}, {{"devnum", "7"}});
    m_bus.AddInterface(device, "1-1:1.0");
    Start();
    TakeEvents();
    m_bus.SetProperty(device, "DEVNUM", "008");
    m_bus.SetAttribute(device, "devnum", "8");
    LoseEvents();
    PumpSays();
    EXPECT_THAT(TakeEvents(), ElementsAre("-IOUSBInterface", "-Modem", "+Modem", "+IOUSBInterface"));
}

TEST_F(UdevFailures, AMessageThatUdevRefusesIsPassedOver) {
    Start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::Get().receiveFails = {EBADMSG};
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, AnEventThatThereIsNoMemoryForIsLost) {
    Start();
    MockedUdev::Get().receiveFails = {ENOMEM};
    EXPECT_THAT(PumpSays(), HasSubstr("lost"));
}

TEST_F(UdevFailures, WhereEventsAreLostAgainAndAgainTheLoopComesRoundBetween) {
    Start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    for (int loss = 0; loss < 5; ++loss)
        MockedUdev::Get().receiveFails.insert(MockedUdev::Get().receiveFails.end(), {ENOBUFS, EAGAIN});
    const std::string lost = "IOKit: device events were lost; looking at all devices again\n";
    EXPECT_EQ(PumpSays(), lost + lost + lost);
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(PumpSays(), lost + lost);
    EXPECT_EQ(PumpSays(), "");
}

TEST_F(UdevFailures, AMonitorThatDoesNothingButLoseEventsIsGivenUpAfterALastLook) {
    Start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::Get().receiveFails.assign(1000, ENOBUFS);
    EXPECT_THAT(PumpSays(),
                AllOf(HasSubstr("udev cannot be listened to any more (No buffer space available)"),
                      HasSubstr("device events were lost; looking at all devices again")));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(m_feed.Descriptor(), -1);
}

TEST_F(UdevFailures, AnInterruptedReadIsRepeated) {
    Start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::Get().receiveFails.assign(1000, EINTR);
    EXPECT_EQ(PumpSays(), "");
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFailures, ABrokenMonitorIsGivenUpWithAMessage) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    Start();
    MockedUdev::Get().receiveFails.assign(1000, EIO);
    EXPECT_THAT(PumpSays(), HasSubstr("udev cannot be listened to any more (Input/output error)"));
    EXPECT_EQ(m_feed.Descriptor(), -1);
    EXPECT_FALSE(m_feed.Hears());
    EXPECT_TRUE(m_devices.Knows(device)) << "what is known stays known";
    EXPECT_EQ(PumpSays(), "");
}

TEST_F(UdevFailures, WithoutUdevThereAreNoDevicesButAMessage) {
    MockedUdev::Get().newFails = ENOMEM;
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(StartSays(), HasSubstr("udev cannot be used (Cannot allocate memory)"));
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_FALSE(m_feed.Hears());
    EXPECT_EQ(m_feed.Descriptor(), -1);
    EXPECT_EQ(PumpSays(), "");
}

TEST_F(UdevFailures, WithoutAMonitorTheDevicesThatAreThereAreSeen) {
    MockedUdev::Get().monitorFails = EMFILE;
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(StartSays(), HasSubstr("cannot listen to udev (Too many open files)"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(m_feed.Descriptor(), -1);
}

TEST_F(UdevFailures, AMonitorThatCannotBeEnabledIsReported) {
    MockedUdev::Get().enableFails = EACCES;
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(StartSays(), HasSubstr("cannot listen to udev (Permission denied)"));
    EXPECT_FALSE(m_feed.Hears());
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_EQ(m_feed.Descriptor(), -1);
}

TEST_F(UdevFailures, WithoutTheDaemonTheLauncherIsTold) {
    MockedUdev::Get().groups = 0;
    EXPECT_THAT(StartSays(), HasSubstr("the udev daemon is not running"));
    EXPECT_FALSE(m_feed.Hears());
}

TEST_F(UdevFailures, WithoutTheDaemonTheLauncherIsToldAlsoWhereUdevListensAllTheSame) {
    MockedUdev::Get().groups = 2;
    MockedUdev::Get().isDaemonThere = false;
    EXPECT_THAT(StartSays(), HasSubstr("the udev daemon is not running"));
    EXPECT_FALSE(m_feed.Hears());
}

TEST_F(UdevFailures, WithTheDaemonNothingIsSaid) {
    MockedUdev::Get().groups = 2;
    EXPECT_EQ(StartSays(), "");
    EXPECT_TRUE(m_feed.Hears());
}
