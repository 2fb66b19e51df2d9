#pragma once

#include "Registry.h"

#include <LinuxPlatform.h>

#include <map>
#include <set>

namespace LinuxPlatform {

/// The devices that are there, by their paths, and the registry entries made of them. Feeds tell it what they
/// see; they may tell the same twice, and in any order. Used with the server's lock held.
class DeviceTree {
public:
    explicit DeviceTree(Registry& registry) : m_registry(registry) {}

    /// As LinuxPlatform::DeviceArrived, DeviceChanged, DeviceLeft, AllDevicesLeft, DeviceMatchedAgain.
    void Arrive(const Device& device);
    void Change(const Device& device);
    void Leave(const std::string& path);
    void LeaveAll();
    void MatchAgain(const std::string& path);

    /// `present` are all devices there are: the others have left, and those that are new arrive.
    void Reconcile(const std::vector<Device>& present);

    bool Knows(const std::string& path) const { return m_nodes.count(path) != 0; }

private:
    struct Node {
        Device device;
        EntryPointer entry; ///< none while it waits for its parent
    };
    /// (parent's path, child's path)
    using Link = std::pair<std::string, std::string>;

    void Insert(const Device& device);
    void Attach(Node& node, const EntryPointer& parent);
    PropertyTable PropertiesOf(const Device& device) const;
    std::vector<std::string> ChildrenOf(const std::string& path) const;
    /// The paths of a device and of what hangs on it, itself first.
    std::vector<std::string> Subtree(const std::string& path) const;

    Registry& m_registry;
    std::map<std::string, Node> m_nodes;
    std::set<Link> m_links;
};

} // namespace LinuxPlatform
