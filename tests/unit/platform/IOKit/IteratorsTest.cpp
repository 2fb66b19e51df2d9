#include "DevicesByHand.h"

#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::ElementsAre;

namespace {

class Iterators : public DevicesByHandTest {
protected:
    static std::vector<std::string> NamesAround(io_registry_entry_t entry, IOOptionBits options) {
        io_iterator_t iterator = IO_OBJECT_NULL;
        EXPECT_EQ(IORegistryEntryCreateIterator(entry, kIOServicePlane, options, &iterator), KERN_SUCCESS);
        std::vector<std::string> names = Names(iterator);
        IOObjectRelease(iterator);
        return names;
    }
};

const IOOptionBits BELOW = kIORegistryIterateRecursively;
const IOOptionBits ABOVE = kIORegistryIterateRecursively | kIORegistryIterateParents;

} // namespace

TEST_F(Iterators, ChildrenAreOneLevel) {
    PlugInComposite("/1-1", 1, 2);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_THAT(NamesAround(device, 0), ElementsAre("IOUSBInterface", "IOUSBInterface"));
    io_iterator_t children = IO_OBJECT_NULL;
    EXPECT_EQ(IORegistryEntryGetChildIterator(device, kIOServicePlane, &children), KERN_SUCCESS);
    EXPECT_THAT(Names(children), ElementsAre("IOUSBInterface", "IOUSBInterface"));
    IOObjectRelease(children);
    IOObjectRelease(device);
}

TEST_F(Iterators, RecursionGoesAllTheWayWithoutTheStart) {
    PlugInComposite("/1-1", 1, 2);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_THAT(NamesAround(device, BELOW),
                ElementsAre("IOUSBInterface", "ttyUSB0", "IOUSBInterface", "wwan0", "IONetworkStack"));
    IOObjectRelease(device);
}

TEST_F(Iterators, RecursionMeetsEachEntryOnce) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    deviceArrived(NetworkCard("/1-1/a", "wwan0"));
    deviceArrived(NetworkCard("/1-1/b", "wwan1"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_THAT(NamesAround(device, BELOW), ElementsAre("wwan0", "IONetworkStack", "wwan1"));
    IOObjectRelease(device);
}

TEST_F(Iterators, ParentsCanBeFollowedToTheRoot) {
    PlugInComposite("/1-1", 1, 2);
    const io_service_t port = TheService(IOServiceMatching("IOSerialBSDClient"));
    EXPECT_THAT(NamesAround(port, kIORegistryIterateParents), ElementsAre("IOUSBInterface"));
    EXPECT_THAT(NamesAround(port, ABOVE), ElementsAre("IOUSBInterface", "Modem", "Root"));
    IOObjectRelease(port);
}

TEST_F(Iterators, OverTheRegistryEndWhenItChanges) {
    PlugInComposite("/1-1", 1, 2);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    io_iterator_t children = IO_OBJECT_NULL;
    ASSERT_EQ(IORegistryEntryGetChildIterator(device, kIOServicePlane, &children), KERN_SUCCESS);
    EXPECT_TRUE(IOIteratorIsValid(children));
    deviceLeft("/1-1/0");
    EXPECT_FALSE(IOIteratorIsValid(children));
    EXPECT_EQ(IOIteratorNext(children), IO_OBJECT_NULL);
    IOIteratorReset(children);
    EXPECT_TRUE(IOIteratorIsValid(children));
    EXPECT_THAT(Names(children), ElementsAre("IOUSBInterface"));
    IOObjectRelease(children);
    IOObjectRelease(device);
}

TEST_F(Iterators, OverMatchingServicesSurviveAChange) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    io_iterator_t services = IO_OBJECT_NULL;
    ASSERT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOUSBDevice"), &services),
              KERN_SUCCESS);
    deviceLeft("/1-2");
    deviceArrived(UsbDevice("/1-3", 1, 3, "third", 3));
    EXPECT_TRUE(IOIteratorIsValid(services));
    EXPECT_THAT(Names(services), ElementsAre("first", "second"));
    IOIteratorReset(services);
    EXPECT_THAT(Names(services), ElementsAre("first", "second"));
    IOObjectRelease(services);
}

TEST_F(Iterators, KeepTheirStartAlive) {
    PlugInComposite("/1-1", 1, 2);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    io_iterator_t children = IO_OBJECT_NULL;
    ASSERT_EQ(IORegistryEntryGetChildIterator(device, kIOServicePlane, &children), KERN_SUCCESS);
    IOObjectRelease(device);
    deviceLeft("/1-1");
    IOIteratorReset(children);
    EXPECT_THAT(Names(children), ElementsAre());
    EXPECT_EQ(text(IOObjectCopyClass(children)), "IORegistryIterator");
    EXPECT_TRUE(IOObjectConformsTo(children, "OSIterator"));
    IOObjectRelease(children);
}
