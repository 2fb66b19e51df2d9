#include "DeviceTree.h"
#include "DevicesByHand.h"

#include <algorithm>
#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Devices told to a tree of its own; notes what the registry publishes and terminates, as "+name" and
/// "-name".
class DeviceTrees : public DevicesByHandTest, private RegistryObserver {
protected:
    DeviceTrees() { m_registry.AddObserver(*this); }
    ~DeviceTrees() override { m_registry.RemoveObserver(*this); }

    std::vector<std::string> TakeEvents() { return std::exchange(m_events, {}); }

    static Device Named(Device device, const std::string& name) {
        device.name = name;
        return device;
    }

    Registry m_registry;
    DeviceTree m_tree{m_registry};

private:
    void ServicePublished(const EntryPointer& service) override { m_events.push_back("+" + service->Name()); }
    void ServiceTerminated(const EntryPointer& service) override {
        m_events.push_back("-" + service->Name());
    }

    std::vector<std::string> m_events;
};

} // namespace

TEST_F(DeviceTrees, ADeviceToldTwiceArrivesOnce) {
    m_tree.Arrive(UsbDevice("/1-1", 1, 2));
    m_tree.Arrive(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_TRUE(m_tree.Knows("/1-1"));
    EXPECT_FALSE(m_tree.Knows("/1-2"));
}

TEST_F(DeviceTrees, AnotherDeviceAtTheSamePathReplacesTheOld) {
    m_tree.Arrive(UsbDevice("/1-1", 0x12D1, 0x1446, "CD-ROM"));
    m_tree.Arrive(Named(Interface("/1-1/0"), "storage"));
    m_tree.Arrive(UsbDevice("/1-1", 0x12D1, 0x1001, "Modem"));
    EXPECT_THAT(TakeEvents(), ElementsAre("+CD-ROM", "+storage", "-storage", "-CD-ROM", "+Modem"));
    EXPECT_FALSE(m_tree.Knows("/1-1/0"));
}

TEST_F(DeviceTrees, AnEqualDeviceOfAnotherIncarnationReplacesTheOld) {
    Device device = UsbDevice("/1-1", 1, 2);
    device.incarnation = "3";
    m_tree.Arrive(device);
    device.incarnation = "4";
    m_tree.Arrive(device);
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "-Modem", "+Modem"));
    device.incarnation = "";
    m_tree.Arrive(device);
    EXPECT_THAT(TakeEvents(), IsEmpty()) << "an unknown incarnation proves nothing";
}

TEST_F(DeviceTrees, ChildrenLeaveBeforeTheirParents) {
    m_tree.Arrive(UsbDevice("/hub", 1, 1, "hub"));
    m_tree.Arrive(UsbDevice("/hub/1-1", 1, 2, "modem"));
    m_tree.Arrive(Named(Interface("/hub/1-1/0"), "interface"));
    m_tree.Arrive(Port("/hub/1-1/0/tty", "port"));
    TakeEvents();
    m_tree.Leave("/hub");
    EXPECT_THAT(TakeEvents(), ElementsAre("-port", "-interface", "-modem", "-hub"));
}

TEST_F(DeviceTrees, WhatArrivesBeforeItsParentWaitsForIt) {
    m_tree.Arrive(Port("/1-1/0/tty", "port"));
    m_tree.Arrive(Named(Interface("/1-1/0"), "interface"));
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_TRUE(m_tree.Knows("/1-1/0/tty"));
    m_tree.Arrive(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "+interface", "+port"));
}

TEST_F(DeviceTrees, OneThatWaitsCanLeave) {
    m_tree.Arrive(Named(Interface("/1-1/0"), "interface"));
    m_tree.Leave("/1-1/0");
    m_tree.Arrive(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(DeviceTrees, AnUnknownPathLeavesUnnoticed) {
    m_tree.Leave("/1-1");
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(DeviceTrees, AChangeOfNothingThatMattersChangesNothing) {
    m_tree.Arrive(UsbDevice("/1-1", 1, 2));
    TakeEvents();
    m_tree.Change(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(DeviceTrees, AChangeOfIdsIsARemovalAndAnArrivalWithAllThatHangsOnIt) {
    m_tree.Arrive(UsbDevice("/1-1", 0x12D1, 0x1446, "CD-ROM"));
    m_tree.Arrive(Named(Interface("/1-1/0"), "interface"));
    m_tree.Arrive(Port("/1-1/0/tty", "port"));
    TakeEvents();
    m_tree.Change(UsbDevice("/1-1", 0x12D1, 0x1001, "Modem"));
    EXPECT_THAT(TakeEvents(), ElementsAre("-port", "-interface", "-CD-ROM", "+Modem", "+interface", "+port"));
    const auto& services = m_registry.Services();
    const auto interface = std::find_if(services.begin(), services.end(), [](const auto& service) {
        return service.second->Name() == "interface";
    });
    ASSERT_NE(interface, services.end());
    EXPECT_EQ(*interface->second->FindProperty("idProduct"), PropertyValue(0x1001));
}

TEST_F(DeviceTrees, AChangeOfAnUnknownDeviceIsItsArrival) {
    m_tree.Change(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(DeviceTrees, ReconcilingDeliversTheDifference) {
    m_tree.Arrive(UsbDevice("/1-1", 1, 1, "stays"));
    m_tree.Arrive(UsbDevice("/1-2", 1, 2, "leaves", 2));
    m_tree.Arrive(Named(Interface("/1-2/0"), "interface"));
    TakeEvents();
    m_tree.Reconcile({UsbDevice("/1-3", 1, 3, "arrives", 3), UsbDevice("/1-1", 1, 1, "stays")});
    EXPECT_THAT(TakeEvents(), ElementsAre("-interface", "-leaves", "+arrives"));
}

TEST_F(DeviceTrees, ReconcilingKeepsWhatHangsOnAReplacedDeviceInAnyOrder) {
    m_tree.Arrive(UsbDevice("/1-1", 0x12D1, 0x1446, "CD-ROM"));
    m_tree.Arrive(Named(Interface("/1-1/0"), "interface"));
    TakeEvents();
    m_tree.Reconcile({Named(Interface("/1-1/0"), "interface"), UsbDevice("/1-1", 0x12D1, 0x1001, "Modem")});
    EXPECT_THAT(TakeEvents(), ElementsAre("-interface", "-CD-ROM", "+Modem", "+interface"));
}

TEST_F(DeviceTrees, AllLeaveTogether) {
    m_tree.Arrive(UsbDevice("/1-1", 1, 1, "first"));
    m_tree.Arrive(Interface("/9-9/0"));
    m_tree.LeaveAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("+first", "-first"));
    EXPECT_FALSE(m_tree.Knows("/9-9/0"));
}
