#pragma once

#include <string>

/// The content of a Launcher.cfg with these three identifiers.
inline std::string launcherConfiguration(const std::string& toDetect, const std::string& toFind,
                                         const std::string& cdRom) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
           "<key>MacHardwareIdToDetect</key>\n<string>" +
           toDetect + "</string>\n<key>MacHardwareIdToFind</key>\n<string>" + toFind +
           "</string>\n<key>MacCdRomHIdToDetect</key>\n<string>" + cdRom + "</string>\n</dict>\n</plist>";
}
