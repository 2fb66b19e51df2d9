#pragma once

// The side of the calls that on macOS lies in the kernel: the registry, its devices, and the references
// that clients hold. There is one per process, behind one lock. Callbacks are called, and objects of
// CoreFoundation made or destroyed, without it.

#include "DeviceFeed.h"
#include "DeviceTree.h"
#include "HandleTable.h"
#include "Registry.h"

#include <mutex>
#include <set>

namespace LinuxPlatform {

class RegistryServer {
public:
    class Access;
    enum class Freshness {
        AsIs,    ///< what was known when the registry was last looked at
        UpToDate ///< what the host's feed has to tell by now, too
    };

    RegistryServer() : m_devices(m_registry) {}

    /// Locks the server for the life of the result.
    static Access enter(Freshness freshness = Freshness::AsIs);

    Registry& entries() { return m_registry; }
    DeviceTree& devices() { return m_devices; }
    HandleTable& handles() { return m_handles; }
    /// Ports that are not yet destroyed.
    std::set<const void*>& ports() { return m_ports; }

    /// -1 when there is nothing to wait for.
    int feedDescriptor() const { return m_feed ? m_feed->descriptor() : -1; }
    /// Whether anything will tell of devices that arrive or leave: the host's feed, or somebody by hand.
    bool hearsOfDevices() const { return !m_feed || m_feed->hears(); }
    /// No feed of the host's from here on, and none of its devices.
    void dropFeed();

private:
    void bringUpToDate();

    std::mutex m_lock;
    Registry m_registry;
    DeviceTree m_devices;
    HandleTable m_handles;
    std::set<const void*> m_ports;
    bool m_isFeedChosen = false;
    std::unique_ptr<DeviceFeed> m_feed;
};

/// The locked server.
class RegistryServer::Access {
public:
    explicit Access(RegistryServer& server) : m_server(&server), m_lock(server.m_lock) {}

    RegistryServer* operator->() const { return m_server; }

private:
    RegistryServer* m_server;
    std::unique_lock<std::mutex> m_lock;
};

} // namespace LinuxPlatform
