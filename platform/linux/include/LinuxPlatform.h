#pragma once

// What the Linux platform layer offers beyond the frameworks it stands in for: a look at the objects that are
// alive, and devices fed by hand. For tests, benchmarks and other feeds; the product never includes it.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace LinuxPlatform {

/// What clients hold at this moment. A piece of work that releases what it obtains leaves the counts as they
/// were.
struct LiveObjects {
    std::size_t
        coreFoundationObjects;      ///< CF objects not yet destroyed; constants and run loops are not counted
    std::size_t registryReferences; ///< io_object_t references still to be released
    std::size_t notificationPorts;
    std::size_t
        complaints; ///< misuse reported on standard error since the process began (over-releases, ...)
};

/// Any thread.
LiveObjects countLiveObjects();

bool operator==(const LiveObjects& left, const LiveObjects& right);
bool operator!=(const LiveObjects& left, const LiveObjects& right);
std::ostream& operator<<(std::ostream& stream, const LiveObjects& counts);

enum class DeviceKind {
    UsbDevice,       ///< becomes an IOUSBDevice
    UsbInterface,    ///< becomes an IOUSBInterface with its device's ids
    SerialPort,      ///< becomes an IOSerialBSDClient
    NetworkInterface ///< becomes a parent of the IONetworkStack entry
};

/// One device as the kernel shows it.
struct Device {
    DeviceKind kind = DeviceKind::UsbDevice;
    /// What it is known by while it is there, for example "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1".
    std::string path;
    /// Path of the device it hangs on: the hub's, the device's or the interface's. Empty: on the bus itself.
    /// A device whose parent has not arrived yet waits for it.
    std::string parent;
    /// The product's name of a USB device, "ttyUSB0", "wwan0". Empty: the entry is named after its class.
    std::string name;
    /// Place below the parent, the port's number for instance.
    std::uint32_t location = 0;
    /// A USB device's ids, where it has readable ones. Its interfaces need none of their own.
    std::optional<std::int32_t> vendor;
    std::optional<std::int32_t> product;
    /// Device file of a serial port, "/dev/ttyUSB0".
    std::string node;
    /// Tells a device from an equal one that takes its place, where the kernel numbers them; may be empty.
    std::string incarnation;
};

/// From here on the devices come from the calls below alone, and the host's own are forgotten. Any thread.
void useDevicesByHand();

/// The device is there. Known already with the same ids and incarnation: nothing happens; known with others:
/// the old one leaves first. Services that match are queued to the notification ports at once and delivered
/// by their run loops.
void deviceArrived(const Device& device);
/// The device tells that something about it has changed. With other ids than before it leaves and arrives
/// again, with what hangs on it; an unknown device arrives.
void deviceChanged(const Device& device);
/// The device is gone, and what hangs on it with it; an unknown path is ignored.
void deviceLeft(const std::string& path);
/// Every device leaves.
void allDevicesLeft();
/// The device has found a driver once more: notifications of published and of matched services yield it again,
/// those of first ones do not. An unknown path is ignored.
void deviceMatchedAgain(const std::string& path);

/// Where a Mac's kernel promises less than this layer does. What stands above the layer has to be right with
/// either; docs/platforms.md, "What differs on a Mac", has the reasons.
struct KernelHabits {
    /// Each class judges a matching dictionary's keys for itself, and most let pass what they do not know:
    /// ids without a class match every service but the devices with other ids, and the USB interfaces. The
    /// iterator of a notification yields the latest service first, and holds 1,024 of them; more are lost.
    bool matching = false;
    /// An interest in a service that has left is refused (kIOReturnNotAttached, since Apple names no error),
    /// instead of being told of the end at once.
    bool refusedInterest = false;
};

/// For tests; until it is called the layer has no such habit. Any thread.
void adoptHabits(const KernelHabits& habits);

} // namespace LinuxPlatform
