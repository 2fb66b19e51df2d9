#pragma once

#include "DeviceTree.h"

namespace LinuxPlatform {

/// The source of a host's devices. Every call is made with the server's lock held, on whichever thread uses
/// the registry or runs a loop with a notification port in it; none may block.
class DeviceFeed {
public:
    DeviceFeed() = default;
    DeviceFeed(const DeviceFeed&) = delete;
    DeviceFeed& operator=(const DeviceFeed&) = delete;
    virtual ~DeviceFeed() = default;

    /// Called once, first: begins to listen, then reports the present devices to `devices`, so that nothing
    /// is missed in between. A feed that cannot do its work reports that on standard error and stays silent.
    virtual void start(DeviceTree& devices) = 0;

    /// False if pump() will never have anything to do, as far as the host knows.
    virtual bool hears() const = 0;

    /// Readable when pump() has something to do; -1 if it never will.
    virtual int descriptor() const = 0;

    /// Reports to `devices` everything that has happened since.
    virtual void pump(DeviceTree& devices) = 0;
};

/// The feed of this host, or null if it has none. Declared here, where it is used; defined in the folder of
/// the feed that the build has chosen.
std::unique_ptr<DeviceFeed> makeHostFeed();

} // namespace LinuxPlatform
