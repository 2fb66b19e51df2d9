#include "DevicesByHand.h"

#include <IOKit/IOMessage.h>

#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <thread>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const CFTimeInterval LONG = 60;

/// A notification port in the run loop of the test's thread, and callbacks that record their calls.
class Notifications : public DevicesByHandTest {
protected:
    Notifications() {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), IONotificationPortGetRunLoopSource(m_port),
                           kCFRunLoopCommonModes);
    }

    void TearDown() override {
        if (m_port)
            IONotificationPortDestroy(m_port);
        DevicesByHandTest::TearDown();
    }

    io_iterator_t Watch(CFDictionaryRef matching, const char* type = kIOMatchedNotification) {
        io_iterator_t iterator = IO_OBJECT_NULL;
        EXPECT_EQ(IOServiceAddMatchingNotification(m_port, type, matching, ServicesCame, this, &iterator),
                  KERN_SUCCESS);
        return iterator;
    }
    io_iterator_t WatchDevices() { return Watch(IOServiceMatching("IOUSBDevice")); }

    io_object_t WatchEndOf(io_service_t service) {
        io_object_t notification = IO_OBJECT_NULL;
        EXPECT_EQ(IOServiceAddInterestNotification(m_port, service, kIOGeneralInterest, ServiceSpoke, this,
                                                   &notification),
                  KERN_SUCCESS);
        return notification;
    }

    /// Runs the loop until one callback has been called.
    static void RunOnce() {
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, LONG, TRUE), kCFRunLoopRunHandledSource);
    }
    /// Runs the loop until nothing more is due.
    static void RunAll() {
        while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, TRUE) == kCFRunLoopRunHandledSource) {
        }
    }

    std::vector<std::string> TakeEvents() { return std::exchange(m_events, {}); }

    IONotificationPortRef m_port = IONotificationPortCreate(kIOMasterPortDefault);
    std::vector<std::string> m_events;
    std::function<void(io_iterator_t)> m_onServices = [this](io_iterator_t iterator) { drain(iterator); };
    std::function<void(io_service_t)> m_onMessage = [](io_service_t) {};

    void drain(io_iterator_t iterator) {
        for (const std::string& name : Names(iterator))
            m_events.push_back(name);
    }

private:
    static void ServicesCame(void* self, io_iterator_t iterator) {
        static_cast<Notifications*>(self)->m_onServices(iterator);
    }
    static void ServiceSpoke(void* self, io_service_t service, std::uint32_t type, void* argument) {
        auto& test = *static_cast<Notifications*>(self);
        EXPECT_EQ(type, 0xE0000010U);
        EXPECT_EQ(type, static_cast<std::uint32_t>(kIOMessageServiceIsTerminated));
        EXPECT_EQ(argument, nullptr);
        test.m_events.push_back("end of " + NameOf(service));
        test.m_onMessage(service);
    }
};

} // namespace

TEST_F(Notifications, WillComeToAPortWhereDevicesComeByHand) {
    EXPECT_NE(IONotificationPortGetMachPort(m_port), static_cast<mach_port_t>(MACH_PORT_NULL));
    EXPECT_EQ(IONotificationPortGetMachPort(nullptr), static_cast<mach_port_t>(MACH_PORT_NULL));
}

TEST_F(Notifications, TheFirstDrainYieldsWhatIsThere) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    const io_iterator_t iterator = WatchDevices();
    EXPECT_THAT(Names(iterator), ElementsAre("first"));
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty()) << "no callback for what was there";
    IOObjectRelease(iterator);
}

TEST_F(Notifications, AreNotArmedBeforeTheFirstDrain) {
    const io_iterator_t iterator = WatchDevices();
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_THAT(Names(iterator), ElementsAre("first")) << "the drain finds it all the same";
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    IOObjectRelease(iterator);
}

