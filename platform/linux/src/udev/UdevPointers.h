#pragma once

#include <libudev.h>
#include <memory>

namespace LinuxPlatform {

struct UdevRelease {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
};

template <class T>
using UdevPointer = std::unique_ptr<T, UdevRelease>;

} // namespace LinuxPlatform
