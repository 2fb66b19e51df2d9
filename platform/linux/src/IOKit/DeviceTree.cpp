#include "DeviceTree.h"

#include "ClassTree.h"
#include "TextCodec.h"

#include <algorithm>

#include <IOKit/IOBSD.h>
#include <IOKit/serial/IOSerialKeys.h>

namespace LinuxPlatform {
namespace {

const char VENDOR_KEY[] = "idVendor";
const char PRODUCT_KEY[] = "idProduct";
const char PRODUCT_NAME_KEY[] = "USB Product Name";

const char* classOf(DeviceKind kind) {
    switch (kind) {
    case DeviceKind::UsbDevice:
        return ClassName::USB_DEVICE;
    case DeviceKind::UsbInterface:
        return ClassName::USB_INTERFACE;
    case DeviceKind::SerialPort:
        return ClassName::SERIAL_CLIENT;
    case DeviceKind::NetworkInterface:
        return ClassName::NETWORK_INTERFACE;
    }
    return ClassName::SERVICE;
}

/// The device itself chooses its name, so it may contain anything; traces and paths are lines of UTF-8.
std::string printableName(std::string name) {
    const bool isUtf8 = decodeText(name, kCFStringEncodingUTF8, false).has_value();
    for (char& byte : name) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x20 || value == 0x7F || (value >= 0x80 && !isUtf8))
            byte = '?';
    }
    return name;
}

bool isSame(const Device& left, const Device& right) {
    const bool sameIncarnation =
        left.incarnation == right.incarnation || left.incarnation.empty() || right.incarnation.empty();
    return left.kind == right.kind && left.parent == right.parent && left.vendor == right.vendor &&
           left.product == right.product && sameIncarnation;
}

} // namespace

void DeviceTree::arrive(const Device& device) {
    const auto known = m_nodes.find(device.path);
    if (known != m_nodes.end()) {
        if (isSame(known->second.device, device))
            return;
        leave(device.path);
    }
    insert(device);
}

void DeviceTree::change(const Device& device) {
    const auto known = m_nodes.find(device.path);
    if (known != m_nodes.end() && isSame(known->second.device, device))
        return;
    std::vector<Device> below;
    for (const std::string& path : subtree(device.path))
        if (path != device.path)
            below.push_back(m_nodes.at(path).device);
    leave(device.path);
    insert(device);
    for (const Device& other : below)
        insert(other);
}

void DeviceTree::leave(const std::string& path) {
    const auto node = m_nodes.find(path);
    if (node == m_nodes.end())
        return;
    if (node->second.entry)
        m_registry.terminate(node->second.entry);
    for (const std::string& gone : subtree(path)) {
        const auto goneNode = m_nodes.find(gone);
        m_links.erase(Link(goneNode->second.device.parent, gone));
        m_nodes.erase(goneNode);
    }
}

void DeviceTree::leaveAll() {
    reconcile({});
}

void DeviceTree::matchAgain(const std::string& path) {
    const auto node = m_nodes.find(path);
    if (node != m_nodes.end() && node->second.entry)
        m_registry.publishAgain(node->second.entry);
}

void DeviceTree::reconcile(const std::vector<Device>& present) {
    std::map<std::string, const Device*> byPath;
    for (const Device& device : present)
        byPath.emplace(device.path, &device);
    std::vector<std::string> leaving;
    for (const auto& [path, node] : m_nodes) {
        const auto other = byPath.find(path);
        if (other == byPath.end() || !isSame(node.device, *other->second))
            leaving.push_back(path);
    }
    // All leave before any arrives: the descendants of a replaced device are forgotten with it, and arrive
    // again.
    for (const std::string& path : leaving)
        leave(path);
    for (const Device& device : present)
        arrive(device);
}

void DeviceTree::insert(const Device& device) {
    Node& node = m_nodes[device.path];
    node.device = device;
    m_links.emplace(device.parent, device.path);
    if (device.parent.empty()) {
        attach(node, m_registry.root());
        return;
    }
    const auto parent = m_nodes.find(device.parent);
    if (parent != m_nodes.end() && parent->second.entry)
        attach(node, parent->second.entry);
}

void DeviceTree::attach(Node& node, const EntryPointer& parent) {
    const Device& device = node.device;
    const char* className = classOf(device.kind);
    const std::string name = device.name.empty() ? className : printableName(device.name);
    node.entry = m_registry.publish(parent, className, name, device.location, propertiesOf(device));
    for (const std::string& child : childrenOf(device.path)) {
        Node& waiting = m_nodes.at(child);
        if (!waiting.entry)
            attach(waiting, node.entry);
    }
}

PropertyTable DeviceTree::propertiesOf(const Device& device) const {
    PropertyTable properties;
    const auto addText = [&properties](const char* key, const std::string& text) {
        if (!text.empty())
            properties[key] = text;
    };
    // Interfaces are matched by the ids of their device.
    const auto parent = m_nodes.find(device.parent);
    const bool takesIds = device.kind == DeviceKind::UsbInterface && parent != m_nodes.end();
    const Device& withIds = takesIds ? parent->second.device : device;
    if (withIds.vendor)
        properties[VENDOR_KEY] = *withIds.vendor;
    if (withIds.product)
        properties[PRODUCT_KEY] = *withIds.product;
    switch (device.kind) {
    case DeviceKind::UsbDevice:
        addText(PRODUCT_NAME_KEY, printableName(device.name));
        break;
    case DeviceKind::UsbInterface:
        break;
    case DeviceKind::SerialPort:
        addText(kIOTTYDeviceKey, device.name);
        addText(kIOCalloutDeviceKey, device.node);
        addText(kIODialinDeviceKey, device.node);
        break;
    case DeviceKind::NetworkInterface:
        addText(kIOBSDNameKey, device.name);
        break;
    }
    return properties;
}

std::vector<std::string> DeviceTree::childrenOf(const std::string& path) const {
    std::vector<std::string> children;
    for (auto link = m_links.lower_bound(Link(path, "")); link != m_links.end() && link->first == path;
         ++link)
        children.push_back(link->second);
    return children;
}

std::vector<std::string> DeviceTree::subtree(const std::string& path) const {
    std::vector<std::string> paths;
    if (knows(path))
        paths.push_back(path);
    std::set<std::string> seen(paths.begin(),
                               paths.end()); // a feed may report devices that are each other's parents
    for (std::size_t index = 0; index < paths.size(); ++index) {
        for (const std::string& child : childrenOf(paths[index]))
            if (seen.insert(child).second)
                paths.push_back(child);
    }
    return paths;
}

} // namespace LinuxPlatform
