#pragma once

// What the Linux platform layer offers beyond the frameworks that it replaces: counts of live objects, and
// devices that the caller announces. For tests, benchmarks and other feeds; the product never includes it.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace LinuxPlatform {

/// What clients hold at this moment. Code that releases everything it obtains leaves the counts as they were.
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
    /// Identifies it while it is present, for example "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1".
    std::string path;
    /// Path of its parent: the hub, the device or the interface. Empty: it is on the bus itself. A device
    /// whose parent has not arrived yet waits for it.
    std::string parent;
    /// The product name of a USB device, "ttyUSB0", "wwan0". Empty: the entry is named after its class.
    std::string name;
    /// Position below the parent, the port number for instance.
    std::uint32_t location = 0;
    /// The ids of a USB device, if they can be read. Its interfaces need none of their own.
    std::optional<std::int32_t> vendor;
    std::optional<std::int32_t> product;
    /// Device file of a serial port, "/dev/ttyUSB0".
    std::string node;
    /// Distinguishes a device from an equal one that takes its place, if the kernel numbers them; may be
    /// empty.
    std::string incarnation;
};

/// From now on devices come only from the calls below, and the host's own are forgotten. Any thread.
void useDevicesByHand();

/// A device has arrived. If it is known with the same ids and incarnation, nothing happens; if with others,
/// the old one leaves first. Matching services are queued to the notification ports at once and delivered by
/// their run loops.
void deviceArrived(const Device& device);
/// Something about the device has changed. If its ids have, it leaves and arrives again, with its
/// descendants; an unknown device arrives.
void deviceChanged(const Device& device);
/// The device and its descendants have left; an unknown path is ignored.
void deviceLeft(const std::string& path);
/// Every device leaves.
void allDevicesLeft();
/// The device has found a driver again: notifications of published and of matched services deliver it again,
/// those of first ones do not. An unknown path is ignored.
void deviceMatchedAgain(const std::string& path);

/// Where a Mac's kernel promises less than this layer. Code above the layer must be correct with both;
/// docs/platforms.md, "What differs on a Mac", has the reasons.
struct KernelHabits {
    /// Each class checks the keys of a matching dictionary itself, and most accept keys that they do not
    /// know: ids without a class match every service but the devices with other ids, and the USB interfaces.
    /// The iterator of a notification returns the latest service first, and holds 1,024 of them; more are
    /// lost.
    bool matching = false;
    /// An interest in a service that has left is refused (kIOReturnNotAttached, since Apple names no error),
    /// instead of being notified of the end at once.
    bool refusedInterest = false;
};

/// For tests; without this call the layer has no such habit. Any thread.
void adoptHabits(const KernelHabits& habits);

} // namespace LinuxPlatform
