#pragma once

// What is part of the kernel on macOS: the registry, its devices, and the references that clients hold. There
// is one per process, behind one lock. Callbacks are called, and CoreFoundation objects created or destroyed,
// without the lock.

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
        AsIs,    ///< what was known at the last update
        UpToDate ///< with everything that the host's feed has to report
    };

    RegistryServer() : m_devices(m_registry) {}

    /// Locks the server for the lifetime of the result.
    static Access enter(Freshness freshness = Freshness::AsIs);

    Registry& entries() { return m_registry; }
    DeviceTree& devices() { return m_devices; }
    HandleTable& handles() { return m_handles; }
    /// Ports that are not yet destroyed.
    std::set<const void*>& ports() { return m_ports; }

    /// -1 if there is nothing to wait for.
    int feedDescriptor() const { return m_feed ? m_feed->descriptor() : -1; }
    /// Whether anything reports devices that arrive or leave: the host's feed, or a caller by hand.
    bool hearsOfDevices() const { return !m_feed || m_feed->hears(); }
    /// Removes the host's feed, for good, and all of its devices.
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
