#pragma once

#include "ModemDatabase.h"
#include "ModemFile.h"

#include <string>
#include <vector>

namespace Zevo {

/// A plugged-in USB device, as the system shows it.
struct SeenDevice {
    std::string port;
    UsbDevice device;
};

/// The plugged-in devices, without hubs, in the order of the ports.
std::vector<SeenDevice> seenDevices();

/// The device with this port, these ids or this name; without any, the only one that the database knows.
/// @throw UsageError none, or several; says which
SeenDevice chooseSeen(const std::string& text, const std::vector<SeenDevice>& devices,
                      const std::vector<KnownModem>& database);

/// The device as a modem file for a bug report: its present personality, its texts, its interfaces and what
/// the drivers make of them. Serial numbers and other numbers that identify a single device are replaced by
/// pseudonyms; the other personality comes from the database, if that knows it.
std::string recordingOf(const SeenDevice& seen, const std::vector<KnownModem>& database);

} // namespace Zevo
