#pragma once

#include <string>

/// The text that identifies a USB device in the launcher's configuration and in notifications:
/// "USB#Vid_12d1&Pid_1001". Only static functions.
class HardwareId {
public:
    HardwareId() = delete;

    /// USB#Vid_12d1&Pid_1001 becomes 4817|4097, the form in which connected devices are listed: the four
    /// characters after each marker as a hexadecimal number, 0 if they are none.
    ///
    /// DELIBERATE: without a marker the four characters from position 3 are taken.
    /// @throw std::out_of_range the id is shorter than that
    static std::string toDecimalPair(const std::string& hardwareId);
};
