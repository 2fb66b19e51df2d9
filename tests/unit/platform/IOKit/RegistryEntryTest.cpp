#include "DevicesByHand.h"

#include <IOKit/IOBSD.h>
#include <IOKit/serial/IOSerialKeys.h>

#include <cstring>
#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

class RegistryEntries : public DevicesByHandTest {
protected:
    static std::optional<std::int32_t> Number(CFTypeRef number) {
        std::int32_t value = 0;
        if (!number)
            return std::nullopt;
        EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberIntType, &value));
        CFRelease(number);
        return value;
    }
    static CFTypeRef Property(io_registry_entry_t entry, CFStringRef key) {
        return IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0);
    }
    static CFTypeRef Search(io_registry_entry_t entry, CFStringRef key, IOOptionBits options) {
        return IORegistryEntrySearchCFProperty(entry, kIOServicePlane, key, kCFAllocatorDefault, options);
    }
    static std::string classOf(io_object_t object) {
        io_name_t name = "";
        EXPECT_EQ(IOObjectGetClass(object, name), KERN_SUCCESS);
        return name;
    }
};

} // namespace

TEST_F(RegistryEntries, TheRootStandsAlone) {
    const io_registry_entry_t root = IORegistryGetRootEntry(kIOMasterPortDefault);
    EXPECT_EQ(NameOf(root), "Root");
    EXPECT_EQ(PathOf(root), "IOService:/");
    io_registry_entry_t parent = 1;
    EXPECT_EQ(IORegistryEntryGetParentEntry(root, kIOServicePlane, &parent), kIOReturnNoDevice);
    EXPECT_EQ(parent, IO_OBJECT_NULL);
    IOObjectRelease(root);
}

