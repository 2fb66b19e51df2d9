#pragma once

#include "ModemDatabase.h"

#include <string>
#include <vector>

namespace Zevo {

/// Parts of the messages with which a program asks for a modem, if a name does not select one.
struct ModemQuestion {
    const char* otherwise;              ///< what to give instead: "its ids, as in --modem 12d1:1001"
    const char* option;                 ///< what precedes ids: "--modem ", or nothing
    UsbIds (*idsOf)(const KnownModem&); ///< the ids by which it asks for one of several
};

/// The only modem whose names contain all words of the text; words are separated by blanks, "-" and "_".
/// @throw UsageError there is none, or several, which are listed; or the text looks like ids but is not valid
KnownModem chooseByName(const std::string& text, const std::vector<KnownModem>& database,
                        const ModemQuestion& question);

} // namespace Zevo
