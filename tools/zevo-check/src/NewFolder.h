#pragma once

#include "ModemDatabase.h"

#include <string>
#include <vector>

namespace Zevo {

/// The modem of a new installation.
struct ChosenModem {
    UsbIds modem;
    UsbIds cdRom;
    std::string names;               ///< empty where it is not known
    std::vector<UsbIds> otherCdRoms; ///< of other modems that become the same
    bool isKnown = false;            ///< the CD-ROM personality is the database's; else it is the modem's own
};

/// What somebody means by "12d1:1001", by the ids of a modem that still shows itself as a CD-ROM drive, or by a name.
/// @param connected what is plugged in, looked at when the text is empty
/// @throw UsageError it is none, or several; says which
ChosenModem chooseModem(const std::string& text, const std::vector<KnownModem>& database,
                        const std::vector<UsbIds>& connected);

/// Writes the four files of an installation for the modem. The folder is made; one that holds any of them is refused.
/// @throw UsageError it is refused
/// @throw std::runtime_error it cannot be written
void writeNewFolder(const std::string& folder, const ChosenModem& modem);

} // namespace Zevo
