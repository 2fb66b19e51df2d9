#include "Dictionary.h"
#include "HWServicePnPClient.h"
#include "KernelMatching.h"
#include "MAC/HWServiceDetectionIOKit.h"
#include "MAC/HWServicePnPIOKit.h"

#include <CoreFoundation/CoreFoundation.h>
#include <LinuxPlatform.h>

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The services with the registry that the launcher uses on this host, and devices that the test adds itself.

using LinuxPlatform::Device;
using LinuxPlatform::DeviceKind;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char MODEM[] = "USB#Vid_12d1&Pid_1001";

class RecordingClient : public HWServicePnPClient {
public:
    void onResumeStandbyMode() override {}
    void onDeviceArrival(std::string& hid) override { arrivals.push_back(hid); }
    void onDeviceRemoval(std::string& hid) override { removals.push_back(hid); }

    std::vector<std::string> arrivals;
    std::vector<std::string> removals;
};

Device usbDevice(const std::string& port, int vendor, int product) {
    Device device;
    device.path = "/bus/" + port;
    device.name = "Device " + port;
    device.location = static_cast<std::uint32_t>(std::stoi(port.substr(port.find('-') + 1)));
    device.vendor = vendor;
    device.product = product;
    return device;
}

Device part(const Device& parent, DeviceKind kind, const std::string& name, std::uint32_t location) {
    Device device;
    device.kind = kind;
    device.path = parent.path + "/" + name;
    device.parent = parent.path;
    device.name = name;
    device.location = location;
    if (kind == DeviceKind::SerialPort)
        device.node = "/dev/" + name;
    return device;
}

class ServicesOverRegistryTest : public testing::Test {
protected:
    ServicesOverRegistryTest() {
        LinuxPlatform::useDevicesByHand();
        LinuxPlatform::allDevicesLeft();
        m_habits.matching = matchesAsKernel();
        LinuxPlatform::adoptHabits(m_habits);
        m_before = LinuxPlatform::countLiveObjects();
        m_service.registerClient(&m_client);
    }
    void TearDown() override {
        LinuxPlatform::allDevicesLeft();
        if (m_isRegistered) {
            deliver();
            m_service.unRegisterService();
        }
        EXPECT_EQ(LinuxPlatform::countLiveObjects(), m_before);
        LinuxPlatform::adoptHabits(LinuxPlatform::KernelHabits());
    }
    void refuseInterest() {
        m_habits.refusedInterest = true;
        LinuxPlatform::adoptHabits(m_habits);
    }
    /// A part below a device or an interface that the notification of the device's children delivers: an
    /// interface, by its ids, or a serial port if matching is the kernel's, which does not compare ids.
    static Device watchedPart(const Device& parent, const std::string& number) {
        return matchesAsKernel()
                   ? part(parent, DeviceKind::SerialPort, "tty" + number, 0x10u + std::stoul(number))
                   : part(parent, DeviceKind::UsbInterface, "if" + number, std::stoul(number));
    }
    void registerService() {
        m_service.registerService();
        m_isRegistered = true;
    }
    static void deliver() {
        while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource)
            continue;
    }
    static std::set<std::string> connected() {
        HWServiceDetectionIOKit detection;
        std::set<std::string> devices;
        detection.getConnectedDevices("USB", devices);
        return devices;
    }
    void arrive(const Device& device) {
        LinuxPlatform::deviceArrived(device);
        deliver();
    }

    LinuxPlatform::LiveObjects m_before;
    LinuxPlatform::KernelHabits m_habits;
    RecordingClient m_client;
    HWServicePnPIOKit m_service;
    bool m_isRegistered = false;
};

