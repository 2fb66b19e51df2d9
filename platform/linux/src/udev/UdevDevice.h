#pragma once

#include <LinuxPlatform.h>

#include <functional>
#include <libudev.h>
#include <optional>
#include <string>

namespace LinuxPlatform {

/// Whether a device of that path is in the registry, or is about to be.
using KnownPath = std::function<bool(const std::string& path)>;

/// Describes a device for the registry; nothing for one that has no place there (a disk's endpoint, a
/// console). Reads attributes from sysfs, and opens no device. Sets errno: isLackOfMeans() holds for it if
/// something could not be read, so that the description is incomplete or missing; else it is 0.
std::optional<Device> describeDevice(udev_device& device, const KnownPath& isKnown);

} // namespace LinuxPlatform
