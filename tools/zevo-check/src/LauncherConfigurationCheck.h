#pragma once

#include "Finding.h"

#include <string>

namespace Zevo {

/// The three identifiers as the launcher reads them; empty if it reads none.
struct HardwareIds {
    std::string modem;
    std::string cdRom;
    std::string modemToFind;
};

/// Reads Launcher.cfg with the product's reader and reports what is wrong with it.
/// @param folder  with a trailing separator
HardwareIds checkLauncherConfiguration(const std::string& folder, Findings& findings);

/// The identifier under which devices with these ids are reported, if the text contains two such numbers in
/// any form that people write ("12d1:1001", "USB#VID_12D1&PID_1001"); else empty.
std::string hardwareIdMeantBy(const std::string& text);

} // namespace Zevo
