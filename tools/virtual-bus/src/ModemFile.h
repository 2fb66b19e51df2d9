#pragma once

#include "UsbDevice.h"

#include <string>

namespace Zevo {

/** A modem as it is sold: what it shows when it is plugged in, and what it becomes once it is switched. */
struct Modem {
    std::string name;
    UsbDevice cdRom;
    UsbDevice modem;
};

/** Reads one modem from a text file:

        # A comment.
        name = Stick with a CD-ROM, two serial ports and a network interface

        [cdrom]
        vendor = 12d1                                   hexadecimal
        product = 1446
        interface = 08 06 50 usb-storage                class, subclass, protocol, then the driver that takes
   it

        [modem]
        vendor = 12d1
        product = 1001
        interface = ff ff ff option, tty ttyUSB         what the driver makes of it: "tty" or "net" and a
   name's interface = 02 06 00 cdc_ether, net usb         beginning; an interface may have several

    Throws std::runtime_error, "<path>:<line>: <what is wrong>", for anything else. */
Modem readModemFile(const std::string& path);

} // namespace Zevo