TEST_F(Notifications, AHalfDrainedIteratorIsNotArmed) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    const io_iterator_t iterator = WatchDevices();
    IOObjectRelease(IOIteratorNext(iterator));
    deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_THAT(Names(iterator), ElementsAre("second"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, AnArrivalIsDeliveredInsideTheRunLoopOnly) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    EXPECT_THAT(TakeEvents(), IsEmpty());
    RunOnce();
    EXPECT_THAT(TakeEvents(), ElementsAre("first"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, EachServiceComesOncePerNotification) {
    const io_iterator_t first = WatchDevices();
    const io_iterator_t second = WatchDevices();
    drain(first);
    drain(second);
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    deviceChanged(UsbDevice("/1-1", 1, 1, "modem"));
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("modem", "modem")) << "once for each notification";
    IOObjectRelease(first);
    IOObjectRelease(second);
}

TEST_F(Notifications, ManyArrivalsAreOneCallback) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    int callbacks = 0;
    m_onServices = [&](io_iterator_t services) {
        ++callbacks;
        drain(services);
    };
    RunAll();
    EXPECT_EQ(callbacks, 1);
    EXPECT_THAT(TakeEvents(), ElementsAre("first", "second"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, AnArrivalWhileACallbackDrainsIsFoundByThatDrain) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    m_onServices = [&](io_iterator_t services) {
        deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
        drain(services);
    };
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("first", "second"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, ACallbackThatDoesNotDrainIsNotCalledAgain) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    int callbacks = 0;
    m_onServices = [&](io_iterator_t) { ++callbacks; };
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    RunAll();
    deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    RunAll();
    EXPECT_EQ(callbacks, 1);
    EXPECT_THAT(Names(iterator), ElementsAre("first", "second"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, ChildrenOfADeviceAreWatchedByItsIds) {
    const io_iterator_t iterator = Watch(MatchingIds(0x12D1, 0x1001));
    drain(iterator);
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    PlugInComposite("/1-2", 0x12D1, 0x1003);
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("Modem", "IOUSBInterface", "IOUSBInterface"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, ReleasingTheIteratorDisarms) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    IOObjectRelease(iterator);
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(Notifications, ReleasingTheIteratorDropsWhatIsDueAlready) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    IOObjectRelease(iterator);
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(Notifications, TheIteratorMayBeReleasedInItsOwnCallback) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    m_onServices = [&](io_iterator_t services) {
        drain(services);
        IOObjectRelease(services);
        deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    };
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("first"));
}

TEST_F(Notifications, OfFirstMatchAndPublicationAreTheSame) {
    for (const char* type :
         {kIOPublishNotification, kIOFirstPublishNotification, kIOFirstMatchNotification}) {
        const io_iterator_t iterator = Watch(IOServiceMatching("IOUSBDevice"), type);
        drain(iterator);
        deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
        RunAll();
        deviceLeft("/1-1");
        IOObjectRelease(iterator);
    }
    EXPECT_THAT(TakeEvents(), ElementsAre("modem", "modem", "modem"));
}

TEST_F(Notifications, AServiceThatIsMatchedAgainComesAgainUnlessTheFirstTimeWasAskedFor) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    const std::map<const char*, std::vector<std::string>> expected = {{kIOPublishNotification, {"modem"}},
                                                                      {kIOMatchedNotification, {"modem"}},
                                                                      {kIOFirstPublishNotification, {}},
                                                                      {kIOFirstMatchNotification, {}},
                                                                      {kIOTerminatedNotification, {}}};
    for (const auto& [type, names] : expected) {
        const io_iterator_t iterator = Watch(IOServiceMatching("IOUSBDevice"), type);
        drain(iterator);
        TakeEvents();
        deviceMatchedAgain("/1-1");
        RunAll();
        EXPECT_EQ(TakeEvents(), names) << type;
        IOObjectRelease(iterator);
    }
}

TEST_F(Notifications, AServiceThatIsMatchedAgainComesOnlyWhereItMatches) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    const io_iterator_t iterator = Watch(MatchingIds(1, 2));
    drain(iterator);
    deviceMatchedAgain("/1-1");
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    IOObjectRelease(iterator);
}

TEST_F(Notifications, WhatIsUnknownOrWaitsForItsParentIsNotMatchedAgain) {
    const io_iterator_t iterator = Watch(IOServiceMatching("IOService"));
    drain(iterator);
    TakeEvents();
    deviceArrived(Interface("/1-1/0"));
    deviceMatchedAgain("/1-1/0");
    deviceMatchedAgain("/1-2");
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    IOObjectRelease(iterator);
}

