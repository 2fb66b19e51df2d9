#pragma once

#include "DeviceTree.h"

namespace LinuxPlatform {

/// Where a host's devices come from. Every call is made with the server's lock held, and on whichever thread
/// asks for the registry or runs a loop with a notification port in it; none may block.
class DeviceFeed {
public:
    DeviceFeed() = default;
    DeviceFeed(const DeviceFeed&) = delete;
    DeviceFeed& operator=(const DeviceFeed&) = delete;
    virtual ~DeviceFeed() = default;

    /// Called once, first: begins to listen, then tells `devices` what is there already, so that nothing is
    /// missed in between. A feed that cannot do its work says so on standard error and stays silent.
    virtual void start(DeviceTree& devices) = 0;

    /// False when pump() will never have anything to do, as far as the host tells.
    virtual bool hears() const = 0;

    /// Readable when pump() has something to do; -1 when that will never be.
    virtual int descriptor() const = 0;

    /// Tells `devices` everything that has happened since.
    virtual void pump(DeviceTree& devices) = 0;
};

/// The feed of this host, or nullptr when it has none. Declared here, where it is used; defined by the folder
/// of the feed that the build has chosen.
std::unique_ptr<DeviceFeed> makeHostFeed();

} // namespace LinuxPlatform
