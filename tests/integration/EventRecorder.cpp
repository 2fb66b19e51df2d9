#include "EventRecorder.h"

#include "Waiting.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Zevo {

EventRecorder::EventRecorder()
    : m_udev(udev_new()), m_monitor(udev_monitor_new_from_netlink(m_udev, "udev")),
      m_stop(eventfd(0, EFD_CLOEXEC)) {
    udev_monitor_enable_receiving(m_monitor);
    m_thread = std::thread([this] { record(); });
}

EventRecorder::~EventRecorder() {
    eventfd_write(m_stop, 1);
    m_thread.join();
    close(m_stop);
    udev_monitor_unref(m_monitor);
    udev_unref(m_udev);
}

void EventRecorder::record() {
    pollfd waits[] = {{udev_monitor_get_fd(m_monitor), POLLIN, 0}, {m_stop, POLLIN, 0}};
    while (poll(waits, 2, -1) >= 0 && waits[1].revents == 0) {
        udev_device* device = udev_monitor_receive_device(m_monitor);
        if (!device)
            continue;
        const std::string event = std::string(udev_device_get_action(device)) + " " +
                                  udev_device_get_subsystem(device) + " " + udev_device_get_sysname(device);
        udev_device_unref(device);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(event);
    }
}

std::vector<std::string> EventRecorder::events() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

std::vector<std::string> EventRecorder::waitFor(std::size_t count) {
    waitUntil([&] { return events().size() >= count; });
    return events();
}

void EventRecorder::forget() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_events.clear();
}

std::vector<std::string> enumerate(const char* subsystem) {
    std::vector<std::string> result;
    udev* context = udev_new();
    udev_enumerate* enumeration = udev_enumerate_new(context);
    udev_enumerate_add_match_subsystem(enumeration, subsystem);
    udev_enumerate_scan_devices(enumeration);
    udev_list_entry* entry;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumeration))
        result.push_back(udev_list_entry_get_name(entry));
    udev_enumerate_unref(enumeration);
    udev_unref(context);
    return result;
}

} // namespace Zevo