TEST_F(Notifications, OfTerminationYieldWhatHasLeft) {
    PlugInComposite("/1-1", 1, 2);
    const io_iterator_t iterator = Watch(IOServiceMatching("IOUSBNub"), kIOTerminatedNotification);
    EXPECT_THAT(Names(iterator), IsEmpty());
    deviceLeft("/1-1");
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("IOUSBInterface", "IOUSBInterface", "Modem"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, OfAnUnknownTypeAreRefusedAndTheDictionaryIsConsumed) {
    CFMutableDictionaryRef matching = IOServiceMatching("IOUSBDevice");
    CFRetain(matching);
    io_iterator_t iterator = 1;
    const auto ignore = [](void*, io_iterator_t) {};
    EXPECT_EQ(
        IOServiceAddMatchingNotification(m_port, "IOServiceGuessed", matching, ignore, nullptr, &iterator),
        kIOReturnUnsupported);
    EXPECT_EQ(iterator, IO_OBJECT_NULL);
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    CFRetain(matching);
    EXPECT_EQ(IOServiceAddMatchingNotification(nullptr, kIOMatchedNotification, matching, ignore, nullptr,
                                               &iterator),
              kIOReturnBadArgument);
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    CFRetain(matching);
    EXPECT_EQ(IOServiceAddMatchingNotification(m_port, kIOMatchedNotification, matching, nullptr, nullptr,
                                               &iterator),
              kIOReturnBadArgument);
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    EXPECT_EQ(IOServiceAddMatchingNotification(m_port, kIOMatchedNotification, matching, ignore, nullptr,
                                               &iterator),
              KERN_SUCCESS);
    IOObjectRelease(iterator);
}

TEST_F(Notifications, TheEndOfAServiceIsDeliveredInsideTheRunLoopOnly) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    const io_object_t interest = WatchEndOf(device);
    IOObjectRelease(device);
    deviceLeft("/1-1");
    EXPECT_THAT(TakeEvents(), IsEmpty());
    RunOnce();
    EXPECT_THAT(TakeEvents(), ElementsAre("end of modem"));
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty()) << "it ends once";
    IOObjectRelease(interest);
}

TEST_F(Notifications, TheEndOfChildrenComesBeforeTheirParents) {
    PlugInComposite("/1-1", 1, 2);
    std::vector<io_object_t> interests;
    for (const char* className : {"IOUSBDevice", "IOSerialBSDClient"}) {
        const io_service_t service = TheService(IOServiceMatching(className));
        interests.push_back(WatchEndOf(service));
        IOObjectRelease(service);
    }
    deviceLeft("/1-1");
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("end of ttyUSB0", "end of Modem"));
    for (const io_object_t interest : interests)
        IOObjectRelease(interest);
}

TEST_F(Notifications, ReleasingAnInterestEndsIt) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    const io_service_t first = TheService(MatchingIds(1, 1));
    const io_service_t second = TheService(MatchingIds(1, 2));
    IOObjectRelease(WatchEndOf(first));
    const io_object_t due = WatchEndOf(second);
    IOObjectRelease(first);
    IOObjectRelease(second);
    allDevicesLeft();
    IOObjectRelease(due);
    RunAll();
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(Notifications, AnInterestMayBeReleasedInItsOwnCallback) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    const io_object_t interest = WatchEndOf(device);
    IOObjectRelease(device);
    m_onMessage = [&](io_service_t) { IOObjectRelease(interest); };
    deviceLeft("/1-1");
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("end of modem"));
}

TEST_F(Notifications, WhoeverComesTooLateIsToldOfTheEndAtOnce) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    deviceLeft("/1-1");
    const io_object_t interest = WatchEndOf(device);
    IOObjectRelease(device);
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("end of modem"));
    IOObjectRelease(interest);
}

TEST_F(Notifications, AShortVisitIsSeenAsAnArrivalAndAnEnd) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    io_object_t interest = IO_OBJECT_NULL;
    m_onServices = [&](io_iterator_t services) {
        while (const io_object_t service = IOIteratorNext(services)) {
            m_events.push_back(NameOf(service));
            interest = WatchEndOf(service);
            IOObjectRelease(service);
        }
    };
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    deviceLeft("/1-1");
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("modem", "end of modem"));
    IOObjectRelease(interest);
    IOObjectRelease(iterator);
}

TEST_F(Notifications, ADevicePluggedInAgainIsRemovedAndArrives) {
    const io_iterator_t iterator = WatchDevices();
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    drain(iterator);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    const io_object_t interest = WatchEndOf(device);
    IOObjectRelease(device);
    TakeEvents();
    deviceLeft("/1-1");
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    RunAll();
    EXPECT_THAT(TakeEvents(), ElementsAre("end of modem", "modem"));
    IOObjectRelease(interest);
    IOObjectRelease(iterator);
}

TEST_F(Notifications, InterestInSomethingUnknownIsRefused) {
    deviceArrived(UsbDevice("/1-1", 1, 1));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    io_object_t notification = 1;
    const auto ignore = [](void*, io_service_t, std::uint32_t, void*) {};
    EXPECT_EQ(
        IOServiceAddInterestNotification(m_port, device, "IOBusyInterest", ignore, nullptr, &notification),
        kIOReturnUnsupported);
    EXPECT_EQ(notification, IO_OBJECT_NULL);
    EXPECT_EQ(IOServiceAddInterestNotification(m_port, IO_OBJECT_NULL, kIOGeneralInterest, ignore, nullptr,
                                               &notification),
              KERN_INVALID_NAME);
    EXPECT_EQ(
        IOServiceAddInterestNotification(nullptr, device, kIOGeneralInterest, ignore, nullptr, &notification),
        kIOReturnBadArgument);
    IOObjectRelease(device);
}

