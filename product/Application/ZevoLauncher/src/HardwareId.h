#pragma once

#include <string>

/// The text that names a USB device in the launcher's configuration and in notifications, "USB#Vid_12d1&Pid_1001". A
/// namespace in the shape of a class.
class HardwareId {
public:
    HardwareId() = delete;

    /// USB#Vid_12d1&Pid_1001 becomes 4817|4097, the form in which connected devices are listed: the four characters
    /// behind each marker as a hexadecimal number, 0 where they are none.
    ///
    /// DELIBERATE: without a marker the four characters from position 3 are taken.
    /// @throw std::out_of_range the id is shorter than that
    static std::string toDecimalPair(const std::string& hardwareId);
};
