#pragma once

#include "ModemDatabase.h"
#include "ModemFile.h"

#include <string>
#include <vector>

namespace Zevo {

/// Ids such as 12d1:1446, as lsusb shows them.
bool areIds(const std::string& text);

/// The device that a text means: a modem file (a path with a slash, or *.modem), ids, or a name such as
/// huawei-e220, if a modem's names contain all of its words. Ids that the database knows have their other
/// personality, too; others are a generic device.
/// @throw UsageError it means none, or several; says which
/// @throw std::runtime_error the file cannot be read
Modem chooseDevice(const std::string& text, const std::vector<KnownModem>& database);

/// The personality that a device switches to if this text names it.
UsbDevice choosePersonality(const std::string& text, const std::vector<KnownModem>& database);

/// Both personalities of a modem in the database.
Modem modemOf(const KnownModem& known);

/// The ids of both personalities, as far as known.
std::vector<std::string> idsOf(const Modem& modem);

} // namespace Zevo
