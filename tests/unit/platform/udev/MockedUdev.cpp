#include "MockedUdev.h"

#include <cerrno>
#include <cstring>
#include <libudev.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <utility>

namespace {

bool losesEvents = false;

} // namespace

MockedUdev& MockedUdev::Get() {
    static MockedUdev mocked;
    return mocked;
}

void LoseEvents() {
    losesEvents = true;
}

extern "C" {
udev* __real_udev_new();
udev_monitor* __real_udev_monitor_new_from_netlink(udev* context, const char* name);
int __real_udev_monitor_enable_receiving(udev_monitor* monitor);
udev_device* __real_udev_monitor_receive_device(udev_monitor* monitor);
int __real_access(const char* path, int mode);
int __real_getsockname(int descriptor, sockaddr* address, socklen_t* size);

udev* __wrap_udev_new() {
    if (MockedUdev::Get().newFails == 0)
        return __real_udev_new();
    errno = MockedUdev::Get().newFails;
    return nullptr;
}

udev_monitor* __wrap_udev_monitor_new_from_netlink(udev* context, const char* name) {
    if (MockedUdev::Get().monitorFails == 0)
        return __real_udev_monitor_new_from_netlink(context, name);
    errno = MockedUdev::Get().monitorFails;
    return nullptr;
}

int __wrap_udev_monitor_enable_receiving(udev_monitor* monitor) {
    if (MockedUdev::Get().enableFails != 0)
        return -MockedUdev::Get().enableFails;
    if (MockedUdev::Get().whenEnabling)
        MockedUdev::Get().whenEnabling();
    const int result = __real_udev_monitor_enable_receiving(monitor);
    if (MockedUdev::Get().whenEnabled)
        MockedUdev::Get().whenEnabled();
    return result;
}

udev_device* __wrap_udev_monitor_receive_device(udev_monitor* monitor) {
    if (std::exchange(losesEvents, false)) {
        while (udev_device* lost = __real_udev_monitor_receive_device(monitor))
            udev_device_unref(lost);
        errno = ENOBUFS;
        return nullptr;
    }
    std::deque<int>& failures = MockedUdev::Get().receiveFails;
    if (failures.empty())
        return __real_udev_monitor_receive_device(monitor);
    errno = failures.front();
    failures.pop_front();
    return nullptr;
}

int __wrap_getsockname(int descriptor, sockaddr* address, socklen_t* size) {
    if (MockedUdev::Get().groups < 0)
        return __real_getsockname(descriptor, address, size);
    sockaddr_nl kernels{};
    kernels.nl_family = AF_NETLINK;
    kernels.nl_groups = static_cast<unsigned>(MockedUdev::Get().groups);
    std::memcpy(address, &kernels, sizeof(kernels));
    *size = sizeof(kernels);
    return 0;
}

int __wrap_access(const char* path, int mode) {
    if (std::strcmp(path, "/run/udev/control") != 0)
        return __real_access(path, mode);
    errno = ENOENT;
    return MockedUdev::Get().isDaemonThere ? 0 : -1;
}
}
