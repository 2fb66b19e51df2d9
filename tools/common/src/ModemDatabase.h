#pragma once

#include <string>
#include <vector>

namespace Zevo {

struct UsbIds {
    int vendor = 0;
    int product = 0;

    bool operator==(const UsbIds& other) const { return vendor == other.vendor && product == other.product; }
};

/// A modem as usb_modeswitch knows it.
struct KnownModem {
    UsbIds cdRom;               ///< what it shows when it is plugged in
    std::vector<UsbIds> modems; ///< what it becomes; never empty; cdRom itself where its ids stay
    std::string names;          ///< "Huawei E220, E230, E270, E870"; often several
};

/// Where the package usb-modeswitch-data has it.
inline constexpr char MODEM_DATABASE[] = "/usr/share/usb_modeswitch";

/// Reads the data folder of usb_modeswitch: loose files, or packed as configPack.tar.gz. In the order of the ids. Empty
/// where there is no such folder.
/// @throw std::runtime_error the packed file is damaged
std::vector<KnownModem> readModemDatabase(const std::string& folder);

/// Those whose names hold all words of the text, in any letter case.
std::vector<KnownModem> modemsNamed(const std::string& words, const std::vector<KnownModem>& database);

/// Four hexadecimal digits each: "12d1:1001".
std::string shownIds(const UsbIds& ids);
/// As the launcher is told of such a device.
std::string hardwareIdOf(const UsbIds& ids);

} // namespace Zevo
