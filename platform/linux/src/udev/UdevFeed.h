#pragma once

#include "DeviceFeed.h"
#include "UdevPointers.h"

namespace LinuxPlatform {

/// USB devices, their interfaces, serial ports and network interfaces, as udev announces them.
class UdevFeed final : public DeviceFeed {
public:
    void Start(DeviceTree& devices) override;
    bool Hears() const override { return m_monitor && !m_isDeaf; }
    int Descriptor() const override;
    void Pump(DeviceTree& devices) override;

private:
    enum class Drained { Complete, EventsLost, MonitorBroken };

    void Listen();
    void ListenAnew(int error);
    void Scan(DeviceTree& devices);
    Drained Drain(DeviceTree& devices);
    void Apply(udev_device& event, DeviceTree& devices);

    UdevPointer<udev> m_context;
    UdevPointer<udev_monitor> m_monitor; ///< none when udev cannot be listened to
    bool m_isDeaf = false;               ///< nobody sends to the monitor
    int m_brokenMonitors = 0;            ///< one after the other, without an event in between
};

} // namespace LinuxPlatform
