#pragma once

#include "Finding.h"

#include <string>

namespace Zevo {

/// The three identifiers as the launcher gets them; empty where it gets none.
struct HardwareIds {
    std::string modem;
    std::string cdRom;
    std::string modemToFind;
};

/// Reads Launcher.cfg with the product's reader and says what is wrong with it.
/// @param folder with its separator at the end
HardwareIds checkLauncherConfiguration(const std::string& folder, Findings& findings);

/// The identifier that devices with these numbers are reported under, if the text holds two such numbers in any form that
/// people write ("12d1:1001", "USB#VID_12D1&PID_1001"); else empty.
std::string hardwareIdMeantBy(const std::string& text);

} // namespace Zevo
