#pragma once

#include "ModemDatabase.h"
#include "ModemFile.h"

#include <string>
#include <vector>

namespace Zevo {

/// A USB device that is plugged in, as the system shows it.
struct SeenDevice {
    std::string port;
    UsbDevice device;
};

/// What is plugged in now, hubs left out, in the order of the ports.
std::vector<SeenDevice> seenDevices();

/// The one that is meant by its port, its ids or a name; without any, the only one that the database knows.
/// @throw UsageError none, or several; says which
SeenDevice chooseSeen(const std::string& text, const std::vector<SeenDevice>& devices,
                      const std::vector<KnownModem>& database);

/// The device as a modem's file for a bug report: the personality that it shows, what it says of itself, its interfaces and
/// what the drivers make of them. Serial numbers and others that name a single device are replaced by pseudonyms; the other
/// personality comes from the database, where that knows it.
std::string recordingOf(const SeenDevice& seen, const std::vector<KnownModem>& database);

} // namespace Zevo
