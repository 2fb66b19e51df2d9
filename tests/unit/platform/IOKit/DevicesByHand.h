#pragma once

#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// A registry in which the test itself adds devices; empty again after the test.
class DevicesByHandTest : public LiveObjectsTest {
protected:
    DevicesByHandTest() { LinuxPlatform::useDevicesByHand(); }

    void TearDown() override {
        LinuxPlatform::allDevicesLeft();
        LiveObjectsTest::TearDown();
    }

    // Descriptions of devices, with paths like the kernel's: "/usb1/1-2", "/usb1/1-2/1-2:1.0", ...
    static LinuxPlatform::Device UsbDevice(const std::string& path, std::int32_t vendor, std::int32_t product,
                                           const std::string& name = "Modem", std::uint32_t location = 1);
    static LinuxPlatform::Device Interface(const std::string& path, std::uint32_t location = 0);
    static LinuxPlatform::Device Port(const std::string& path, const std::string& name);
    static LinuxPlatform::Device NetworkCard(const std::string& path, const std::string& name);

    /// Plugs in a modem with two interfaces: one for a port, one for a network card.
    static void PlugInComposite(const std::string& path, std::int32_t vendor, std::int32_t product);

    // These release the objects that they obtain.
    static CFMutableDictionaryRef MatchingIds(std::int32_t vendor, std::int32_t product);
    static std::vector<std::string> Names(io_iterator_t iterator);
    static std::vector<std::string> NamesOf(CFDictionaryRef matching);
    static std::string NameOf(io_registry_entry_t entry);
    /// Empty if there is none.
    static std::string PathOf(io_registry_entry_t entry);
    static std::string text(CFTypeRef text);
    /// The one service that the dictionary matches; to be released.
    static io_service_t TheService(CFDictionaryRef matching);

    /// The parent of a path; empty for a device directly on the bus.
    static std::string ParentOf(const std::string& path);
};
