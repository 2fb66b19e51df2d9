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
    /// False if the device of the event could not be read for lack of memory or descriptors.
    bool apply(udev_device& event, DeviceTree& devices);

    UdevPointer<udev> m_context;
    UdevPointer<udev_monitor> m_monitor; ///< null if udev cannot be listened to
    bool m_isDeaf = false;               ///< nobody sends to the monitor
    bool m_hasScanned = false;
    bool m_isScanDue = false; ///< the last scan has missed devices that are present
    int m_brokenMonitors = 0; ///< in a row, without an event in between
};

} // namespace LinuxPlatform
