#pragma once

#include "Registry.h"

#include <LinuxPlatform.h>

#include <map>
#include <set>

namespace LinuxPlatform {

/// The present devices, by their paths, and the registry entries made of them. Feeds may report the same
/// device twice, and devices in any order. Used with the server's lock held.
class DeviceTree {
public:
    explicit DeviceTree(Registry& registry) : m_registry(registry) {}

    /// As LinuxPlatform::deviceArrived, deviceChanged, deviceLeft, allDevicesLeft, deviceMatchedAgain.
    void arrive(const Device& device);
    void change(const Device& device);
    void leave(const std::string& path);
    void leaveAll();
    void matchAgain(const std::string& path);

    /// `present` is the complete list of devices: known ones that are missing leave, new ones arrive.
    void reconcile(const std::vector<Device>& present);

    bool knows(const std::string& path) const { return m_nodes.count(path) != 0; }

private:
    struct Node {
        Device device;
        EntryPointer entry; ///< null while it waits for its parent
    };
    /// (parent's path, child's path)
    using Link = std::pair<std::string, std::string>;

    void insert(const Device& device);
    void attach(Node& node, const EntryPointer& parent);
    PropertyTable propertiesOf(const Device& device) const;
    std::vector<std::string> childrenOf(const std::string& path) const;
    /// The paths of a device and its descendants, itself first.
    std::vector<std::string> subtree(const std::string& path) const;

    Registry& m_registry;
    std::map<std::string, Node> m_nodes;
    std::set<Link> m_links;
};

} // namespace LinuxPlatform
