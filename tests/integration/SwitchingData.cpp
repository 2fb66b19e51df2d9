#include "SwitchingData.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <map>
#include <memory>

namespace Zevo {
namespace {

std::vector<std::string> sortedNames(const std::string& folder) {
    std::vector<std::string> result;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr)
        if (std::string(entry->d_name).find(':') == 4)
            result.push_back(entry->d_name);
    std::sort(result.begin(), result.end());
    return result;
}

unsigned hexadecimal(const std::string& text) {
    return static_cast<unsigned>(std::strtoul(text.c_str(), nullptr, 16));
}

/** The number of a line such as TargetProduct=0x1001 or TargetProductList="1001,1404"; 0 on any other line.
 */
unsigned numberOf(const std::string& line, const std::string& name) {
    const std::string::size_type equals = line.find('=');
    if (equals == std::string::npos || line.substr(0, line.find_first_of(" \t=")) != name)
        return 0;
    const std::string::size_type digit = line.find_first_not_of(" \t\"", equals + 1);
    return digit == std::string::npos ? 0 : hexadecimal(line.substr(digit));
}

Modem readModem(const std::string& folder, const std::string& fileName) {
    unsigned vendor = 0;
    unsigned product = 0;
    Modem modem;
    std::ifstream file(folder + "/" + fileName);
    for (std::string line; std::getline(file, line);) {
        if (modem.name.empty() && line.compare(0, 2, "# ") == 0)
            modem.name = line.substr(2);
        vendor = std::max(vendor, numberOf(line, "TargetVendor"));
        product = std::max({product, numberOf(line, "TargetProduct"), numberOf(line, "TargetProductList")});
    }
    modem.cdRom = makeCdRom(hexadecimal(fileName), hexadecimal(fileName.substr(5)));
    modem.modem = makePlainDevice(vendor, product);
    modem.modem.interfaces.push_back(UsbInterface());
    return modem;
}

} // namespace

std::vector<Modem> readSwitchingData(const std::string& folder) {
    std::vector<Modem> result;
    for (const std::string& name : sortedNames(folder)) {
        const Modem modem = readModem(folder, name);
        if (modem.modem.vendor != 0 && modem.modem.product != 0)
            result.push_back(modem);
    }
    return result;
}

std::vector<Modem> chooseAcrossVendors(const std::vector<Modem>& modems, std::size_t count) {
    std::map<unsigned, std::size_t> seen;
    std::vector<std::pair<std::size_t, std::size_t>> order; // round, then place in the list
    for (std::size_t index = 0; index < modems.size(); ++index)
        order.emplace_back(seen[modems[index].cdRom.vendor]++, index);
    std::sort(order.begin(), order.end());
    std::vector<Modem> result;
    for (std::size_t index = 0; index < std::min(count, order.size()); ++index)
        result.push_back(modems[order[index].second]);
    return result;
}

} // namespace Zevo
