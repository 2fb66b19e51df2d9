#include "UdevDevice.h"

#include <charconv>
#include <string_view>

namespace LinuxPlatform {
namespace {

std::string_view View(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

std::string ParentPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? std::string() : path.substr(0, slash);
}

/// A USB id: one to four hexadecimal digits and nothing else.
std::optional<std::int32_t> ParseId(std::string_view text) {
    std::int32_t id = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, id, 16);
    if (text.empty() || text.size() > 4 || error != std::errc() || stop != end || id < 0)
        return std::nullopt;
    return id;
}

struct Ids {
    std::optional<std::int32_t> vendor;
    std::optional<std::int32_t> product;
};

/// "vendor/product/release", as the kernel writes it into each event of a device and into what a scan reads.
Ids IdsFromProperties(udev_device& device) {
    const std::string_view text = View(udev_device_get_property_value(&device, "PRODUCT"));
    const std::size_t first = text.find('/');
    const std::size_t second = first == text.npos ? text.npos : text.find('/', first + 1);
    if (second == text.npos)
        return {};
    return {ParseId(text.substr(0, first)), ParseId(text.substr(first + 1, second - first - 1))};
}

Ids IdsFromAttributes(udev_device& device) {
    return {ParseId(View(udev_device_get_sysattr_value(&device, "idVendor"))),
            ParseId(View(udev_device_get_sysattr_value(&device, "idProduct")))};
}

/// An event may be read when its device is gone or going, or another one is at its port: sysfs then has
/// nothing, one of the ids, or the other one's. So the event comes first.
Ids ReadIds(udev_device& device) {
    const Ids own = IdsFromProperties(device);
    return own.vendor && own.product ? own : IdsFromAttributes(device);
}

int ParseNumber(std::string_view text) {
    int number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The number that the bus has given to the device; empty when it is not known. Another device at the same
/// port has another one.
std::string BusNumber(udev_device& device) {
    int number = ParseNumber(View(udev_device_get_property_value(&device, "DEVNUM")));
    if (number < 0)
        number = ParseNumber(View(udev_device_get_sysattr_value(&device, "devnum")));
    return number >= 0 ? std::to_string(number) : std::string();
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// The number at the end of a name: 10 of "1-1.10", 0 of "ttyUSB0", 2 of "1-1:1.2".
std::uint32_t TrailingNumber(std::string_view name) {
    std::size_t begin = name.size();
    while (begin > 0 && IsDigit(name[begin - 1]))
        --begin;
    std::uint32_t number = 0;
    std::from_chars(name.data() + begin, name.data() + name.size(), number);
    return number;
}

/// Bus and port of "usb3" or "3-1.2": the bus in the highest byte, the last port in the lowest ones.
std::uint32_t UsbLocation(std::string_view name) {
    const bool isRootHub = name.substr(0, 3) == "usb";
    std::uint32_t bus = 0;
    if (isRootHub)
        name.remove_prefix(3);
    std::from_chars(name.data(), name.data() + name.size(), bus);
    return (bus << 24) | (isRootHub ? 0 : TrailingNumber(name) & 0xFFFFFF);
}

std::string PathOfParent(udev_device& device, const char* type) {
    udev_device* parent = udev_device_get_parent_with_subsystem_devtype(&device, "usb", type);
    return parent ? udev_device_get_syspath(parent) : "";
}

void DescribeUsbDevice(udev_device& device, const KnownPath& isKnown, Device& described) {
    described.kind = DeviceKind::UsbDevice;
    const std::string above = ParentPath(described.path);
    described.parent = isKnown(above) ? above : PathOfParent(device, "usb_device");
    described.location = UsbLocation(View(udev_device_get_sysname(&device)));
    const Ids ids = ReadIds(device);
    described.vendor = ids.vendor;
    described.product = ids.product;
    described.incarnation = BusNumber(device);
    described.name = View(udev_device_get_sysattr_value(&device, "product"));
}

void DescribeUsbInterface(udev_device& device, Device& described) {
    described.kind = DeviceKind::UsbInterface;
    // The kernel's tree has it directly below its device, which may be gone from sysfs by now.
    described.parent = ParentPath(described.path);
    described.location = TrailingNumber(View(udev_device_get_sysname(&device)));
}

/// The interface, or at least the device, that a port or network card belongs to; empty for one that is not
/// on USB.
std::string FindUsbParent(udev_device& device, const std::string& path, const KnownPath& isKnown) {
    std::string parent = PathOfParent(device, "usb_interface");
    if (!parent.empty())
        return parent;
    // It may be gone from sysfs while its event waits to be read.
    for (std::string above = ParentPath(path); !above.empty(); above = ParentPath(above)) {
        if (isKnown(above))
            return above;
    }
    return PathOfParent(device, "usb_device");
}

} // namespace

std::optional<Device> DescribeDevice(udev_device& device, const KnownPath& isKnown) {
    const std::string_view subsystem = View(udev_device_get_subsystem(&device));
    const std::string_view type = View(udev_device_get_devtype(&device));
    Device described;
    described.path = View(udev_device_get_syspath(&device));
    if (subsystem == "usb" && type == "usb_device") {
        DescribeUsbDevice(device, isKnown, described);
        return described;
    }
    if (subsystem == "usb" && type == "usb_interface") {
        DescribeUsbInterface(device, described);
        return described;
    }
    if (subsystem != "tty" && subsystem != "net")
        return std::nullopt;
    described.parent = FindUsbParent(device, described.path, isKnown);
    if (described.parent.empty())
        return std::nullopt;
    described.name = View(udev_device_get_sysname(&device));
    described.location = TrailingNumber(described.name);
    if (subsystem == "tty") {
        described.kind = DeviceKind::SerialPort;
        described.node = View(udev_device_get_devnode(&device));
    } else {
        described.kind = DeviceKind::NetworkInterface;
        described.incarnation = View(udev_device_get_property_value(&device, "IFINDEX"));
    }
    return described;
}

} // namespace LinuxPlatform
