#pragma once

#include <LinuxPlatform.h>

#include <libudev.h>
#include <vector>

namespace LinuxPlatform {

/// Everything on the bus that has a place in the registry, at this moment.
struct ScannedDevices {
    std::vector<Device> devices;
    int error = 0; ///< errno if a present device could not be read for lack of memory or descriptors
};
ScannedDevices scanDevices(udev& context);

} // namespace LinuxPlatform
