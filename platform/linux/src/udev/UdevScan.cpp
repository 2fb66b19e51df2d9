#include "UdevScan.h"

#include "Diagnostics.h"
#include "UdevDevice.h"
#include "UdevPointers.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <set>
#include <string_view>
#include <unistd.h>

namespace LinuxPlatform {
namespace {

/// The lists are sysfs's own: links to the devices. libudev's enumeration would open several files for each
/// of the sixty-odd virtual consoles before they could be told apart from modems, which takes longer than all
/// the rest of the start; here reading the link is enough.
const char USB_DEVICES[] = "/sys/bus/usb/devices";
const char TTY_DEVICES[] = "/sys/class/tty";
const char NET_DEVICES[] = "/sys/class/net";

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

/// "/sys/class/tty/ttyUSB0" -> "../../devices/..." gives "/sys/devices/...".
std::string resolve(const std::string& link) {
    char target[PATH_MAX];
    const ssize_t length = readlink(link.c_str(), target, sizeof(target));
    if (length <= 0)
        return {};
    std::string_view text(target, static_cast<std::size_t>(length));
    const std::string_view up = "../";
    while (text.substr(0, up.size()) == up)
        text.remove_prefix(up.size());
    if (text.empty())
        return {};
    return text.front() == '/' ? std::string(text) : "/sys/" + std::string(text);
}

/// The paths of a list's devices, each parent before its children.
std::vector<std::string> listDevices(const char* list, int& error) {
    std::vector<std::string> paths;
    const std::unique_ptr<DIR, CloseDirectory> directory(opendir(list));
    if (!directory && isLackOfMeans(errno))
        error = errno;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        if (entry->d_name[0] == '.')
            continue;
        std::string path = resolve(std::string(list) + "/" + entry->d_name);
        if (!path.empty())
            paths.push_back(std::move(path));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// Whether libudev has read the device's uevent file to its end: it silently skips a line for which it has no
/// memory. The kernel writes these two properties for each device of their kind.
bool isComplete(udev_device& device) {
    const char* const subsystem = udev_device_get_subsystem(&device);
    const std::string_view kind = subsystem ? subsystem : "";
    return kind == "usb"   ? udev_device_get_devtype(&device) != nullptr
           : kind == "tty" ? udev_device_get_devnode(&device) != nullptr
                           : true;
}

class Scan {
public:
    explicit Scan(udev& context) : m_context(context) {}

    void addUsbDevices() {
        for (const std::string& path : listDevices(USB_DEVICES, m_error))
            add(path);
    }

    void addDevicesBelowUsb(const char* list) {
        for (const std::string& path : listDevices(list, m_error))
            if (isBelowUsb(path))
                add(path);
    }

    bool isEmpty() const { return m_found.empty(); }
    ScannedDevices take() { return {std::move(m_found), m_error}; }

private:
    void add(const std::string& path) {
        const UdevPointer<udev_device> device(udev_device_new_from_syspath(&m_context, path.c_str()));
        if (!device) {
            if (isLackOfMeans(errno))
                m_error = errno;
            return; // Otherwise it has just gone; an event will report that.
        }
        const auto isKnown = [this](const std::string& other) { return m_paths.count(other) != 0; };
        std::optional<Device> described = describeDevice(*device, isKnown);
        if (isLackOfMeans(errno))
            m_error = errno;
        else if (!isComplete(*device))
            m_error = ENOMEM;
        if (described) {
            m_paths.insert(described->path);
            m_found.push_back(std::move(*described));
        }
    }

    bool isBelowUsb(std::string path) const {
        while (!path.empty() && m_paths.count(path) == 0)
            path.resize(path.rfind('/'));
        return !path.empty();
    }

    udev& m_context;
    std::vector<Device> m_found;
    std::set<std::string> m_paths;
    int m_error = 0;
};

} // namespace

ScannedDevices scanDevices(udev& context) {
    Scan scan(context);
    scan.addUsbDevices();
    if (!scan.isEmpty()) {
        scan.addDevicesBelowUsb(TTY_DEVICES);
        scan.addDevicesBelowUsb(NET_DEVICES);
    }
    return scan.take();
}

} // namespace LinuxPlatform
