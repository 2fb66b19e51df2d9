#pragma once

#include <LinuxPlatform.h>

#include <libudev.h>
#include <vector>

namespace LinuxPlatform {

/// Everything on the bus that the registry has a place for, as it is now.
struct ScannedDevices {
    std::vector<Device> devices;
    int error =
        0; ///< the errno of a device that is there and could not be looked at, for want of memory or descriptors
};
ScannedDevices scanDevices(udev& context);

} // namespace LinuxPlatform
