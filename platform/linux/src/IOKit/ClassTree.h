#pragma once

// The classes of registry objects and their base classes, for IOObjectConformsTo and for the class in a
// matching dictionary.

#include <string_view>

namespace LinuxPlatform {

namespace ClassName {
inline constexpr char REGISTRY_ENTRY[] = "IORegistryEntry";
inline constexpr char SERVICE[] = "IOService";
inline constexpr char USB_DEVICE[] = "IOUSBDevice";
inline constexpr char USB_INTERFACE[] = "IOUSBInterface";
inline constexpr char SERIAL_CLIENT[] = "IOSerialBSDClient";
inline constexpr char NETWORK_INTERFACE[] = "IOEthernetInterface";
inline constexpr char NETWORK_STACK[] = "IONetworkStack";
inline constexpr char ITERATOR[] = "IORegistryIterator";
inline constexpr char MATCHING_NOTIFICATION[] = "IOServiceUserNotification";
inline constexpr char INTEREST_NOTIFICATION[] = "IOServiceMessageUserNotification";
} // namespace ClassName

/// Whether `className` is `ancestor` or derives from it.
bool classConformsTo(std::string_view className, std::string_view ancestor);

} // namespace LinuxPlatform
