#pragma once

#include <LinuxPlatform.h>

#include <functional>
#include <libudev.h>
#include <optional>
#include <string>

namespace LinuxPlatform {

/// Whether a device of that path is in the registry, or is about to be.
using KnownPath = std::function<bool(const std::string& path)>;

/// What the registry needs to know of a device; nothing for one that has no place there (a disk's endpoint, a
/// console). Reads attributes from sysfs, and opens no device. errno is one for which isLackOfMeans() holds where something of
/// it could not be read, so that the description lacks something or is none; else 0.
std::optional<Device> describeDevice(udev_device& device, const KnownPath& isKnown);

} // namespace LinuxPlatform