TEST_F(RegistryEntries, AUsbDeviceCarriesItsIdsAndName) {
    deviceArrived(UsbDevice("/1-1", 0x12D1, 0x1001, "HUAWEI Mobile"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(classOf(device), "IOUSBDevice");
    EXPECT_EQ(NameOf(device), "HUAWEI Mobile");
    EXPECT_EQ(Number(Property(device, CFSTR("idVendor"))), 0x12D1);
    EXPECT_EQ(Number(Property(device, CFSTR("idProduct"))), 0x1001);
    EXPECT_EQ(text(Property(device, CFSTR("USB Product Name"))), "HUAWEI Mobile");
    EXPECT_EQ(text(Property(device, CFSTR("IOClass"))), "IOUSBDevice");
    EXPECT_EQ(Property(device, CFSTR("NoSuchProperty")), nullptr);
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, ADeviceWithoutIdsLacksTheProperties) {
    Device device = UsbDevice("/1-1", 0, 0);
    device.vendor.reset();
    device.product.reset();
    deviceArrived(device);
    const io_service_t service = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(Property(service, CFSTR("idVendor")), nullptr);
    EXPECT_EQ(Property(service, CFSTR("idProduct")), nullptr);
    IOObjectRelease(service);
}

TEST_F(RegistryEntries, ADeviceWithoutANameIsNamedAfterItsClass) {
    deviceArrived(UsbDevice("/1-1", 1, 2, ""));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(NameOf(device), "IOUSBDevice");
    EXPECT_EQ(Property(device, CFSTR("USB Product Name")), nullptr);
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, AnInterfaceCarriesTheIdsOfItsDevice) {
    deviceArrived(UsbDevice("/1-1", 0x12D1, 0x1001));
    deviceArrived(Interface("/1-1/0"));
    const io_service_t interface = TheService(IOServiceMatching("IOUSBInterface"));
    EXPECT_EQ(Number(Property(interface, CFSTR("idVendor"))), 0x12D1);
    EXPECT_EQ(Number(Property(interface, CFSTR("idProduct"))), 0x1001);
    io_registry_entry_t parent = IO_OBJECT_NULL;
    EXPECT_EQ(IORegistryEntryGetParentEntry(interface, kIOServicePlane, &parent), KERN_SUCCESS);
    EXPECT_EQ(classOf(parent), "IOUSBDevice");
    io_registry_entry_t child = IO_OBJECT_NULL;
    EXPECT_EQ(IORegistryEntryGetChildEntry(parent, kIOServicePlane, &child), KERN_SUCCESS);
    EXPECT_TRUE(IOObjectIsEqualTo(child, interface));
    IOObjectRelease(child);
    IOObjectRelease(parent);
    IOObjectRelease(interface);
}

TEST_F(RegistryEntries, ASerialPortNamesItsDeviceFile) {
    PlugInComposite("/1-1", 1, 2);
    const io_service_t port = TheService(IOServiceMatching("IOSerialBSDClient"));
    EXPECT_EQ(text(Property(port, CFSTR(kIOClassKey))), "IOSerialBSDClient");
    EXPECT_EQ(text(Property(port, CFSTR(kIOTTYDeviceKey))), "ttyUSB0");
    EXPECT_EQ(text(Property(port, CFSTR(kIOCalloutDeviceKey))), "/dev/ttyUSB0");
    IOObjectRelease(port);
}

TEST_F(RegistryEntries, ANetworkCardIsAParentOfTheOneNetworkStack) {
    PlugInComposite("/1-1", 1, 2);
    PlugInComposite("/1-2", 3, 4);
    const io_service_t stack = TheService(IOServiceMatching("IONetworkStack"));
    EXPECT_EQ(text(Property(stack, CFSTR("IOClass"))), "IONetworkStack");
    io_iterator_t parents = IO_OBJECT_NULL;
    ASSERT_EQ(IORegistryEntryGetParentIterator(stack, kIOServicePlane, &parents), KERN_SUCCESS);
    std::vector<std::string> paths;
    std::vector<std::string> bsdNames;
    while (const io_object_t parent = IOIteratorNext(parents)) {
        paths.push_back(PathOf(parent));
        bsdNames.push_back(text(Property(parent, CFSTR(kIOBSDNameKey))));
        IOObjectRelease(parent);
    }
    EXPECT_THAT(bsdNames, ElementsAre("(none)", "wwan0", "wwan0"));
    EXPECT_EQ(paths.at(0), "IOService:/");
    EXPECT_THAT(paths.at(1), StartsWith("IOService:/Modem@00000001/IOUSBInterface@00000001/wwan0@"));
    IOObjectRelease(parents);
    IOObjectRelease(stack);
}

TEST_F(RegistryEntries, TheNetworkStackStaysWhenItsCardsLeave) {
    PlugInComposite("/1-1", 1, 2);
    deviceLeft("/1-1");
    const io_service_t stack = TheService(IOServiceMatching("IONetworkStack"));
    EXPECT_EQ(PathOf(stack), "IOService:/IONetworkStack@00000000");
    io_iterator_t parents = IO_OBJECT_NULL;
    ASSERT_EQ(IORegistryEntryGetParentIterator(stack, kIOServicePlane, &parents), KERN_SUCCESS);
    EXPECT_THAT(Names(parents), ElementsAre("Root"));
    IOObjectRelease(parents);
    IOObjectRelease(stack);
}

TEST_F(RegistryEntries, PathsHaveLocationsOfOneWidth) {
    deviceArrived(UsbDevice("/1-1", 1, 2, "Modem", 0x01000001));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(PathOf(device), "IOService:/Modem@01000001");
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, NoPathIsAPrefixOfANeighbours) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "Modem", 1));
    deviceArrived(UsbDevice("/1-10", 1, 10, "Modem", 10));
    deviceArrived(UsbDevice("/1-a", 1, 16, "Modem", 0x10));
    std::vector<std::string> paths;
    for (const std::int32_t product : {1, 10, 16}) {
        const io_service_t device = TheService(MatchingIds(1, product));
        paths.push_back(PathOf(device));
        IOObjectRelease(device);
    }
    for (const std::string& path : paths)
        for (const std::string& other : paths)
            EXPECT_EQ(other.find(path) != std::string::npos, path == other) << path << " in " << other;
}

TEST_F(RegistryEntries, SiblingsThatClaimTheSameLocationAreKeptApart) {
    deviceArrived(UsbDevice("/first", 1, 1, "Modem", 7));
    deviceArrived(UsbDevice("/second", 1, 2, "Modem", 7));
    deviceArrived(UsbDevice("/third", 1, 3, "Modem", 7));
    std::vector<std::string> paths;
    for (const std::int32_t product : {1, 2, 3}) {
        const io_service_t device = TheService(MatchingIds(1, product));
        paths.push_back(PathOf(device));
        IOObjectRelease(device);
    }
    EXPECT_THAT(paths, ElementsAre("IOService:/Modem@00000007", "IOService:/Modem@80000000",
                                   "IOService:/Modem@80000001"));
}

