#include "MockedUdev.h"

#include <cerrno>
#include <cstring>
#include <libudev.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <utility>

namespace {

bool losesEvents = false;

bool Fails(std::deque<int>& failures) {
    if (failures.empty())
        return false;
    if (failures.front() != MockedUdev::SILENT)
        errno = failures.front();
    failures.pop_front();
    return true;
}

} // namespace

MockedUdev& MockedUdev::get() {
    static MockedUdev mocked;
    return mocked;
}

void LoseEvents() {
    losesEvents = true;
}

extern "C" {
udev* __real_udev_new();
udev_monitor* __real_udev_monitor_new_from_netlink(udev* context, const char* name);
int __real_udev_monitor_filter_add_match_subsystem_devtype(udev_monitor* monitor, const char* subsystem,
                                                           const char* type);
int __real_udev_monitor_enable_receiving(udev_monitor* monitor);
udev_device* __real_udev_monitor_receive_device(udev_monitor* monitor);
const char* __real_udev_device_get_subsystem(udev_device* device);
const char* __real_udev_device_get_devtype(udev_device* device);
const char* __real_udev_device_get_devnode(udev_device* device);
udev_device* __real_udev_device_new_from_syspath(udev* context, const char* path);
ssize_t __real_recv(int descriptor, void* buffer, size_t size, int flags);
int __real_access(const char* path, int mode);
int __real_getsockname(int descriptor, sockaddr* address, socklen_t* size);

udev* __wrap_udev_new() {
    if (MockedUdev::get().newFails == 0)
        return __real_udev_new();
    errno = MockedUdev::get().newFails;
    return nullptr;
}

udev_monitor* __wrap_udev_monitor_new_from_netlink(udev* context, const char* name) {
    ++MockedUdev::get().monitors;
    if (MockedUdev::get().monitorFails == 0)
        return __real_udev_monitor_new_from_netlink(context, name);
    errno = MockedUdev::get().monitorFails;
    return nullptr;
}

int __wrap_udev_monitor_filter_add_match_subsystem_devtype(udev_monitor* monitor, const char* subsystem,
                                                           const char* type) {
    MockedUdev::get().filters.emplace_back(subsystem);
    return __real_udev_monitor_filter_add_match_subsystem_devtype(monitor, subsystem, type);
}

int __wrap_udev_monitor_enable_receiving(udev_monitor* monitor) {
    if (MockedUdev::get().enableFails != 0)
        return -MockedUdev::get().enableFails;
    if (MockedUdev::get().whenEnabling)
        MockedUdev::get().whenEnabling();
    const int result = __real_udev_monitor_enable_receiving(monitor);
    if (MockedUdev::get().whenEnabled)
        MockedUdev::get().whenEnabled();
    return result;
}

ssize_t __wrap_recv(int descriptor, void* buffer, size_t size, int flags) {
    if (std::exchange(losesEvents, false)) {
        char event;
        while (__real_recv(descriptor, &event, sizeof(event), MSG_DONTWAIT) >= 0) {
        }
        errno = ENOBUFS;
        return -1;
    }
    return Fails(MockedUdev::get().receiveFails) ? -1 : __real_recv(descriptor, buffer, size, flags);
}

udev_device* __wrap_udev_monitor_receive_device(udev_monitor* monitor) {
    return Fails(MockedUdev::get().refusals) ? nullptr : __real_udev_monitor_receive_device(monitor);
}

udev_device* __wrap_udev_device_new_from_syspath(udev* context, const char* path) {
    return Fails(MockedUdev::get().looksFail) ? nullptr : __real_udev_device_new_from_syspath(context, path);
}

const char* __wrap_udev_device_get_subsystem(udev_device* device) {
    return Fails(MockedUdev::get().subsystemsFail) ? nullptr : __real_udev_device_get_subsystem(device);
}

const char* __wrap_udev_device_get_devtype(udev_device* device) {
    return Fails(MockedUdev::get().typesFail) ? nullptr : __real_udev_device_get_devtype(device);
}

const char* __wrap_udev_device_get_devnode(udev_device* device) {
    return Fails(MockedUdev::get().nodesFail) ? nullptr : __real_udev_device_get_devnode(device);
}

int __wrap_getsockname(int descriptor, sockaddr* address, socklen_t* size) {
    if (MockedUdev::get().groups < 0)
        return __real_getsockname(descriptor, address, size);
    sockaddr_nl kernels{};
    kernels.nl_family = AF_NETLINK;
    kernels.nl_groups = static_cast<unsigned>(MockedUdev::get().groups);
    std::memcpy(address, &kernels, sizeof(kernels));
    *size = sizeof(kernels);
    return 0;
}

int __wrap_access(const char* path, int mode) {
    if (std::strcmp(path, "/run/udev/control") != 0)
        return __real_access(path, mode);
    errno = ENOENT;
    return MockedUdev::get().isDaemonThere ? 0 : -1;
}
}
