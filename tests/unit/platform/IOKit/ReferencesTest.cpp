#include "DevicesByHand.h"

#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::HasSubstr;

using References = DevicesByHandTest;

TEST_F(References, ToTheSameServiceHaveTheSameValue) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    const io_service_t first = TheService(MatchingIds(1, 2));
    const io_service_t second = TheService(MatchingIds(1, 2));
    EXPECT_EQ(first, second);
    EXPECT_TRUE(IOObjectIsEqualTo(first, second));
    EXPECT_EQ(IOObjectGetRetainCount(first), 2U);
    IOObjectRelease(second);
    EXPECT_EQ(IOObjectGetRetainCount(first), 1U);
    IOObjectRelease(first);
}

TEST_F(References, AreCountedOneByOne) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    const std::size_t before = countLiveObjects().registryReferences;
    const io_service_t device = TheService(MatchingIds(1, 2));
    EXPECT_EQ(IOObjectRetain(device), KERN_SUCCESS);
    EXPECT_EQ(countLiveObjects().registryReferences, before + 2);
    EXPECT_EQ(IOObjectRelease(device), KERN_SUCCESS);
    EXPECT_EQ(IOObjectRelease(device), KERN_SUCCESS);
    EXPECT_EQ(countLiveObjects().registryReferences, before);
}

TEST_F(References, ReleasedTooOftenAreReportedAndNothingElse) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    const io_service_t device = TheService(MatchingIds(1, 2));
    IOObjectRelease(device);
    const std::string complaint =
        ComplaintsOf([&] { EXPECT_EQ(IOObjectRelease(device), KERN_INVALID_NAME); });
    EXPECT_THAT(complaint, HasSubstr("IOObjectRelease"));
    EXPECT_THAT(complaint, HasSubstr("released too often"));
}

TEST_F(References, OneReleasedTooOftenNeverHitsANewObject) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    const io_service_t device = TheService(MatchingIds(1, 2));
    IOObjectRelease(device);
    const io_service_t again = TheService(MatchingIds(1, 2));
    EXPECT_NE(again, device);
    ComplaintsOf([&] { IOObjectRelease(device); });
    EXPECT_EQ(NameOf(again), "Modem");
    IOObjectRelease(again);
}

