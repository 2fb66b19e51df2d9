#include "DevicesByHand.h"

#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The registry with the habits of a Mac's kernel.
class AKernelsHabits : public DevicesByHandTest {
protected:
    AKernelsHabits() {
        KernelHabits habits;
        habits.matching = true;
        habits.refusedInterest = true;
        adoptHabits(habits);
    }
    void TearDown() override {
        adoptHabits(KernelHabits());
        IONotificationPortDestroy(m_port);
        DevicesByHandTest::TearDown();
    }

    /// The iterator of a new notification, which contains the services that are present.
    io_iterator_t Watch(CFDictionaryRef matching, const char* type = kIOMatchedNotification) {
        io_iterator_t iterator = IO_OBJECT_NULL;
        const auto ignore = [](void*, io_iterator_t) {};
        EXPECT_EQ(IOServiceAddMatchingNotification(m_port, type, matching, ignore, nullptr, &iterator),
                  KERN_SUCCESS);
        return iterator;
    }
    static void PlugIn(int count) {
        for (int number = 1; number <= count; ++number) {
            const std::string text = std::to_string(number);
            deviceArrived(UsbDevice("/1-" + text, 1, number, text, static_cast<std::uint32_t>(number)));
        }
    }
    static CFMutableDictionaryRef With(CFMutableDictionaryRef matching, CFStringRef key, CFTypeRef value) {
        CFDictionarySetValue(matching, key, value);
        return matching;
    }

    IONotificationPortRef m_port = IONotificationPortCreate(kIOMasterPortDefault);
};

} // namespace

TEST_F(AKernelsHabits, IdsWithoutAClassMatchEveryServiceButOtherDevicesAndTheInterfaces) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    deviceArrived(UsbDevice("/1-2", 0x12D1, 0x1446, "other", 2));
    EXPECT_THAT(NamesOf(MatchingIds(0x12D1, 0x1001)),
                ElementsAre("IONetworkStack", "Modem", "ttyUSB0", "wwan0"));
    EXPECT_THAT(NamesOf(MatchingIds(7, 7)), ElementsAre("IONetworkStack", "ttyUSB0", "wwan0"));
}

TEST_F(AKernelsHabits, AClassAndIdsMustBothFit) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    EXPECT_THAT(NamesOf(With(MatchingIds(0x12D1, 0x1001), CFSTR("IOProviderClass"), CFSTR("IOUSBDevice"))),
                ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(With(MatchingIds(0x12D1, 0x1002), CFSTR("IOProviderClass"), CFSTR("IOUSBDevice"))),
                IsEmpty());
    EXPECT_THAT(NamesOf(With(MatchingIds(0x12D1, 0x1001), CFSTR("IOProviderClass"), CFSTR("IOUSBInterface"))),
                IsEmpty());
}

TEST_F(AKernelsHabits, OneIdAloneMatchesNoDevice) {
    PlugInComposite("/1-1", 1, 2);
    CFMutableDictionaryRef matching = MatchingIds(1, 2);
    CFDictionaryRemoveValue(matching, CFSTR("idProduct"));
    CFDictionarySetValue(matching, CFSTR("IOProviderClass"), CFSTR("IOUSBDevice"));
    EXPECT_THAT(NamesOf(matching), IsEmpty());
    EXPECT_THAT(NamesOf(With(MatchingIds(1, 2), CFSTR("idVendor"), CFSTR("1"))),
                ElementsAre("IONetworkStack", "ttyUSB0", "wwan0"))
        << "a text is no id";
}

TEST_F(AKernelsHabits, ADeviceWithoutItsIdsMatchesNoIds) {
    Device device = UsbDevice("/1-1", 0, 0, "nameless");
    device.product.reset();
    deviceArrived(device);
    EXPECT_THAT(NamesOf(MatchingIds(0, 0)), ElementsAre("IONetworkStack"));
}

TEST_F(AKernelsHabits, WhatEveryServiceKnowsIsComparedAsEver) {
    PlugInComposite("/1-1", 1, 2);
    EXPECT_THAT(NamesOf(IOServiceMatching("IOUSBDevice")), ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(IOServiceNameMatching("ttyUSB0")), ElementsAre("ttyUSB0"));
    CFMutableDictionaryRef nested = MatchingIds(1, 2);
    CFMutableDictionaryRef matching = With(IOServiceMatching("IOService"), CFSTR("IOPropertyMatch"), nested);
    CFRelease(nested);
    EXPECT_THAT(NamesOf(matching), ElementsAre("Modem", "IOUSBInterface", "IOUSBInterface"));
}

TEST_F(AKernelsHabits, TheLatestServiceComesFirst) {
    PlugIn(3);
    const io_iterator_t iterator = Watch(IOServiceMatching("IOUSBDevice"));
    IOObjectRelease(IOIteratorNext(iterator));
    deviceArrived(UsbDevice("/2-1", 1, 1, "late", 9));
    EXPECT_THAT(Names(iterator), ElementsAre("late", "2", "1"));
    IOObjectRelease(iterator);
}

TEST_F(AKernelsHabits, AnIteratorHolds1024ServicesAndLosesTheRest) {
    PlugIn(1030);
    const io_iterator_t iterator = Watch(IOServiceMatching("IOUSBDevice"));
    deviceArrived(UsbDevice("/2-1", 1, 1, "late", 2000));
    std::vector<std::string> names = Names(iterator);
    ASSERT_EQ(names.size(), 1024u);
    EXPECT_EQ(names.front(), "1024");
    EXPECT_EQ(names.back(), "1");
    deviceArrived(UsbDevice("/2-2", 1, 1, "later", 2001));
    EXPECT_THAT(Names(iterator), ElementsAre("later")) << "there is room again";
    IOObjectRelease(iterator);
}

TEST_F(AKernelsHabits, AnInterestInAServiceThatHasLeftIsRefused) {
    deviceArrived(UsbDevice("/1-1", 1, 1));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    const auto ignore = [](void*, io_service_t, std::uint32_t, void*) {};
    io_object_t interest = IO_OBJECT_NULL;
    EXPECT_EQ(
        IOServiceAddInterestNotification(m_port, device, kIOGeneralInterest, ignore, nullptr, &interest),
        KERN_SUCCESS);
    IOObjectRelease(interest);
    deviceLeft("/1-1");
    EXPECT_EQ(
        IOServiceAddInterestNotification(m_port, device, kIOGeneralInterest, ignore, nullptr, &interest),
        kIOReturnNotAttached);
    EXPECT_EQ(interest, IO_OBJECT_NULL);
    IOObjectRelease(device);
}

TEST_F(AKernelsHabits, WithoutThemTheRegistryIsItsOldSelf) {
    adoptHabits(KernelHabits());
    PlugIn(1030);
    const io_iterator_t iterator = Watch(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(Names(iterator).size(), 1030u);
    EXPECT_THAT(NamesOf(MatchingIds(1, 7)), ElementsAre("7"));
    IOObjectRelease(iterator);
}
