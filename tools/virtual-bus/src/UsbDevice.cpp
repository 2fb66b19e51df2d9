#include "UsbDevice.h"

#include <cstdio>
#include <tuple>

namespace Zevo {

bool UsbInterface::operator==(const UsbInterface& other) const {
    return std::tie(usbClass, subClass, protocol, driver, functions) ==
           std::tie(other.usbClass, other.subClass, other.protocol, other.driver, other.functions);
}

bool UsbDevice::operator==(const UsbDevice& other) const {
    return std::tie(vendor, product, productText, interfaces, manufacturer, serial, release) ==
           std::tie(other.vendor, other.product, other.productText, other.interfaces, other.manufacturer,
                    other.serial, other.release);
}

std::string hardwareIdentifier(const UsbDevice& device) {
    char text[64];
    std::snprintf(text, sizeof text, "USB#Vid_%04x&Pid_%04x", device.vendor, device.product);
    return text;
}

std::string shortIdentifier(const UsbDevice& device) {
    char text[32];
    std::snprintf(text, sizeof text, "%04x:%04x", device.vendor, device.product);
    return text;
}

namespace {

UsbDevice makeDevice(unsigned vendor, unsigned product, const char* text,
                     const std::vector<UsbInterface>& interfaces) {
    UsbDevice device;
    device.vendor = vendor;
    device.product = product;
    device.productText = text;
    device.interfaces = interfaces;
    return device;
}

} // namespace

UsbDevice makeCdRom(unsigned vendor, unsigned product) {
    UsbInterface storage;
    storage.usbClass = 0x08;
    storage.subClass = 0x06;
    storage.protocol = 0x50;
    storage.driver = "usb-storage";
    return makeDevice(vendor, product, "USB CD-ROM", {storage});
}

UsbDevice makePlainDevice(unsigned vendor, unsigned product) {
    return makeDevice(vendor, product, "USB device", {UsbInterface()});
}

UsbDevice makeModem(unsigned vendor, unsigned product) {
    UsbInterface serialPort;
    serialPort.driver = "option";
    serialPort.functions = {{"tty", "ttyUSB"}};
    return makeDevice(vendor, product, "Mobile Modem", {serialPort, serialPort});
}

} // namespace Zevo
