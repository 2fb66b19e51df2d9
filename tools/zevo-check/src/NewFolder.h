#pragma once

#include "ModemDatabase.h"

#include <string>
#include <vector>

namespace Zevo {

/// The modem of a new installation.
struct ChosenModem {
    UsbIds modem;
    UsbIds cdRom;
    std::string names;               ///< empty if unknown
    std::vector<UsbIds> otherCdRoms; ///< of other modems that have the same ids after switching
    bool isKnown = false;            ///< the CD-ROM personality is from the database, else the modem's own
};

/// The modem that is meant by "12d1:1001", by the ids of a modem that still shows itself as a CD-ROM drive,
/// or by a name.
/// @param connected  the connected devices, used if the text is empty
/// @throw UsageError it means none, or several; says which
ChosenModem chooseModem(const std::string& text, const std::vector<KnownModem>& database,
                        const std::vector<UsbIds>& connected);

/// Writes the four files of an installation for the modem. Creates the folder; refuses one that contains any
/// of them.
/// @throw UsageError it is refused
/// @throw std::runtime_error it cannot be written
void writeNewFolder(const std::string& folder, const ChosenModem& modem);

} // namespace Zevo
