#pragma once

#include <LinuxPlatform.h>

#include <libudev.h>
#include <vector>

namespace LinuxPlatform {

/// Everything on the bus that the registry has a place for, as it is now.
std::vector<Device> scanDevices(udev& context);

} // namespace LinuxPlatform