TEST_F(RegistryEntries, ANameCannotForgeAPath) {
    deviceArrived(UsbDevice("/1-1", 1, 2, "A@00000001/B"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(NameOf(device), "A@00000001/B");
    EXPECT_EQ(PathOf(device), "IOService:/A@00000001_B@00000001");
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, ANameIsPrintableUtf8) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "gr\xFC\xDF\n"));
    deviceArrived(UsbDevice("/1-2", 1, 2, "gr\xC3\xBC\xC3\x9F\x7F"));
    const io_service_t latin1 = TheService(MatchingIds(1, 1));
    EXPECT_EQ(NameOf(latin1), "gr???");
    IOObjectRelease(latin1);
    const io_service_t utf8 = TheService(MatchingIds(1, 2));
    EXPECT_EQ(NameOf(utf8), "gr\xC3\xBC\xC3\x9F?");
    EXPECT_EQ(text(Property(utf8, CFSTR("USB Product Name"))), "gr\xC3\xBC\xC3\x9F?");
    IOObjectRelease(utf8);
}

TEST_F(RegistryEntries, ALongNameIsCutAtTheEndOfACharacter) {
    deviceArrived(UsbDevice("/1-1", 1, 1, std::string(126, 'a') + "\xC3\xBC"));
    deviceArrived(UsbDevice("/1-2", 1, 2, std::string(125, 'a') + "\xC3\xBC"));
    const io_service_t cut = TheService(MatchingIds(1, 1));
    EXPECT_EQ(NameOf(cut), std::string(126, 'a'));
    IOObjectRelease(cut);
    const io_service_t whole = TheService(MatchingIds(1, 2));
    EXPECT_EQ(NameOf(whole), std::string(125, 'a') + "\xC3\xBC");
    IOObjectRelease(whole);
}

TEST_F(RegistryEntries, APathThatDoesNotFitIsAnErrorAndNotCut) {
    const std::size_t around = std::strlen("IOService:/@00000001");
    const std::size_t longest = sizeof(io_string_t) - 1 - around;
    deviceArrived(UsbDevice("/1-1", 1, 1, std::string(longest, 'a')));
    deviceArrived(UsbDevice("/1-2", 1, 2, std::string(longest + 1, 'a')));
    io_string_t path = "untouched";
    const io_service_t fits = TheService(MatchingIds(1, 1));
    EXPECT_EQ(IORegistryEntryGetPath(fits, kIOServicePlane, path), KERN_SUCCESS);
    EXPECT_EQ(std::strlen(path), sizeof(io_string_t) - 1);
    IOObjectRelease(fits);
    const io_service_t tooLong = TheService(MatchingIds(1, 2));
    EXPECT_EQ(IORegistryEntryGetPath(tooLong, kIOServicePlane, path), kIOReturnNoSpace);
    EXPECT_STREQ(path, "");
    IOObjectRelease(tooLong);
}

TEST_F(RegistryEntries, OnlyTheServicePlaneExists) {
    const io_registry_entry_t root = IORegistryGetRootEntry(kIOMasterPortDefault);
    io_string_t path;
    EXPECT_EQ(IORegistryEntryGetPath(root, "IODeviceTree", path), kIOReturnBadArgument);
    io_iterator_t iterator = 1;
    EXPECT_EQ(IORegistryEntryGetChildIterator(root, "IODeviceTree", &iterator), kIOReturnBadArgument);
    EXPECT_EQ(iterator, IO_OBJECT_NULL);
    io_registry_entry_t child = 1;
    EXPECT_EQ(IORegistryEntryGetChildEntry(root, "IODeviceTree", &child), kIOReturnBadArgument);
    IOObjectRelease(root);
}

