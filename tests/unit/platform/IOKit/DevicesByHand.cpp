#include "DevicesByHand.h"

using LinuxPlatform::Device;
using LinuxPlatform::DeviceKind;

std::string DevicesByHandTest::ParentOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

Device DevicesByHandTest::UsbDevice(const std::string& path, std::int32_t vendor, std::int32_t product,
                                    const std::string& name, std::uint32_t location) {
    Device device;
    device.kind = DeviceKind::UsbDevice;
    device.path = path;
    device.parent = ParentOf(path);
    device.name = name;
    device.location = location;
    device.vendor = vendor;
    device.product = product;
    return device;
}

Device DevicesByHandTest::Interface(const std::string& path, std::uint32_t location) {
    Device device;
    device.kind = DeviceKind::UsbInterface;
    device.path = path;
    device.parent = ParentOf(path);
    device.location = location;
    return device;
}

Device DevicesByHandTest::Port(const std::string& path, const std::string& name) {
    Device device;
    device.kind = DeviceKind::SerialPort;
    device.path = path;
    device.parent = ParentOf(path);
    device.name = name;
    device.node = "/dev/" + name;
    return device;
}

Device DevicesByHandTest::NetworkCard(const std::string& path, const std::string& name) {
    Device device;
    device.kind = DeviceKind::NetworkInterface;
    device.path = path;
    device.parent = ParentOf(path);
    device.name = name;
    return device;
}

void DevicesByHandTest::PlugInComposite(const std::string& path, std::int32_t vendor, std::int32_t product) {
    deviceArrived(UsbDevice(path, vendor, product));
    deviceArrived(Interface(path + "/0", 0));
    deviceArrived(Port(path + "/0/tty", "ttyUSB0"));
    deviceArrived(Interface(path + "/1", 1));
    deviceArrived(NetworkCard(path + "/1/net", "wwan0"));
}

CFMutableDictionaryRef DevicesByHandTest::MatchingIds(std::int32_t vendor, std::int32_t product) {
    CFMutableDictionaryRef matching = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFNumberRef vendorNumber = CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &vendor);
    CFNumberRef productNumber = CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &product);
    CFDictionarySetValue(matching, CFSTR("idVendor"), vendorNumber);
    CFDictionarySetValue(matching, CFSTR("idProduct"), productNumber);
    CFRelease(productNumber);
    CFRelease(vendorNumber);
    return matching;
}

std::vector<std::string> DevicesByHandTest::Names(io_iterator_t iterator) {
    std::vector<std::string> names;
    while (const io_object_t object = IOIteratorNext(iterator)) {
        names.push_back(NameOf(object));
        IOObjectRelease(object);
    }
    return names;
}

std::vector<std::string> DevicesByHandTest::NamesOf(CFDictionaryRef matching) {
    io_iterator_t iterator = IO_OBJECT_NULL;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &iterator), KERN_SUCCESS);
    std::vector<std::string> names = Names(iterator);
    IOObjectRelease(iterator);
    return names;
}

std::string DevicesByHandTest::NameOf(io_registry_entry_t entry) {
    io_name_t name = "";
    EXPECT_EQ(IORegistryEntryGetName(entry, name), KERN_SUCCESS);
    return name;
}

std::string DevicesByHandTest::PathOf(io_registry_entry_t entry) {
    io_string_t path = "";
    return IORegistryEntryGetPath(entry, kIOServicePlane, path) == KERN_SUCCESS ? path : "";
}

std::string DevicesByHandTest::text(CFTypeRef text) {
    if (!text)
        return "(none)";
    char buffer[512] = "(not a text)";
    if (CFGetTypeID(text) == CFStringGetTypeID())
        CFStringGetCString(static_cast<CFStringRef>(text), buffer, sizeof(buffer), kCFStringEncodingUTF8);
    CFRelease(text);
    return buffer;
}

io_service_t DevicesByHandTest::TheService(CFDictionaryRef matching) {
    io_iterator_t iterator = IO_OBJECT_NULL;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &iterator), KERN_SUCCESS);
    const io_service_t service = IOIteratorNext(iterator);
    EXPECT_NE(service, IO_OBJECT_NULL);
    EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
    IOObjectRelease(iterator);
    return service;
}
