#include "VirtualUsbBus.h"

#include "EventRoom.h"

#include <cstdio>
#include <stdexcept>
#include <umockdev.h>

namespace Zevo {
namespace {

const char SYSTEM_FOLDER[] = "/sys";
const char CONTROLLER_PATH[] = "/devices/pci0000:00/0000:00:14.0";
const unsigned ROOT_HUB_VENDOR = 0x1d6b;
const unsigned ROOT_HUB_PRODUCT = 0x0002;
const unsigned USB_MAJOR = 189;

/// With at least this many digits, zero-padded.
std::string hexadecimal(unsigned value, int digits = 1) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%0*x", digits, value);
    return buffer;
}

std::string threeDigits(unsigned value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%03u", value);
    return buffer;
}

/// The ids as the kernel writes them into PRODUCT; the last number is the device's release.
std::string productTriple(const UsbDevice& device) {
    const std::string::size_type digit = device.release.find_first_not_of('0');
    return hexadecimal(device.vendor) + "/" + hexadecimal(device.product) + "/" +
           (digit == std::string::npos ? "0" : device.release.substr(digit));
}

bool isNumber(const std::string& text) {
    const std::string::size_type LONGEST = 3;
    return !text.empty() && text.size() <= LONGEST && text[0] != '0' &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

std::string busOf(const std::string& port) {
    return port.substr(0, port.find('-'));
}

/// The three numbers of an interface as the kernel writes them into INTERFACE.
std::string decimalTriple(const UsbInterface& interface) {
    return std::to_string(interface.usbClass) + "/" + std::to_string(interface.subClass) + "/" +
           std::to_string(interface.protocol);
}

} // namespace

void VirtualUsbBus::TestbedDeleter::operator()(UMockdevTestbed* testbed) const {
    g_object_unref(testbed);
}

bool VirtualUsbBus::isPort(const std::string& text) {
    const std::string::size_type dash = text.find('-');
    bool result = dash != std::string::npos && isNumber(text.substr(0, dash));
    for (std::string::size_type begin = dash + 1; result && begin != 0;) {
        const std::string::size_type dot = text.find('.', begin);
        result = isNumber(text.substr(begin, dot == std::string::npos ? dot : dot - begin));
        begin = dot + 1;
    }
    return result;
}

VirtualUsbBus::VirtualUsbBus() : m_testbed(umockdev_testbed_new()) {
    if (!umockdev_in_mock_environment())
        throw std::runtime_error("a virtual USB bus needs a process started by umockdev-wrapper");
    char* folder = umockdev_testbed_get_root_dir(m_testbed.get());
    m_folder = folder;
    g_free(folder);
    ensureRootHub("1");
}

VirtualUsbBus::~VirtualUsbBus() = default;

void VirtualUsbBus::plug(const std::string& port, const UsbDevice& device) {
    if (!isPort(port))
        throw std::runtime_error("\"" + port + "\" is no port; ports look like 1-2 or 1-2.3");
    ensureRootHub(busOf(port));
    if (isPlugged(port))
        throw std::runtime_error("port " + port + " is taken");
    std::vector<Node>& nodes = m_ports[port];
    m_devices[port] = device;
    Node node;
    addDevice(pathOf(port), device, port);
    node.sysPath = SYSTEM_FOLDER + pathOf(port);
    nodes.push_back(node);
    plugInterfaces(port, device);
    bind(nodes.front());
}

void VirtualUsbBus::plugInterfaces(const std::string& port, const UsbDevice& device) {
    std::vector<Node>& nodes = m_ports[port];
    unsigned number = 0;
    for (const UsbInterface& interface : device.interfaces) {
        const std::string path = pathOf(port) + "/" + port + ":1." + std::to_string(number);
        Texts properties = {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_interface"}};
        properties["PRODUCT"] = productTriple(device);
        properties["INTERFACE"] = decimalTriple(interface);
        if (!interface.driver.empty())
            properties["DRIVER"] = interface.driver;
        addNode(path, properties,
                {{"bInterfaceNumber", hexadecimal(number, 2)},
                 {"bInterfaceClass", hexadecimal(interface.usbClass, 2)},
                 {"bInterfaceSubClass", hexadecimal(interface.subClass, 2)},
                 {"bInterfaceProtocol", hexadecimal(interface.protocol, 2)}});
        Node node;
        node.sysPath = SYSTEM_FOLDER + path;
        const std::size_t index = nodes.size();
        nodes.push_back(node);
        for (const UsbFunction& function : interface.functions)
            plugFunction(function, path, nodes);
        if (!interface.driver.empty())
            bind(nodes[index]);
        ++number;
    }
}

void VirtualUsbBus::plugFunction(const UsbFunction& function, const std::string& interfacePath,
                                 std::vector<Node>& nodes) {
    const std::string name = takeName(function.prefix);
    std::string parent = interfacePath;
    if (function.subsystem ==
        "tty") { // between the interface and its tty stands the serial port's own device
        parent += "/" + name;
        addNode(parent, {{"SUBSYSTEM", "usb-serial"}}, {});
        Node serial;
        serial.sysPath = SYSTEM_FOLDER + parent;
        nodes.push_back(serial);
    }
    const std::string path = parent + "/" + function.subsystem + "/" + name;
    Texts properties = {{"SUBSYSTEM", function.subsystem}};
    if (function.subsystem == "tty")
        properties["DEVNAME"] = "/dev/" + name;
    else
        properties["INTERFACE"] = name;
    addNode(path, properties, {});
    Node node;
    node.sysPath = SYSTEM_FOLDER + path;
    node.function = name;
    nodes.push_back(node);
}

void VirtualUsbBus::addDevice(const std::string& path, const UsbDevice& device, const std::string& port) {
    const unsigned bus = static_cast<unsigned>(std::stoul(busOf(port)));
    const unsigned number = ++m_lastNumber;
    Texts properties = {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_device"}, {"DRIVER", "usb"}};
    properties["PRODUCT"] = productTriple(device);
    properties["BUSNUM"] = threeDigits(bus);
    properties["DEVNUM"] = threeDigits(number);
    properties["DEVNAME"] = "/dev/bus/usb/" + threeDigits(bus) + "/" + threeDigits(number);
    properties["MAJOR"] = std::to_string(USB_MAJOR);
    properties["MINOR"] = std::to_string((bus - 1) * 128 + number - 1);
    Texts attributes = {{"idVendor", hexadecimal(device.vendor, 4)},
                        {"idProduct", hexadecimal(device.product, 4)}};
    attributes["busnum"] = std::to_string(bus);
    attributes["devnum"] = std::to_string(number);
    attributes["devpath"] = port.substr(port.find('-') + 1);
    attributes["bNumInterfaces"] = std::to_string(device.interfaces.size());
    attributes["bcdDevice"] = device.release;
    if (!device.productText.empty())
        attributes["product"] = device.productText;
    if (!device.manufacturer.empty())
        attributes["manufacturer"] = device.manufacturer;
    if (!device.serial.empty())
        attributes["serial"] = device.serial;
    addNode(path, properties, attributes);
}

void VirtualUsbBus::addNode(const std::string& path, const Texts& properties, const Texts& attributes) {
    std::string description = "P: " + path + "\n";
    for (const auto& property : properties)
        description += "E: " + property.first + "=" + property.second + "\n";
    for (const auto& attribute : attributes)
        description += "A: " + attribute.first + "=" + attribute.second + "\\n\n";
    waitForEventRoom(m_folder);
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(m_testbed.get(), description.c_str(), &error)) {
        const std::string reason = error ? error->message : "unknown reason";
        g_clear_error(&error);
        throw std::runtime_error("cannot add " + path + " to the virtual bus: " + reason);
    }
    ++m_eventCount; // adding a device announces it
}

void VirtualUsbBus::sendEvent(const std::string& path, const char* action) {
    waitForEventRoom(m_folder);
    umockdev_testbed_uevent(m_testbed.get(), path.c_str(), action);
    ++m_eventCount;
}

void VirtualUsbBus::bind(Node& node) {
    node.isBound = true;
    sendEvent(node.sysPath, "bind");
}

void VirtualUsbBus::unplug(const std::string& port) {
    if (!isPlugged(port))
        throw std::runtime_error("nothing is plugged into port " + port);
    const std::vector<Node> nodes = m_ports.at(port);
    m_ports.erase(port);
    m_devices.erase(port);
    for (auto node = nodes.rbegin(); node != nodes.rend(); ++node)
        removeNode(*node);
}

void VirtualUsbBus::removeNode(const Node& node) {
    if (node.isBound)
        sendEvent(node.sysPath, "unbind");
    sendEvent(node.sysPath, "remove");
    umockdev_testbed_remove_device(m_testbed.get(), node.sysPath.c_str());
    m_names.erase(node.function);
}

void VirtualUsbBus::unplugAll() {
    while (!m_ports.empty()) {
        const std::string port = m_ports.rbegin()->first; // a copy: the key is erased by unplugging
        unplug(port);
    }
}

std::string VirtualUsbBus::freePort() const {
    for (unsigned number = 1;; ++number) {
        const std::string port = "1-" + std::to_string(number);
        if (!isPlugged(port))
            return port;
    }
}

void VirtualUsbBus::announce(const std::string& port, const char* action) {
    if (!isPlugged(port))
        throw std::runtime_error("nothing is plugged into port " + port);
    sendEvent(m_ports.at(port).front().sysPath, action);
}

void VirtualUsbBus::switchMode(const std::string& port, const UsbDevice& next) {
    unplug(port);
    plug(port, next);
}

void VirtualUsbBus::ensureRootHub(const std::string& bus) {
    if (m_rootHubs.count(bus) != 0)
        return;
    UsbDevice hub;
    hub.vendor = ROOT_HUB_VENDOR;
    hub.product = ROOT_HUB_PRODUCT;
    hub.productText = "xHCI Host Controller";
    const std::string path = std::string(CONTROLLER_PATH) + "/usb" + bus;
    m_rootHubs[bus] = path;
    addDevice(path, hub, bus + "-0");
}

std::string VirtualUsbBus::takeName(const std::string& prefix) {
    for (unsigned number = 0;; ++number) {
        const std::string name = prefix + std::to_string(number);
        if (m_names.insert(name).second)
            return name;
    }
}

std::string VirtualUsbBus::pathOf(const std::string& port) const {
    std::string path = m_rootHubs.at(busOf(port));
    for (std::string::size_type dot = port.find('.'); dot != std::string::npos; dot = port.find('.', dot + 1))
        path += "/" + port.substr(0, dot);
    return path + "/" + port;
}

} // namespace Zevo