TEST_F(ServicesOverRegistryTest, ADeviceIsListedInDecimalWhileItIsThere) {
    EXPECT_THAT(connected(), IsEmpty());
    LinuxPlatform::deviceArrived(usbDevice("1-1", 0x12D1, 0x1401));
    EXPECT_THAT(connected(), ElementsAre("4817|5121"));
    LinuxPlatform::allDevicesLeft();
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_F(ServicesOverRegistryTest, AnArrivalIsToldOnceForTheDeviceAndOncePerServiceBelowItThatIsWatched) {
    registerService();
    const Device modem = usbDevice("1-1", 0x12D1, 0x1001);
    arrive(modem);
    const size_t forTheDevice = m_client.arrivals.size();
    EXPECT_EQ(forTheDevice, 2u) << "its watch finds itself, too";
    arrive(watchedPart(modem, "0"));
    arrive(watchedPart(modem, "1"));
    EXPECT_EQ(m_client.arrivals.size(), forTheDevice + 2);
    EXPECT_THAT(m_client.arrivals, Each(MODEM));
    EXPECT_THAT(m_client.removals, IsEmpty());
}

TEST_F(ServicesOverRegistryTest, ARemovalIsToldOnce) {
    registerService();
    const Device modem = usbDevice("1-1", 0x12D1, 0x1001);
    arrive(modem);
    arrive(part(modem, DeviceKind::UsbInterface, "if0", 0));
    LinuxPlatform::deviceLeft(modem.path);
    deliver();
    EXPECT_THAT(m_client.removals, ElementsAre(MODEM));
}

TEST_F(ServicesOverRegistryTest, WhatIsPresentAtRegistrationGivesNoArrivalButItsRemovalIsTold) {
    const Device modem = usbDevice("1-1", 0x12D1, 0x1001);
    LinuxPlatform::deviceArrived(modem);
    LinuxPlatform::deviceArrived(part(modem, DeviceKind::UsbInterface, "if0", 0));
    registerService();
    deliver();
    EXPECT_THAT(m_client.arrivals, IsEmpty());
    LinuxPlatform::deviceLeft(modem.path);
    deliver();
    EXPECT_THAT(m_client.removals, ElementsAre(MODEM));
}

TEST_F(ServicesOverRegistryTest, ADeviceWhosePathIsTooLongTakesNobodyElsesInterface) {
    registerService();
    std::string hub;
    for (int depth = 0; depth < 6; ++depth) { // each adds a name of a hundred characters to the path
        Device device = usbDevice("1-1", 1, depth);
        device.parent = hub;
        device.path = hub + "/hub";
        device.name = std::string(100, 'h');
        arrive(device);
        hub = device.path;
    }
    Device modem = usbDevice("1-2", 0x12D1, 0x1001);
    modem.parent = hub;
    arrive(modem);
    const Device equal = usbDevice("1-3", 0x12D1, 0x1001);
    arrive(equal);
    m_client.arrivals.clear();
    arrive(watchedPart(equal, "0"));
    EXPECT_THAT(m_client.arrivals, ElementsAre(MODEM)) << "once, for its own device";
}

TEST_F(ServicesOverRegistryTest, AnInterfaceOfAnEqualDeviceIsToldForItsOwnDeviceOnly) {
    registerService();
    const Device first = usbDevice("1-1", 0x12D1, 0x1001);
    const Device tenth = usbDevice("1-10", 0x12D1, 0x1001);
    arrive(first);
    arrive(tenth);
    m_client.arrivals.clear();
    arrive(watchedPart(tenth, "0"));
    EXPECT_THAT(m_client.arrivals, ElementsAre(MODEM));
}

TEST_F(ServicesOverRegistryTest, TheCdRomPersonalityLeavesAndTheModemArrives) {
    registerService();
    arrive(usbDevice("1-1", 0x12D1, 0x1446));
    m_client.arrivals.clear();
    LinuxPlatform::deviceChanged(usbDevice("1-1", 0x12D1, 0x1001));
    deliver();
    EXPECT_THAT(m_client.removals, ElementsAre("USB#Vid_12d1&Pid_1446"));
    EXPECT_THAT(m_client.arrivals, Each(MODEM));
    EXPECT_FALSE(m_client.arrivals.empty());
}

TEST_F(ServicesOverRegistryTest, DevicesThatComeAndGoBeforeTheLoopRunsAreToldBothAndLeaveNothingBehind) {
    registerService();
    const LinuxPlatform::LiveObjects idle = LinuxPlatform::countLiveObjects();
    for (int i = 0; i < 10; ++i) {
        LinuxPlatform::deviceArrived(usbDevice("1-1", 0x12D1, 0x1001));
        LinuxPlatform::deviceLeft("/bus/1-1");
    }
    deliver();
    EXPECT_EQ(m_client.arrivals.size(), 10u);
    EXPECT_EQ(m_client.removals.size(), 10u);
    EXPECT_EQ(LinuxPlatform::countLiveObjects(), idle);
}

TEST_F(ServicesOverRegistryTest, ADeviceThatHasLeftWhenItsEndIsAskedForIsToldOfAndLeavesNothingBehind) {
    registerService();
    const LinuxPlatform::LiveObjects idle = LinuxPlatform::countLiveObjects();
    refuseInterest();
    LinuxPlatform::deviceArrived(usbDevice("1-1", 0x12D1, 0x1001));
    LinuxPlatform::deviceLeft("/bus/1-1");
    deliver();
    EXPECT_THAT(m_client.arrivals, ElementsAre(MODEM));
    EXPECT_THAT(m_client.removals, IsEmpty()) << "nobody tells of it any more";
    EXPECT_EQ(LinuxPlatform::countLiveObjects(), idle);
}

TEST_F(ServicesOverRegistryTest, ADeviceThatIsMatchedAgainIsToldAgainAndEndsTwice) {
    registerService();
    const Device modem = usbDevice("1-1", 0x12D1, 0x1001);
    const LinuxPlatform::LiveObjects idle = LinuxPlatform::countLiveObjects();
    arrive(modem);
    m_client.arrivals.clear();
    LinuxPlatform::deviceMatchedAgain(modem.path);
    deliver();
    EXPECT_THAT(m_client.arrivals, ElementsAre(MODEM, MODEM, MODEM))
        << "for itself, by its first watch and by its new one";
    LinuxPlatform::deviceLeft(modem.path);
    deliver();
    EXPECT_THAT(m_client.removals, ElementsAre(MODEM, MODEM));
    EXPECT_EQ(LinuxPlatform::countLiveObjects(), idle);
}

TEST_F(ServicesOverRegistryTest, AModemIsToldOfAmongMoreServicesThanAnIteratorHolds) {
    const Device crowded = usbDevice("1-2", 1, 2);
    LinuxPlatform::deviceArrived(crowded);
    for (std::uint32_t number = 0; number < 1100; ++number) {
        const std::string name = "tty" + std::to_string(number);
        LinuxPlatform::deviceArrived(part(crowded, DeviceKind::SerialPort, name, number));
    }
    registerService();
    const Device modem = usbDevice("1-1", 0x12D1, 0x1001);
    arrive(modem);
    // If the many services have filled the iterator of the device's children, the device itself is missing
    // from it.
    EXPECT_THAT(m_client.arrivals, testing::SizeIs(matchesAsKernel() ? 1 : 2));
    EXPECT_THAT(m_client.arrivals, Each(MODEM));
    arrive(watchedPart(modem, "0"));
    EXPECT_THAT(m_client.arrivals, testing::SizeIs(matchesAsKernel() ? 2 : 3));
    LinuxPlatform::deviceLeft(modem.path);
    deliver();
    EXPECT_THAT(m_client.removals, ElementsAre(MODEM));
}

TEST_F(ServicesOverRegistryTest, AThousandArrivalsAndRemovalsLeaveNoObjectBehind) {
    registerService();
    const LinuxPlatform::LiveObjects idle = LinuxPlatform::countLiveObjects();
    for (int i = 0; i < 1000; ++i) {
        const Device modem = usbDevice("1-1", 0x12D1, 0x1001);
        arrive(modem);
        arrive(part(modem, DeviceKind::UsbInterface, "if0", 0));
        LinuxPlatform::deviceLeft(modem.path);
        deliver();
    }
    EXPECT_EQ(m_client.removals.size(), 1000u);
    EXPECT_EQ(LinuxPlatform::countLiveObjects(), idle);
}

TEST_F(ServicesOverRegistryTest, AServiceCanBeUnregisteredAndRegisteredAgain) {
    registerService();
    m_service.unRegisterService();
    LinuxPlatform::deviceArrived(usbDevice("1-1", 0x12D1, 0x1001));
    deliver();
    EXPECT_THAT(m_client.arrivals, IsEmpty());
    registerService();
    arrive(usbDevice("1-2", 0x12D1, 0x1002));
    EXPECT_THAT(m_client.arrivals, Each("USB#Vid_12d1&Pid_1002"));
    EXPECT_FALSE(m_client.arrivals.empty());
}

TEST_F(ServicesOverRegistryTest, TheModemsOwnPortsAndInterfaceAreFound) {
    const Device modem = usbDevice("1-1", 0x12D1, 0x1401);
    const Device interface = part(modem, DeviceKind::UsbInterface, "if0", 0);
    const Device other = usbDevice("1-2", 0x0001, 0x0002);
    LinuxPlatform::deviceArrived(modem);
    LinuxPlatform::deviceArrived(interface);
    LinuxPlatform::deviceArrived(part(interface, DeviceKind::SerialPort, "ttyUSB0", 0));
    LinuxPlatform::deviceArrived(part(interface, DeviceKind::SerialPort, "ttyUSB1", 1));
    LinuxPlatform::deviceArrived(part(interface, DeviceKind::NetworkInterface, "wwan0", 2));
    LinuxPlatform::deviceArrived(other);
    LinuxPlatform::deviceArrived(part(other, DeviceKind::SerialPort, "ttyUSB2", 0));
    LinuxPlatform::deviceArrived(part(other, DeviceKind::NetworkInterface, "usb0", 1));

    Dictionary description, result;
    description.addValue("VendorID", std::string("4817"));
    description.addValue("ProductID", std::string("5121"));
    description.addValue("PortHID", std::string("TTYUSB1"));
    description.addValue("ModemPortHID", std::string("usb0$"));
    description.addValue("NetworkAdapterHID", std::string("yes"));
    description.addValue("ModemHID", std::string("Modem"));
    HWServiceDetectionIOKit detection;
    detection.detectDeviceHID(description, result);
    EXPECT_STREQ("Modem", result.getValue(std::string("DetectedModemName")));
    EXPECT_STREQ("/dev/ttyUSB1", result.getValue(std::string("DetectedPortName")));
    EXPECT_STREQ("/dev/ttyUSB0", result.getValue(std::string("DetectedModemPortName")));
    EXPECT_STREQ("wwan0", result.getValue(std::string("DetectedNetworkAdapterName")));
}

} // namespace
