#pragma once

#include "ModemDatabase.h"

#include <string>
#include <vector>

namespace Zevo {

/// How a program asks for a modem, for what it says where a name does not do.
struct ModemQuestion {
    const char* otherwise;              ///< "its ids, as in --modem 12d1:1001"
    const char* option;                 ///< what stands before ids: "--modem ", or nothing
    UsbIds (*idsOf)(const KnownModem&); ///< by which it asks for one of several
};

/// The only modem whose names hold all words of the text, which blanks, "-" and "_" keep apart.
/// @throw UsageError there is none, or there are several, which are listed; or the text is meant as ids and is none
KnownModem chooseByName(const std::string& text, const std::vector<KnownModem>& database,
                        const ModemQuestion& question);

} // namespace Zevo
