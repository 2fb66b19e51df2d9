#include "DeviceTree.h"
#include "DevicesByHand.h"

#include <algorithm>
#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A device tree for the test; records what the registry publishes and terminates, as "+name" and "-name".
class DeviceTrees : public DevicesByHandTest, private RegistryObserver {
protected:
    DeviceTrees() { m_registry.addObserver(*this); }
    ~DeviceTrees() override { m_registry.removeObserver(*this); }

    std::vector<std::string> TakeEvents() { return std::exchange(m_events, {}); }

    static Device Named(Device device, const std::string& name) {
        device.name = name;
        return device;
    }

    Registry m_registry;
    DeviceTree m_tree{m_registry};

private:
    void servicePublished(const EntryPointer& service) override { m_events.push_back("+" + service->name()); }
    void serviceTerminated(const EntryPointer& service) override {
        m_events.push_back("-" + service->name());
    }

    std::vector<std::string> m_events;
};

} // namespace

TEST_F(DeviceTrees, ADeviceToldTwiceArrivesOnce) {
    m_tree.arrive(UsbDevice("/1-1", 1, 2));
    m_tree.arrive(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_TRUE(m_tree.knows("/1-1"));
    EXPECT_FALSE(m_tree.knows("/1-2"));
}

TEST_F(DeviceTrees, AnotherDeviceAtTheSamePathReplacesTheOld) {
    m_tree.arrive(UsbDevice("/1-1", 0x12D1, 0x1446, "CD-ROM"));
    m_tree.arrive(Named(Interface("/1-1/0"), "storage"));
    m_tree.arrive(UsbDevice("/1-1", 0x12D1, 0x1001, "Modem"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+CD-ROM", "+storage", "-storage", "-CD-ROM", "+Modem"));
    EXPECT_FALSE(m_tree.knows("/1-1/0"));
}

TEST_F(DeviceTrees, AnEqualDeviceOfAnotherIncarnationReplacesTheOld) {
    Device device = UsbDevice("/1-1", 1, 2);
    device.incarnation = "3";
    m_tree.arrive(device);
    device.incarnation = "4";
    m_tree.arrive(device);
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "-Modem", "+Modem"));
    device.incarnation = "";
    m_tree.arrive(device);
    EXPECT_THAT(TakeEvents(), IsEmpty()) << "an unknown incarnation proves nothing";
}

TEST_F(DeviceTrees, ChildrenLeaveBeforeTheirParents) {
    m_tree.arrive(UsbDevice("/hub", 1, 1, "hub"));
    m_tree.arrive(UsbDevice("/hub/1-1", 1, 2, "modem"));
    m_tree.arrive(Named(Interface("/hub/1-1/0"), "interface"));
    m_tree.arrive(Port("/hub/1-1/0/tty", "port"));
    TakeEvents();
    m_tree.leave("/hub");
    EXPECT_THAT(TakeEvents(), ElementsAre("-port", "-interface", "-modem", "-hub"));
}

TEST_F(DeviceTrees, WhatArrivesBeforeItsParentWaitsForIt) {
    m_tree.arrive(Port("/1-1/0/tty", "port"));
    m_tree.arrive(Named(Interface("/1-1/0"), "interface"));
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_TRUE(m_tree.knows("/1-1/0/tty"));
    m_tree.arrive(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "+interface", "+port"));
}

TEST_F(DeviceTrees, OneThatWaitsCanLeave) {
    m_tree.arrive(Named(Interface("/1-1/0"), "interface"));
    m_tree.leave("/1-1/0");
    m_tree.arrive(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(DeviceTrees, AnUnknownPathLeavesUnnoticed) {
    m_tree.leave("/1-1");
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(DeviceTrees, AChangeOfNothingThatMattersChangesNothing) {
    m_tree.arrive(UsbDevice("/1-1", 1, 2));
    TakeEvents();
    m_tree.change(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(DeviceTrees, AChangeOfIdsIsARemovalAndAnArrivalWithAllThatHangsOnIt) {
    m_tree.arrive(UsbDevice("/1-1", 0x12D1, 0x1446, "CD-ROM"));
    m_tree.arrive(Named(Interface("/1-1/0"), "interface"));
    m_tree.arrive(Port("/1-1/0/tty", "port"));
    TakeEvents();
    m_tree.change(UsbDevice("/1-1", 0x12D1, 0x1001, "Modem"));
    EXPECT_THAT(TakeEvents(), ElementsAre("-port", "-interface", "-CD-ROM", "+Modem", "+interface", "+port"));
    const auto& services = m_registry.services();
    const auto interface = std::find_if(services.begin(), services.end(), [](const auto& service) {
        return service.second->name() == "interface";
    });
    ASSERT_NE(interface, services.end());
    EXPECT_EQ(*interface->second->findProperty("idProduct"), PropertyValue(0x1001));
}

TEST_F(DeviceTrees, AChangeOfAnUnknownDeviceIsItsArrival) {
    m_tree.change(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(DeviceTrees, ReconcilingDeliversTheDifference) {
    m_tree.arrive(UsbDevice("/1-1", 1, 1, "stays"));
    m_tree.arrive(UsbDevice("/1-2", 1, 2, "leaves", 2));
    m_tree.arrive(Named(Interface("/1-2/0"), "interface"));
    TakeEvents();
    m_tree.reconcile({UsbDevice("/1-3", 1, 3, "arrives", 3), UsbDevice("/1-1", 1, 1, "stays")});
    EXPECT_THAT(TakeEvents(), ElementsAre("-interface", "-leaves", "+arrives"));
}

TEST_F(DeviceTrees, ReconcilingKeepsWhatHangsOnAReplacedDeviceInAnyOrder) {
    m_tree.arrive(UsbDevice("/1-1", 0x12D1, 0x1446, "CD-ROM"));
    m_tree.arrive(Named(Interface("/1-1/0"), "interface"));
    TakeEvents();
    m_tree.reconcile({Named(Interface("/1-1/0"), "interface"), UsbDevice("/1-1", 0x12D1, 0x1001, "Modem")});
    EXPECT_THAT(TakeEvents(), ElementsAre("-interface", "-CD-ROM", "+Modem", "+interface"));
}

TEST_F(DeviceTrees, AllLeaveTogether) {
    m_tree.arrive(UsbDevice("/1-1", 1, 1, "first"));
    m_tree.arrive(Interface("/9-9/0"));
    m_tree.leaveAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("+first", "-first"));
    EXPECT_FALSE(m_tree.knows("/9-9/0"));
}
