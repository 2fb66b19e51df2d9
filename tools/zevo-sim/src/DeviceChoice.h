#pragma once

#include "ModemDatabase.h"
#include "ModemFile.h"

#include <string>
#include <vector>

namespace Zevo {

/// Ids such as 12d1:1446, as lsusb shows them.
bool areIds(const std::string& text);

/// What somebody means by a device: a modem's file (a path with a slash, or *.modem), ids, or a name such as huawei-e220,
/// all of whose words a modem's names hold. Ids that the database knows bring the other personality along; others are a
/// device of no special kind.
/// @throw UsageError it is none, or several; says which
/// @throw std::runtime_error the file cannot be read
Modem chooseDevice(const std::string& text, const std::vector<KnownModem>& database);

/// What a device becomes when it is switched to what somebody means by this text.
UsbDevice choosePersonality(const std::string& text, const std::vector<KnownModem>& database);

/// Both personalities of a modem that the database knows.
Modem modemOf(const KnownModem& known);

/// The ids of both personalities, as far as they are known.
std::vector<std::string> idsOf(const Modem& modem);

} // namespace Zevo
