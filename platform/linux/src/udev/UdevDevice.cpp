#include "UdevDevice.h"

#include "Diagnostics.h"

#include <cerrno>
#include <charconv>
#include <string_view>

namespace LinuxPlatform {
namespace {

/// The errno of the last query of this thread's description that lacked memory or descriptors; 0: none.
thread_local int resourceError = 0;

template <typename Answer>
Answer* noted(Answer* answer) {
    if (!answer && isLackOfMeans(errno))
        resourceError = errno;
    return answer;
}

std::string_view view(const char* text) {
    noted(text);
    return text ? std::string_view(text) : std::string_view();
}

std::string parentPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? std::string() : path.substr(0, slash);
}

/// A USB id: one to four hexadecimal digits and nothing else.
std::optional<std::int32_t> parseId(std::string_view text) {
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
Ids idsFromProperties(udev_device& device) {
    const std::string_view text = view(udev_device_get_property_value(&device, "PRODUCT"));
    const std::size_t first = text.find('/');
    const std::size_t second = first == text.npos ? text.npos : text.find('/', first + 1);
    if (second == text.npos)
        return {};
    return {parseId(text.substr(0, first)), parseId(text.substr(first + 1, second - first - 1))};
}

Ids idsFromAttributes(udev_device& device) {
    return {parseId(view(udev_device_get_sysattr_value(&device, "idVendor"))),
            parseId(view(udev_device_get_sysattr_value(&device, "idProduct")))};
}

/// An event may be read when its device is gone or going, or another one is at its port: then sysfs has
/// nothing, one of the ids, or those of the other one. So the event comes first.
Ids readIds(udev_device& device) {
    const Ids own = idsFromProperties(device);
    return own.vendor && own.product ? own : idsFromAttributes(device);
}

int parseNumber(std::string_view text) {
    int number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The number that the bus gave the device; empty if it is unknown. Another device at the same port has
/// another one.
std::string busNumber(udev_device& device) {
    int number = parseNumber(view(udev_device_get_property_value(&device, "DEVNUM")));
    if (number < 0)
        number = parseNumber(view(udev_device_get_sysattr_value(&device, "devnum")));
    return number >= 0 ? std::to_string(number) : std::string();
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// The number at the end of a name: 10 of "1-1.10", 0 of "ttyUSB0", 2 of "1-1:1.2".
std::uint32_t trailingNumber(std::string_view name) {
    std::size_t begin = name.size();
    while (begin > 0 && isDigit(name[begin - 1]))
        --begin;
    std::uint32_t number = 0;
    std::from_chars(name.data() + begin, name.data() + name.size(), number);
    return number;
}

/// Bus and port of "usb3" or "3-1.2": the bus in the highest byte, the last port in the lowest ones.
std::uint32_t usbLocation(std::string_view name) {
    const bool isRootHub = name.substr(0, 3) == "usb";
    std::uint32_t bus = 0;
    if (isRootHub)
        name.remove_prefix(3);
    std::from_chars(name.data(), name.data() + name.size(), bus);
    return (bus << 24) | (isRootHub ? 0 : trailingNumber(name) & 0xFFFFFF);
}

std::string pathOfParent(udev_device& device, const char* type) {
    udev_device* parent = noted(udev_device_get_parent_with_subsystem_devtype(&device, "usb", type));
    return parent ? udev_device_get_syspath(parent) : "";
}

void describeUsbDevice(udev_device& device, const KnownPath& isKnown, Device& described) {
    described.kind = DeviceKind::UsbDevice;
    const std::string above = parentPath(described.path);
    described.parent = isKnown(above) ? above : pathOfParent(device, "usb_device");
    described.location = usbLocation(view(udev_device_get_sysname(&device)));
    const Ids ids = readIds(device);
    described.vendor = ids.vendor;
    described.product = ids.product;
    described.incarnation = busNumber(device);
    described.name = view(udev_device_get_sysattr_value(&device, "product"));
}

void describeUsbInterface(udev_device& device, Device& described) {
    described.kind = DeviceKind::UsbInterface;
    // In the kernel's tree its parent is its device. The path shows that even if sysfs has lost the device by
    // now.
    described.parent = parentPath(described.path);
    described.location = trailingNumber(view(udev_device_get_sysname(&device)));
}

/// The interface, or at least the device, that a serial port or a network card belongs to; empty if it is not
/// on USB.
std::string findUsbParent(udev_device& device, const std::string& path, const KnownPath& isKnown) {
    std::string parent = pathOfParent(device, "usb_interface");
    if (!parent.empty())
        return parent;
    // It may be gone from sysfs while its event waits to be read.
    for (std::string above = parentPath(path); !above.empty(); above = parentPath(above))
        if (isKnown(above))
            return above;
    return pathOfParent(device, "usb_device");
}

std::optional<Device> describe(udev_device& device, const KnownPath& isKnown) {
    const std::string_view subsystem = view(udev_device_get_subsystem(&device));
    const std::string_view type = view(udev_device_get_devtype(&device));
    Device described;
    described.path = view(udev_device_get_syspath(&device));
    if (subsystem == "usb" && type == "usb_device") {
        describeUsbDevice(device, isKnown, described);
        return described;
    }
    if (subsystem == "usb" && type == "usb_interface") {
        describeUsbInterface(device, described);
        return described;
    }
    if (subsystem != "tty" && subsystem != "net")
        return std::nullopt;
    described.parent = findUsbParent(device, described.path, isKnown);
    if (described.parent.empty())
        return std::nullopt;
    described.name = view(udev_device_get_sysname(&device));
    described.location = trailingNumber(described.name);
    if (subsystem == "tty") {
        described.kind = DeviceKind::SerialPort;
        described.node = view(udev_device_get_devnode(&device));
    } else {
        described.kind = DeviceKind::NetworkInterface;
        described.incarnation = view(udev_device_get_property_value(&device, "IFINDEX"));
    }
    return described;
}

} // namespace

std::optional<Device> describeDevice(udev_device& device, const KnownPath& isKnown) {
    resourceError = 0;
    errno = 0;
    std::optional<Device> described = describe(device, isKnown);
    errno = resourceError;
    return described;
}

} // namespace LinuxPlatform
