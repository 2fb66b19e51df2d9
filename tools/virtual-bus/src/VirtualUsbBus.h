#pragma once

#include "UsbDevice.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

typedef struct _UMockdevTestbed UMockdevTestbed;

namespace Zevo {

/// A USB bus for the programs that this process starts: in /sys and through libudev they see its devices, and
/// none of the machine's.
///
/// The process that owns the bus must itself run under umockdev-wrapper, which restartForVirtualBus() does,
/// and so must the programs that read it; its children inherit the environment for that. One bus per process
/// at a time, one thread at a time, and one udev monitor per bus: two would have the same name.
///
/// A port is named as in sysfs: "1-2" is port 2 of bus 1, "1-2.3" is port 3 of the hub at 1-2. The events of
/// a plug and of an unplug come in the kernel's order: a device before its interfaces, children are removed
/// before their parents. An event waits until there is room in the monitor's queue; so a stopped program
/// stops the bus, too.
///
/// Every operation throws std::runtime_error if the bus cannot perform it.
class VirtualUsbBus {
public:
    /// Whether a text has the form of a port: numbers from 1 on, first the bus's, a dash, then the ports,
    /// separated by dots.
    static bool isPort(const std::string& text);

    VirtualUsbBus();
    ~VirtualUsbBus();
    VirtualUsbBus(const VirtualUsbBus&) = delete;
    VirtualUsbBus& operator=(const VirtualUsbBus&) = delete;

    void plug(const std::string& port, const UsbDevice& device);
    void unplug(const std::string& port);
    void unplugAll();

    /// What a modem does when it is switched: it leaves its port and returns there as something else.
    void switchMode(const std::string& port, const UsbDevice& next);

    /// Sends one more event for the device at this port, which does not change.
    void announce(const std::string& port, const char* action);

    bool isPlugged(const std::string& port) const { return m_ports.count(port) != 0; }

    /// The plugged-in devices, by port.
    const std::map<std::string, UsbDevice>& devices() const { return m_devices; }

    /// The first free port of bus 1.
    std::string freePort() const;

    /// The folder of the bus; removed with the bus.
    const std::string& folder() const { return m_folder; }

    /// The number of events sent since the bus was created.
    unsigned long eventCount() const { return m_eventCount; }

private:
    struct Node {
        std::string sysPath;
        std::string function; // "ttyUSB0", if this node has that name
        bool isBound = false;
    };
    struct TestbedDeleter {
        void operator()(UMockdevTestbed* testbed) const;
    };
    typedef std::map<std::string, std::string> Texts;

    void ensureRootHub(const std::string& bus);
    void plugInterfaces(const std::string& port, const UsbDevice& device);
    void plugFunction(const UsbFunction& function, const std::string& interfacePath,
                      std::vector<Node>& nodes);
    void addDevice(const std::string& path, const UsbDevice& device, const std::string& port);
    void addNode(const std::string& path, const Texts& properties, const Texts& attributes);
    void sendEvent(const std::string& path, const char* action);
    void bind(Node& node);
    void removeNode(const Node& node);
    std::string takeName(const std::string& prefix);
    std::string pathOf(const std::string& port) const;

    std::unique_ptr<UMockdevTestbed, TestbedDeleter> m_testbed;
    std::string m_folder;
    std::map<std::string, std::vector<Node>> m_ports; // nodes in the order in which they were added
    std::map<std::string, UsbDevice> m_devices;
    std::map<std::string, std::string> m_rootHubs; // bus number: sysfs path
    std::set<std::string> m_names;                 // names of serial ports and network interfaces in use
    unsigned m_lastNumber = 0;
    unsigned long m_eventCount = 0;
};

} // namespace Zevo
