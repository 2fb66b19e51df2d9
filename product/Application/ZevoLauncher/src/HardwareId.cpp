#include "HardwareId.h"

#include <cstdlib>

namespace {

/// The four characters after a marker ("Vid_" or "Pid_") as a hexadecimal number; 0 if they are none.
long hexadecimalBehind(const std::string& marker, const std::string& hardwareId) {
    // DELIBERATE: without the marker the sum wraps around to position 3, so the four characters from there
    // are taken; an id shorter than that makes substr() throw std::out_of_range.
    const std::string::size_type position = hardwareId.find(marker) + 4;
    return std::strtol(hardwareId.substr(position, 4).c_str(), nullptr, 16);
}

} // namespace

std::string HardwareId::toDecimalPair(const std::string& hardwareId) {
    return std::to_string(hexadecimalBehind("Vid_", hardwareId)) + '|' +
           std::to_string(hexadecimalBehind("Pid_", hardwareId));
}
