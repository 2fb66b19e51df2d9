#pragma once

#include "UsbDevice.h"

#include <istream>
#include <string>

namespace Zevo {

/// A modem as it is sold: its personality when it is plugged in, and the one after switching. One of them may
/// be unknown (UsbDevice::isKnown): the modem needs no switching, or was recorded before it was switched.
struct Modem {
    std::string name;
    UsbDevice cdRom;
    UsbDevice modem;

    /// Its personality when it is plugged in.
    const UsbDevice& first() const { return cdRom.isKnown() ? cdRom : modem; }
};

/// Reads one modem from a text file:
///
///      # A comment.
///      name = Stick with a CD-ROM, two serial ports and a network interface
///
///      [cdrom]                                         one of the two sections may be missing
///      vendor = 12d1                                   hexadecimal
///      product = 1446
///      text = Mass Storage                             this line and the next three are optional
///      manufacturer = Somebody
///      serial = 0123456789
///      release = 0102
///      interface = 08 06 50 usb-storage                class, subclass, protocol, then the driver that binds to it
///
///      [modem]
///      vendor = 12d1
///      product = 1001
///      interface = ff ff ff option, tty ttyUSB         the driver's device: "tty" or "net" and the prefix of
///      interface = 02 06 00 cdc_ether, net usb         its name; an interface may have several
///
/// Throws std::runtime_error, "<path>:<line>: <what is wrong>", for anything else, also for a repeated value.
Modem readModemFile(const std::string& path);

/// The same from a stream. @param shown  replaces the path in error messages
Modem readModem(std::istream& stream, const std::string& shown);

/// The text that readModemFile() reads as this modem; its inverse.
std::string modemFileText(const Modem& modem);

} // namespace Zevo
