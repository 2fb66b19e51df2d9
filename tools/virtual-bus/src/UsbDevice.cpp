#include "UsbDevice.h"

#include <cstdio>

namespace Zevo {

std::string hardwareIdentifier(const UsbDevice& device) {
    char text[64];
    std::snprintf(text, sizeof text, "USB#Vid_%04x&Pid_%04x", device.vendor, device.product);
    return text;
}

UsbDevice makeCdRom(unsigned vendor, unsigned product) {
    UsbInterface storage;
    storage.usbClass = 0x08;
    storage.subClass = 0x06;
    storage.protocol = 0x50;
    storage.driver = "usb-storage";
    return {vendor, product, "USB CD-ROM", {storage}};
}

UsbDevice makePlainDevice(unsigned vendor, unsigned product) {
    return {vendor, product, "USB device", {UsbInterface()}};
}

} // namespace Zevo
