#include "DeviceFeed.h"

namespace LinuxPlatform {

/// A build without libudev: devices come by hand only.
std::unique_ptr<DeviceFeed> makeHostFeed() {
    return nullptr;
}

} // namespace LinuxPlatform