TEST_F(RegistryEntries, AllPropertiesComeInADictionaryOfTheCallers) {
    deviceArrived(UsbDevice("/1-1", 0x12D1, 0x1001, "Modem"));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    CFMutableDictionaryRef properties = nullptr;
    ASSERT_EQ(IORegistryEntryCreateCFProperties(device, &properties, kCFAllocatorDefault, 0), KERN_SUCCESS);
    EXPECT_EQ(CFDictionaryGetCount(properties), 4);
    EXPECT_EQ(CFGetRetainCount(properties), 1);
    CFTypeRef vendor = CFDictionaryGetValue(properties, CFSTR("idVendor"));
    EXPECT_EQ(CFGetRetainCount(vendor), 1);
    EXPECT_EQ(Number(CFRetain(vendor)), 0x12D1);
    CFDictionaryRemoveAllValues(properties);
    CFRelease(properties);
    EXPECT_EQ(Number(Property(device, CFSTR("idVendor"))), 0x12D1) << "the registry has its own";
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, SearchingWithoutOptionsLooksAtTheEntryAlone) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(Number(Search(device, CFSTR("idVendor"), 0)), 0x12D1);
    EXPECT_EQ(Search(device, CFSTR("IOTTYDevice"), 0), nullptr);
    EXPECT_EQ(Search(device, CFSTR("IOTTYDevice"), kIORegistryIterateParents), nullptr)
        << "the direction alone searches nothing";
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, SearchingRecursivelyLooksBelow) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(text(Search(device, CFSTR("IOTTYDevice"), kIORegistryIterateRecursively)), "ttyUSB0");
    EXPECT_EQ(text(Search(device, CFSTR("IOClass"), kIORegistryIterateRecursively)), "IOUSBDevice")
        << "the entry itself comes first";
    EXPECT_EQ(Search(device, CFSTR("NoSuchProperty"), kIORegistryIterateRecursively), nullptr);
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, SearchingRecursivelyThroughParentsLooksAbove) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    const io_service_t port = TheService(IOServiceMatching("IOSerialBSDClient"));
    const IOOptionBits upwards = kIORegistryIterateRecursively | kIORegistryIterateParents;
    EXPECT_EQ(Number(Search(port, CFSTR("idProduct"), upwards)), 0x1001);
    EXPECT_EQ(text(Search(port, CFSTR("USB Product Name"), upwards)), "Modem");
    EXPECT_EQ(Search(port, CFSTR("BSD Name"), upwards), nullptr) << "a neighbour's";
    IOObjectRelease(port);
}

TEST_F(RegistryEntries, OneThatHasLeftKeepsItsPropertiesAndHasNoPath) {
    deviceArrived(UsbDevice("/1-1", 0x12D1, 0x1001));
    const io_service_t device = TheService(IOServiceMatching("IOUSBDevice"));
    deviceLeft("/1-1");
    EXPECT_EQ(NameOf(device), "Modem");
    EXPECT_EQ(classOf(device), "IOUSBDevice");
    EXPECT_EQ(Number(Property(device, CFSTR("idVendor"))), 0x12D1);
    io_string_t path;
    EXPECT_EQ(IORegistryEntryGetPath(device, kIOServicePlane, path), kIOReturnNotAttached);
    io_registry_entry_t parent = 1;
    EXPECT_EQ(IORegistryEntryGetParentEntry(device, kIOServicePlane, &parent), kIOReturnNoDevice);
    IOObjectRelease(device);
}

TEST_F(RegistryEntries, EachHasANumberOfItsOwn) {
    deviceArrived(UsbDevice("/1-1", 1, 1));
    const io_service_t first = TheService(MatchingIds(1, 1));
    std::uint64_t firstID = 0;
    EXPECT_EQ(IORegistryEntryGetRegistryEntryID(first, &firstID), KERN_SUCCESS);
    deviceLeft("/1-1");
    deviceArrived(UsbDevice("/1-1", 1, 1));
    const io_service_t second = TheService(MatchingIds(1, 1));
    std::uint64_t secondID = 0;
    EXPECT_EQ(IORegistryEntryGetRegistryEntryID(second, &secondID), KERN_SUCCESS);
    EXPECT_NE(firstID, secondID);
    EXPECT_FALSE(IOObjectIsEqualTo(first, second));
    IOObjectRelease(second);
    IOObjectRelease(first);
}
