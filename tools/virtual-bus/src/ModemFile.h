#pragma once

#include "UsbDevice.h"

#include <istream>
#include <string>

namespace Zevo {

/// A modem as it is sold: what it shows when it is plugged in, and what it becomes once it is switched. One of them may be
/// unknown (UsbDevice::isKnown): a modem that needs no switching, or one that was recorded before it was switched.
struct Modem {
    std::string name;
    UsbDevice cdRom;
    UsbDevice modem;

    /// What it shows when it is plugged in.
    const UsbDevice& first() const { return cdRom.isKnown() ? cdRom : modem; }
};

/// Reads one modem from a text file:
///
///      # A comment.
///      name = Stick with a CD-ROM, two serial ports and a network interface
///
///      [cdrom]                                         one of both sections may be missing
///      vendor = 12d1                                   hexadecimal
///      product = 1446
///      text = Mass Storage                             this line and the next three may be missing
///      manufacturer = Somebody
///      serial = 0123456789
///      release = 0102
///      interface = 08 06 50 usb-storage                class, subclass, protocol, then the driver that takes it
///
///      [modem]
///      vendor = 12d1
///      product = 1001
///      interface = ff ff ff option, tty ttyUSB         what the driver makes of it: "tty" or "net" and the beginning of
///      interface = 02 06 00 cdc_ether, net usb         a name; an interface may have several
///
/// Throws std::runtime_error, "<path>:<line>: <what is wrong>", for anything else: also for a value that is given twice.
Modem readModemFile(const std::string& path);

/// The same from a stream. @param shown what stands for the path in what is thrown
Modem readModem(std::istream& stream, const std::string& shown);

/// The text that readModemFile() reads as this modem.
std::string modemFileText(const Modem& modem);

} // namespace Zevo
