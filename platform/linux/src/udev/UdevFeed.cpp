#include "UdevFeed.h"

#include "Diagnostics.h"
#include "UdevDevice.h"
#include "UdevScan.h"

#include <cerrno>
#include <cstring>
#include <linux/netlink.h>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace LinuxPlatform {
namespace {

/// Room for a burst of events while an application is being started; the kernel may grant less.
const int RECEIVE_BUFFER_BYTES = 1024 * 1024;

/// A monitor that fails this often in a row is broken.
const int TOLERATED_FAILURES = 16;

/// This many broken monitors in a row are not a coincidence.
const int TOLERATED_MONITORS = 4;

/// Rescans in one call. If the kernel continues to lose events, the loop's next pass tries again.
const int RESCANS_AT_ONCE = 3;

/// The daemon sends what a monitor receives. Where /dev is the kernel's own, libudev listens without checking
/// for the daemon; elsewhere it checks, and without the daemon makes a monitor of no multicast group. Neither
/// receives anything.
bool isDeaf(udev_monitor& monitor) {
    sockaddr_nl address{};
    socklen_t size = sizeof(address);
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    const bool isKernels =
        getsockname(udev_monitor_get_fd(&monitor), plain, &size) == 0 && address.nl_family == AF_NETLINK;
    return isKernels && (address.nl_groups == 0 || access("/run/udev/control", F_OK) != 0);
}

/// Whether a message waits in the monitor's socket; if not, errno is the reason. Called before each receive,
/// because libudev does not distinguish a failing socket from a message that it cannot read.
bool hasMessage(udev_monitor& monitor) {
    char first;
    return recv(udev_monitor_get_fd(&monitor), &first, sizeof(first), MSG_PEEK | MSG_DONTWAIT) >= 0;
}

} // namespace

void UdevFeed::start(DeviceTree& devices) {
    m_context.reset(udev_new());
    if (!m_context) {
        report("IOKit: udev cannot be used (%s); no device will be seen", std::strerror(errno));
        return;
    }
    // First the monitor, then the scan: a device that arrives in between is seen twice, not never.
    listen();
    scan(devices);
}

void UdevFeed::listen() {
    m_monitor.reset(udev_monitor_new_from_netlink(m_context.get(), "udev"));
    int error = m_monitor ? 0 : errno;
    for (const char* subsystem : {"usb", "tty", "net"})
        if (error == 0)
            error = -udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), subsystem, nullptr);
    if (error == 0) {
        udev_monitor_set_receive_buffer_size(m_monitor.get(), RECEIVE_BUFFER_BYTES);
        error = -udev_monitor_enable_receiving(m_monitor.get());
    }
    if (error != 0) {
        report("IOKit: cannot listen to udev (%s); devices that arrive later will not be seen",
               std::strerror(error));
        m_monitor.reset();
        return;
    }
    m_isDeaf = isDeaf(*m_monitor);
    if (m_isDeaf)
        report("IOKit: the udev daemon is not running; devices that arrive later will not be seen");
}

void UdevFeed::listenAnew(int error) {
    if (++m_brokenMonitors == TOLERATED_MONITORS) {
        report("IOKit: udev cannot be listened to any more (%s); devices that arrive from now on will not be "
               "seen",
               std::strerror(error));
        m_monitor.reset();
        return;
    }
    report("IOKit: the connection to udev is broken (%s); making a new one and looking at all devices again",
           std::strerror(error));
    listen();
}

int UdevFeed::descriptor() const {
    return m_monitor ? udev_monitor_get_fd(m_monitor.get()) : -1;
}

void UdevFeed::scan(DeviceTree& devices) {
    ScannedDevices scanned;
    for (int scans = 0; scans == 0 || (scanned.error != 0 && scans < RESCANS_AT_ONCE); ++scans)
        scanned = scanDevices(*m_context);
    const bool wasDue = std::exchange(m_isScanDue, scanned.error != 0);
    if (m_isScanDue && !wasDue)
        report("IOKit: cannot look at all devices (%s); trying again with the next event",
               std::strerror(scanned.error));
    // What could not be read has not left.
    if (!m_isScanDue || !m_hasScanned)
        devices.reconcile(scanned.devices);
    m_hasScanned = true;
}

void UdevFeed::pump(DeviceTree& devices) {
    if (m_isScanDue)
        scan(devices);
    for (int rescans = 0; rescans < RESCANS_AT_ONCE && m_monitor; ++rescans) {
        switch (drain(devices)) {
        case Drained::Complete:
            return;
        case Drained::EventsLost:
            report("IOKit: device events were lost; looking at all devices again");
            break;
        case Drained::MonitorBroken:
            listenAnew(errno);
            break;
        }
        scan(devices);
    }
}

UdevFeed::Drained UdevFeed::drain(DeviceTree& devices) {
    Drained result = Drained::Complete;
    for (int failures = 0; failures < TOLERATED_FAILURES;) {
        if (hasMessage(*m_monitor)) {
            errno = 0;
            const UdevPointer<udev_device> event(udev_monitor_receive_device(m_monitor.get()));
            if (event) {
                if (!apply(*event, devices))
                    result = Drained::EventsLost;
                failures = 0;
                m_brokenMonitors = 0;
                continue;
            }
            // Otherwise the message is not of interest, or libudev cannot read it (no action, say). It is
            // gone.
            if (errno != ENOMEM && errno != ENOBUFS)
                continue;
        }
        switch (errno) {
        case EINTR:
            continue;
        case EAGAIN:
            return result;
        case ENOBUFS: // The kernel has dropped what did not fit into the socket's buffer.
        case ENOMEM:  // The message did not fit into our memory.
            result = Drained::EventsLost;
            ++failures;
            continue;
        default:
            ++failures;
        }
    }
    return Drained::MonitorBroken;
}

bool UdevFeed::apply(udev_device& event, DeviceTree& devices) {
    const char* const actionText = udev_device_get_action(&event);
    const std::string_view action = actionText ? actionText : "";
    if (action == "remove") {
        devices.leave(udev_device_get_syspath(&event));
        return true;
    }
    const bool isMove = action == "move";
    if (isMove) {
        if (const char* oldPath = udev_device_get_property_value(&event, "DEVPATH_OLD"))
            devices.leave(std::string("/sys") + oldPath);
    }
    const bool isArrival = action == "add" || isMove;
    if (!isArrival && action != "change" && action != "bind")
        return true;
    const auto isKnown = [&devices](const std::string& path) { return devices.knows(path); };
    const std::optional<Device> device = describeDevice(event, isKnown);
    if (isLackOfMeans(errno))
        return false;
    if (!device)
        return true;
    const bool isUnreadable = device->kind == DeviceKind::UsbDevice && !device->vendor && !device->product;
    if (isArrival)
        devices.arrive(*device);
    else if (!isUnreadable || !devices.knows(device->path)) // It is gone already, and its removal follows.
        devices.change(*device);
    return true;
}

std::unique_ptr<DeviceFeed> makeHostFeed() {
    return std::make_unique<UdevFeed>();
}

} // namespace LinuxPlatform