TEST_F(References, UsedAfterTheirReleaseAreReportedByEveryCall) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    const io_service_t gone = TheService(MatchingIds(1, 2));
    IOObjectRelease(gone);
    io_name_t name;
    io_string_t path;
    io_iterator_t iterator = IO_OBJECT_NULL;
    std::uint64_t number = 0;
    CFMutableDictionaryRef properties = nullptr;
    EXPECT_THAT(ComplaintsOf([&] { EXPECT_EQ(IOObjectRetain(gone), KERN_INVALID_NAME); }),
                HasSubstr("IOObjectRetain"));
    EXPECT_THAT(ComplaintsOf([&] { EXPECT_EQ(IOObjectGetClass(gone, name), KERN_INVALID_NAME); }),
                HasSubstr("IOObjectGetClass"));
    EXPECT_THAT(ComplaintsOf([&] { EXPECT_FALSE(IOObjectConformsTo(gone, "IOService")); }),
                HasSubstr("IOObjectConformsTo"));
    EXPECT_THAT(ComplaintsOf([&] { EXPECT_EQ(IOIteratorNext(gone), IO_OBJECT_NULL); }),
                HasSubstr("IOIteratorNext"));
    EXPECT_THAT(ComplaintsOf([&] { EXPECT_FALSE(IOIteratorIsValid(gone)); }), HasSubstr("IOIteratorIsValid"));
    EXPECT_THAT(ComplaintsOf([&] { IOIteratorReset(gone); }), HasSubstr("IOIteratorReset"));
    EXPECT_THAT(ComplaintsOf([&] { EXPECT_EQ(IORegistryEntryGetName(gone, name), KERN_INVALID_NAME); }),
                HasSubstr("IORegistryEntryGetName"));
    EXPECT_THAT(ComplaintsOf([&] {
                    EXPECT_EQ(IORegistryEntryGetPath(gone, kIOServicePlane, path), KERN_INVALID_NAME);
                }),
                HasSubstr("IORegistryEntryGetPath"));
    EXPECT_THAT(
        ComplaintsOf([&] { EXPECT_EQ(IORegistryEntryGetRegistryEntryID(gone, &number), KERN_INVALID_NAME); }),
        HasSubstr("IORegistryEntryGetRegistryEntryID"));
    EXPECT_THAT(ComplaintsOf([&] {
                    EXPECT_EQ(IORegistryEntryCreateCFProperties(gone, &properties, kCFAllocatorDefault, 0),
                              KERN_INVALID_NAME);
                }),
                HasSubstr("IORegistryEntryCreateCFProperties"));
    EXPECT_THAT(ComplaintsOf([&] {
                    EXPECT_EQ(
                        IORegistryEntryCreateCFProperty(gone, CFSTR("idVendor"), kCFAllocatorDefault, 0),
                        nullptr);
                }),
                HasSubstr("IORegistryEntryCreateCFProperty"));
    EXPECT_THAT(ComplaintsOf([&] {
                    EXPECT_EQ(IORegistryEntryGetChildIterator(gone, kIOServicePlane, &iterator),
                              KERN_INVALID_NAME);
                }),
                HasSubstr("IORegistryEntryGetChildIterator"));
    EXPECT_EQ(IOObjectCopyClass(IO_OBJECT_NULL), nullptr);
}

TEST_F(References, ReleasingNothingIsFine) {
    EXPECT_EQ(IOObjectRelease(IO_OBJECT_NULL), KERN_SUCCESS);
}

TEST_F(References, NothingIsNoEntryButNoMistakeEither) {
    io_name_t name;
    EXPECT_EQ(IORegistryEntryGetName(IO_OBJECT_NULL, name), KERN_INVALID_NAME);
    EXPECT_EQ(IOIteratorNext(IO_OBJECT_NULL), IO_OBJECT_NULL);
}

TEST_F(References, ToSomethingElseAreInvalidArguments) {
    const io_registry_entry_t root = IORegistryGetRootEntry(kIOMasterPortDefault);
    io_iterator_t children = IO_OBJECT_NULL;
    ASSERT_EQ(IORegistryEntryGetChildIterator(root, kIOServicePlane, &children), KERN_SUCCESS);
    io_name_t name;
    EXPECT_EQ(IORegistryEntryGetName(children, name), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(IOIteratorNext(root), IO_OBJECT_NULL);
    IOObjectRelease(children);
    IOObjectRelease(root);
}

TEST_F(References, KnowTheClassesOfTheirObjects) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    const io_service_t device = TheService(MatchingIds(1, 2));
    EXPECT_EQ(text(IOObjectCopyClass(device)), "IOUSBDevice");
    EXPECT_TRUE(IOObjectConformsTo(device, "IOUSBDevice"));
    EXPECT_TRUE(IOObjectConformsTo(device, "IOUSBNub"));
    EXPECT_TRUE(IOObjectConformsTo(device, "IOService"));
    EXPECT_TRUE(IOObjectConformsTo(device, "IORegistryEntry"));
    EXPECT_FALSE(IOObjectConformsTo(device, "IOUSBInterface"));
    EXPECT_FALSE(IOObjectConformsTo(device, "OSIterator"));
    IOObjectRelease(device);
}

TEST_F(References, TheMasterPortNamesTheOneRegistry) {
    mach_port_t port = 1;
    EXPECT_EQ(IOMasterPort(MACH_PORT_NULL, &port), KERN_SUCCESS);
    EXPECT_EQ(port, kIOMasterPortDefault);
}
