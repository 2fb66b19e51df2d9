#pragma once

#include "ModemFile.h"

#include <string>
#include <vector>

namespace Zevo {

/** Reads the files of a usb_modeswitch data folder. A file is named "<vendor>:<product>" after the
   personality that is to be switched, some with a further condition behind another colon, and tells in
   TargetVendor and in TargetProduct or TargetProductList what the modem then becomes. Files that name no such
   product are left out; of a list, the first product is taken. In the order of the file names. */
std::vector<Modem> readSwitchingData(const std::string& folder);

/** A choice with as many vendors as possible: the first modem of every vendor, then the second ones, until
   there are so many. */
std::vector<Modem> chooseAcrossVendors(const std::vector<Modem>& modems, std::size_t count);

} // namespace Zevo
