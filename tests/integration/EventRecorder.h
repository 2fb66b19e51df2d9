#pragma once

#include <libudev.h>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Zevo {

/// A udev monitor that records its events. It reads in a thread of its own: the bus blocks while the
/// monitor's queue is full, so the thread that plugs in devices cannot be the one that reads.
class EventRecorder {
public:
    EventRecorder();
    ~EventRecorder();
    EventRecorder(const EventRecorder&) = delete;
    EventRecorder& operator=(const EventRecorder&) = delete;

    /// "<action> <subsystem> <name>" of every event so far, in order of arrival.
    std::vector<std::string> events();
    /// As events(), once this many have arrived.
    std::vector<std::string> waitFor(std::size_t count);
    void forget();

private:
    void record();

    udev* m_udev;
    udev_monitor* m_monitor;
    int m_stop;
    std::mutex m_mutex;
    std::vector<std::string> m_events;
    std::thread m_thread;
};

/// The sysfs paths of all devices of this subsystem that an enumeration finds.
std::vector<std::string> enumerate(const char* subsystem);

} // namespace Zevo
