#include "LiveObjects.h"
#include "TestBus.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const CFTimeInterval LONG = 60;

/// Watches USB devices as a client of IOKit does, on the virtual bus of the process.
class UdevNotifications : public LiveObjectsTest {
protected:
    UdevNotifications() : m_port(IONotificationPortCreate(kIOMasterPortDefault)) {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), IONotificationPortGetRunLoopSource(m_port),
                           kCFRunLoopCommonModes);
        EXPECT_EQ(IOServiceAddMatchingNotification(m_port, kIOMatchedNotification,
                                                   IOServiceMatching("IOUSBDevice"), DevicesCame, this,
                                                   &m_iterator),
                  KERN_SUCCESS);
        DevicesCame(this, m_iterator);
    }

    void TearDown() override {
        for (const io_object_t interest : m_interests)
            IOObjectRelease(interest);
        IOObjectRelease(m_iterator);
        IONotificationPortDestroy(m_port);
        LiveObjectsTest::TearDown();
    }

    static TestBus& Bus() {
        static TestBus bus;
        return bus;
    }

    static CFRunLoopRunResult RunOnce(CFTimeInterval seconds = LONG) {
        return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, TRUE);
    }

    std::vector<std::string> TakeEvents() { return std::exchange(m_events, {}); }

private:
    static std::string NameOf(io_service_t service) {
        io_name_t name = "";
        EXPECT_EQ(IORegistryEntryGetName(service, name), KERN_SUCCESS);
        return name;
    }
    static void DevicesCame(void* self, io_iterator_t devices) {
        auto& test = *static_cast<UdevNotifications*>(self);
        while (const io_service_t device = IOIteratorNext(devices)) {
            test.m_events.push_back("+" + NameOf(device));
            io_object_t interest = IO_OBJECT_NULL;
            EXPECT_EQ(IOServiceAddInterestNotification(test.m_port, device, kIOGeneralInterest, deviceLeft,
                                                       self, &interest),
                      KERN_SUCCESS);
            test.m_interests.push_back(interest);
            IOObjectRelease(device);
        }
    }
    static void deviceLeft(void* self, io_service_t device, std::uint32_t, void*) {
        static_cast<UdevNotifications*>(self)->m_events.push_back("-" + NameOf(device));
    }

    // The bus must exist before the registry first reads it.
    TestBus& m_bus = Bus();
    IONotificationPortRef m_port;
    io_iterator_t m_iterator = IO_OBJECT_NULL;
    std::vector<io_object_t> m_interests;
    std::vector<std::string> m_events;
};

} // namespace

TEST_F(UdevNotifications, AModemComesAndGoesWhileTheLoopSleeps) {
    EXPECT_THAT(TakeEvents(), IsEmpty());
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    std::string modem;
    std::thread user([&] {
        while (!CFRunLoopIsWaiting(loop))
            std::this_thread::yield();
        modem = Bus().AddUsbDevice("1-1", "12d1", "1001");
    });
    EXPECT_EQ(RunOnce(), kCFRunLoopRunHandledSource);
    user.join();
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    Bus().remove(modem);
    EXPECT_EQ(RunOnce(), kCFRunLoopRunHandledSource);
    EXPECT_THAT(TakeEvents(), ElementsAre("-Modem"));
}

TEST_F(UdevNotifications, AnEventThatIsNobodysDeliversNothing) {
    Bus().AddPort("", "ttyS7");
    EXPECT_EQ(RunOnce(0), kCFRunLoopRunTimedOut);
    EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(UdevNotifications, AQueryKnowsWhatTheLoopHasNotYetDelivered) {
    const std::string modem = Bus().AddUsbDevice("1-1", "12d1", "1001");
    const io_service_t found =
        IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching("IOUSBDevice"));
    EXPECT_NE(found, IO_OBJECT_NULL);
    IOObjectRelease(found);
    EXPECT_THAT(TakeEvents(), IsEmpty()) << "a query calls nobody back";
    EXPECT_EQ(RunOnce(), kCFRunLoopRunHandledSource);
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    Bus().remove(modem);
    EXPECT_EQ(RunOnce(), kCFRunLoopRunHandledSource);
}

TEST_F(UdevNotifications, AHundredVisitsLeaveNothingBehind) {
    for (int visit = 0; visit < 100; ++visit) {
        const std::string modem = Bus().AddUsbDevice("1-1", "12d1", "1001");
        const std::string interface = Bus().AddInterface(modem, "1-1:1.0");
        EXPECT_EQ(RunOnce(), kCFRunLoopRunHandledSource);
        Bus().remove(interface);
        Bus().remove(modem);
        EXPECT_EQ(RunOnce(), kCFRunLoopRunHandledSource);
        EXPECT_THAT(TakeEvents(), ElementsAre("+Modem", "-Modem"));
    }
}
