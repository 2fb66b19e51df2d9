#include "detail/RegistryWalk.h"

#include "LiveObjects.h"
#include "detail/IOObjectHandle.h"

#include <IOKit/IOKitKeys.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace kf::detail;

using LinuxPlatform::Device;
using testing::ElementsAre;

namespace {

/// Walks over devices that the test adds itself.
class RegistryWalkTest : public LiveObjectsTest {
protected:
    RegistryWalkTest() { LinuxPlatform::useDevicesByHand(); }
    void TearDown() override {
        LinuxPlatform::allDevicesLeft();
        LiveObjectsTest::TearDown();
    }

    static void plug(const std::string& name) {
        Device device;
        device.path = "/" + name;
        device.name = name;
        LinuxPlatform::deviceArrived(device);
    }
    /// An iterator over the children of the registry's root: the network stack, then the devices.
    static void makeIterator(IOObjectHandle& iterator) {
        const IOObjectHandle root(IORegistryGetRootEntry(kIOMasterPortDefault));
        ASSERT_EQ(IORegistryEntryGetChildIterator(root.get(), kIOServicePlane, iterator.receive()),
                  KERN_SUCCESS);
    }
    static std::string takeNext(RegistryWalk& walk) {
        const IOObjectHandle entry(walk.next());
        io_name_t name = "none";
        if (entry)
            IORegistryEntryGetName(entry.get(), name);
        return name;
    }
    static std::vector<std::string> takeAll(RegistryWalk& walk) {
        std::vector<std::string> names;
        for (std::string name = takeNext(walk); name != "none"; name = takeNext(walk))
            names.push_back(name);
        return names;
    }
};

TEST_F(RegistryWalkTest, WhereNothingHasChangedTheEndIsTheEnd) {
    plug("first");
    plug("second");
    IOObjectHandle iterator;
    makeIterator(iterator);
    RegistryWalk walk(iterator.get());
    EXPECT_THAT(takeAll(walk), ElementsAre("IONetworkStack", "first", "second"));
    EXPECT_FALSE(walk.beginsAgain());
}

TEST_F(RegistryWalkTest, AChangeOnTheWayEndsItAndTheNextOneFindsWhatIsThere) {
    plug("first");
    plug("second");
    IOObjectHandle iterator;
    makeIterator(iterator);
    RegistryWalk walk(iterator.get());
    takeNext(walk);
    LinuxPlatform::deviceLeft("/first");
    plug("third");
    EXPECT_EQ(takeNext(walk), "none");
    EXPECT_TRUE(walk.beginsAgain());
    EXPECT_THAT(takeAll(walk), ElementsAre("IONetworkStack", "second", "third"));
    EXPECT_FALSE(walk.beginsAgain());
}

TEST_F(RegistryWalkTest, TheTenthWalkIsTheLast) {
    IOObjectHandle iterator;
    makeIterator(iterator);
    RegistryWalk walk(iterator.get());
    for (int begun = 2; begun <= 10; ++begun) {
        plug(std::to_string(begun));
        EXPECT_TRUE(walk.beginsAgain()) << begun;
    }
    plug("last");
    EXPECT_FALSE(walk.beginsAgain());
}

TEST_F(RegistryWalkTest, ServicesFoundOnceAndThoseOfANotificationNeedNoSecondWalk) {
    plug("first");
    IOObjectHandle found, notified;
    ASSERT_EQ(
        IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOUSBDevice"), found.receive()),
        KERN_SUCCESS);
    const IONotificationPortRef port = IONotificationPortCreate(kIOMasterPortDefault);
    const auto ignore = [](void*, io_iterator_t) {};
    ASSERT_EQ(IOServiceAddMatchingNotification(port, kIOMatchedNotification, IOServiceMatching("IOUSBDevice"),
                                               ignore, NULL, notified.receive()),
              KERN_SUCCESS);
    plug("second");
    RegistryWalk overFound(found.get()), overNotified(notified.get());
    EXPECT_THAT(takeAll(overFound), ElementsAre("first"));
    EXPECT_FALSE(overFound.beginsAgain());
    EXPECT_THAT(takeAll(overNotified), testing::UnorderedElementsAre("first", "second"));
    EXPECT_FALSE(overNotified.beginsAgain());
    notified.reset();
    IONotificationPortDestroy(port);
}

} // namespace
