#pragma once

#include <string>
#include <vector>

namespace Zevo {

struct UsbIds {
    int vendor = 0;
    int product = 0;

    bool operator==(const UsbIds& other) const { return vendor == other.vendor && product == other.product; }
};

/// A modem in the data of usb_modeswitch.
struct KnownModem {
    UsbIds cdRom;               ///< its ids when it is plugged in
    std::vector<UsbIds> modems; ///< its ids after switching; never empty; cdRom itself if the ids stay
    std::string names;          ///< "Huawei E220, E230, E270, E870"; often several
};

/// Where the package usb-modeswitch-data installs it.
inline constexpr char MODEM_DATABASE[] = "/usr/share/usb_modeswitch";

/// Reads the data folder of usb_modeswitch: single files, or packed as configPack.tar.gz. Sorted by ids.
/// Empty if there is no such folder.
/// @throw std::runtime_error the packed file is damaged
std::vector<KnownModem> readModemDatabase(const std::string& folder);

/// Those whose names contain all words of the text, in any letter case.
std::vector<KnownModem> modemsNamed(const std::string& words, const std::vector<KnownModem>& database);

/// Four hexadecimal digits each: "12d1:1001".
std::string shownIds(const UsbIds& ids);
/// The identifier under which the launcher is notified of such a device.
std::string hardwareIdOf(const UsbIds& ids);

} // namespace Zevo