TEST_F(Notifications, ADestroyedPortDeliversNothingAndEndsTheRunLoop) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    deviceArrived(UsbDevice("/1-1", 1, 1, "due"));
    IONotificationPortDestroy(m_port);
    CFRunLoopRun();
    deviceArrived(UsbDevice("/1-2", 1, 2, "late", 2));
    CFRunLoopRun();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_NE(ComplaintsOf([this] { IONotificationPortDestroy(m_port); }), "");
    m_port = nullptr;
    IOObjectRelease(iterator);
}

TEST_F(Notifications, ThePortMayBeDestroyedInACallback) {
    const io_iterator_t iterator = WatchDevices();
    drain(iterator);
    m_onServices = [&](io_iterator_t services) {
        drain(services);
        IONotificationPortDestroy(m_port);
        m_port = nullptr;
    };
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    CFRunLoopRun();
    EXPECT_THAT(TakeEvents(), ElementsAre("modem"));
    IOObjectRelease(iterator);
}

TEST_F(Notifications, ThePortsSourceIsBorrowed) {
    CFRunLoopSourceRef source = IONotificationPortGetRunLoopSource(m_port);
    EXPECT_EQ(IONotificationPortGetRunLoopSource(m_port), source);
    EXPECT_TRUE(CFRunLoopSourceIsValid(source));
    EXPECT_EQ(CFGetTypeID(source), CFRunLoopSourceGetTypeID());
    CFRunLoopRemoveSource(CFRunLoopGetCurrent(), source, kCFRunLoopCommonModes);
    CFRunLoopRun();
    EXPECT_EQ(IONotificationPortGetRunLoopSource(nullptr), nullptr);
}

TEST_F(Notifications, AreDeliveredOnTheThreadThatAddedTheSource) {
    const io_iterator_t here = WatchDevices();
    drain(here);
    std::thread::id calledOn;
    std::atomic<bool> isArmed{false};
    std::thread other([&] {
        IONotificationPortRef port = IONotificationPortCreate(kIOMasterPortDefault);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), IONotificationPortGetRunLoopSource(port),
                           kCFRunLoopCommonModes);
        io_iterator_t iterator = IO_OBJECT_NULL;
        const auto note = [](void* refCon, io_iterator_t services) {
            *static_cast<std::thread::id*>(refCon) = std::this_thread::get_id();
            Names(services);
            CFRunLoopStop(CFRunLoopGetCurrent());
        };
        EXPECT_EQ(IOServiceAddMatchingNotification(port, kIOMatchedNotification,
                                                   IOServiceMatching("IOUSBDevice"), note, &calledOn,
                                                   &iterator),
                  KERN_SUCCESS);
        Names(iterator);
        isArmed = true;
        CFRunLoopRun();
        IOObjectRelease(iterator);
        IONotificationPortDestroy(port);
    });
    while (!isArmed)
        std::this_thread::yield();
    const std::thread::id otherThread = other.get_id();
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    other.join();
    RunOnce();
    EXPECT_EQ(calledOn, otherThread);
    EXPECT_THAT(TakeEvents(), ElementsAre("modem"));
    IOObjectRelease(here);
}

TEST_F(Notifications, StoppingTheLoopLeavesTheRestForTheNextRun) {
    std::vector<io_iterator_t> iterators{WatchDevices(), WatchDevices()};
    for (const io_iterator_t iterator : iterators)
        drain(iterator);
    m_onServices = [&](io_iterator_t services) {
        drain(services);
        CFRunLoopStop(CFRunLoopGetCurrent());
    };
    deviceArrived(UsbDevice("/1-1", 1, 1, "modem"));
    CFRunLoopRun();
    EXPECT_THAT(TakeEvents(), ElementsAre("modem"));
    CFRunLoopRun();
    EXPECT_THAT(TakeEvents(), ElementsAre("modem"));
    for (const io_iterator_t iterator : iterators)
        IOObjectRelease(iterator);
}

TEST_F(Notifications, TellTheirClasses) {
    deviceArrived(UsbDevice("/1-1", 1, 1));
    const io_iterator_t iterator = WatchDevices();
    const io_service_t device = IOIteratorNext(iterator);
    const io_object_t interest = WatchEndOf(device);
    EXPECT_EQ(text(IOObjectCopyClass(iterator)), "IOServiceUserNotification");
    EXPECT_EQ(text(IOObjectCopyClass(interest)), "IOServiceMessageUserNotification");
    EXPECT_TRUE(IOIteratorIsValid(iterator));
    IOIteratorReset(iterator);
    EXPECT_THAT(Names(iterator), IsEmpty()) << "what was handed out does not come again";
    IOObjectRelease(interest);
    IOObjectRelease(device);
    IOObjectRelease(iterator);
}
