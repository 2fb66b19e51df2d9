#pragma once

#include <string>
#include <vector>

namespace Zevo {

/// What a driver creates for an interface: a serial port or a network interface. The bus gives it the lowest
/// free number, as the kernel does: the prefix "ttyUSB" becomes ttyUSB0, ttyUSB1, ...
struct UsbFunction {
    std::string subsystem; // "tty" or "net"
    std::string prefix;

    bool operator==(const UsbFunction& other) const {
        return subsystem == other.subsystem && prefix == other.prefix;
    }
};

struct UsbInterface {
    unsigned usbClass = 0xff;
    unsigned subClass = 0xff;
    unsigned protocol = 0xff;
    std::string driver; // empty: no driver binds to it
    std::vector<UsbFunction> functions;

    bool operator==(const UsbInterface& other) const;
};

/// One personality of a device, as it appears on the bus.
struct UsbDevice {
    unsigned vendor = 0;
    unsigned product = 0;
    std::string productText;
    std::vector<UsbInterface> interfaces;
    std::string manufacturer;
    std::string serial;
    std::string release = "0000"; // its own version, four hexadecimal digits

    /// A modem file may omit a personality.
    bool isKnown() const { return vendor != 0; }
    bool operator==(const UsbDevice& other) const;
};

/// The identifier that the launcher uses for this device, for example USB#Vid_12d1&Pid_1001.
std::string hardwareIdentifier(const UsbDevice& device);

/// For example 12d1:1001, as lsusb shows it.
std::string shortIdentifier(const UsbDevice& device);

/// A device with one storage interface, as every modem before it is switched.
UsbDevice makeCdRom(unsigned vendor, unsigned product);

/// A device with two serial ports, as the simplest modems after switching.
UsbDevice makeModem(unsigned vendor, unsigned product);

/// A device with one vendor-specific interface to which no driver binds.
UsbDevice makePlainDevice(unsigned vendor, unsigned product);

} // namespace Zevo
