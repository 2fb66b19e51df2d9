#pragma once

#include "DeviceFeed.h"
#include "UdevPointers.h"

namespace LinuxPlatform {

/// USB devices, their interfaces, serial ports and network interfaces, as udev announces them.
class UdevFeed final : public DeviceFeed {
public:
    void start(DeviceTree& devices) override;
    bool hears() const override { return m_monitor && !m_isDeaf; }
    int descriptor() const override;
    void pump(DeviceTree& devices) override;

private:
    enum class Drained { Complete, EventsLost, MonitorBroken };

    void listen();
    void listenAnew(int error);
    void scan(DeviceTree& devices);
    Drained drain(DeviceTree& devices);
    /// False when what the event tells could not be read for want of memory or descriptors.
    bool apply(udev_device& event, DeviceTree& devices);

    UdevPointer<udev> m_context;
    UdevPointer<udev_monitor> m_monitor; ///< none when udev cannot be listened to
    bool m_isDeaf = false;               ///< nobody sends to the monitor
    bool m_hasScanned = false;
    bool m_isScanDue = false; ///< the last look at all devices has missed some that are there
    int m_brokenMonitors = 0; ///< one after the other, without an event in between
};

} // namespace LinuxPlatform
