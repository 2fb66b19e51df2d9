#include "ScriptedUdev.h"

#include <cerrno>
#include <cstdlib>
#include <libudev.h>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::deque<ScriptedDevice> events;
int sockets[2] = {-1, -1}; // the monitor's, and its peer, which sends one byte for each event

const char* valueIn(const std::map<std::string, std::string>& values, const std::string& name) {
    const auto found = values.find(name);
    return found == values.end() ? nullptr : found->second.c_str();
}

} // namespace

struct udev_device {
    ScriptedDevice device;
    std::unique_ptr<udev_device> parent;
};

void ScriptedUdev::send(ScriptedDevice event) {
    events.push_back(std::move(event));
    if (sockets[1] >= 0 && ::send(sockets[1], "e", 1, MSG_DONTWAIT) != 1)
        events.pop_back(); // the socket's buffer is full
}

extern "C" {

udev* udev_new() {
    return reinterpret_cast<udev*>(&events);
}
udev* udev_unref(udev*) {
    return nullptr;
}
udev_monitor* udev_monitor_new_from_netlink(udev*, const char*) {
    if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, sockets) != 0)
        std::abort();
    return reinterpret_cast<udev_monitor*>(&sockets);
}
udev_monitor* udev_monitor_unref(udev_monitor*) {
    close(sockets[0]);
    close(sockets[1]);
    events.clear();
    return nullptr;
}
int udev_monitor_filter_add_match_subsystem_devtype(udev_monitor*, const char*, const char*) {
    return 0;
}
int udev_monitor_set_receive_buffer_size(udev_monitor*, int) {
    return 0;
}
int udev_monitor_enable_receiving(udev_monitor*) {
    return 0;
}
int udev_monitor_get_fd(udev_monitor*) {
    return sockets[0];
}
udev_device* udev_monitor_receive_device(udev_monitor*) {
    char byte;
    if (events.empty() || recv(sockets[0], &byte, 1, MSG_DONTWAIT) != 1)
        std::abort(); // the feed polls before it receives
    ScriptedDevice event = std::move(events.front());
    events.pop_front();
    if (event.syspath.empty()) {
        errno = EINVAL;
        return nullptr;
    }
    return new udev_device{std::move(event), nullptr};
}

udev_device* udev_device_new_from_syspath(udev*, const char*) {
    return nullptr; // devices exist only in events
}
udev_device* udev_device_unref(udev_device* device) {
    delete device;
    return nullptr;
}
const char* udev_device_get_syspath(udev_device* device) {
    return device->device.syspath.c_str();
}
const char* udev_device_get_sysname(udev_device* device) {
    const std::string& path = device->device.syspath;
    return path.c_str() + (path.rfind('/') + 1);
}
const char* udev_device_get_action(udev_device* device) {
    return valueIn(device->device.properties, "ACTION");
}
const char* udev_device_get_subsystem(udev_device* device) {
    return valueIn(device->device.properties, "SUBSYSTEM");
}
const char* udev_device_get_devtype(udev_device* device) {
    return valueIn(device->device.properties, "DEVTYPE");
}
const char* udev_device_get_devnode(udev_device* device) {
    return valueIn(device->device.properties, "DEVNAME");
}
const char* udev_device_get_property_value(udev_device* device, const char* name) {
    return valueIn(device->device.properties, name);
}
const char* udev_device_get_sysattr_value(udev_device* device, const char* name) {
    return valueIn(device->device.attributes, name);
}
udev_device* udev_device_get_parent_with_subsystem_devtype(udev_device* device, const char* subsystem,
                                                           const char* type) {
    const char* path = valueIn(device->device.parents, std::string(subsystem) + "/" + type);
    if (path == nullptr)
        return nullptr;
    device->parent.reset(new udev_device{{path, {}, {}, {}}, nullptr});
    return device->parent.get();
}
}
