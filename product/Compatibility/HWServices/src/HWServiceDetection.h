#pragma once

#include <set>
#include <string>

class Dictionary;

/// Scans the device registry, while the caller waits, for the connected USB devices and for the ports of one
/// configured modem. One instance per process.
///
/// Errors: nothing is thrown except std::bad_alloc. A registry that cannot be read is traced as an error and
/// counts as one without devices. Thread: the main one only; nothing is locked.
///
/// Keys of a device description (all strings, all optional):
///   VendorID, ProductID   the USB ids in decimal
///   PortHID, ModemPortHID name of the data and of the modem port's TTY device, in any letter case, or a
///                         POSIX basic regular expression that matches a part of it
///   NetworkAdapterHID     not empty: look for the network interface (the text itself is not compared)
///   ModemHID              display name
///
/// Keys of a result, each present only when found:
///   DetectedModemName           the description's ModemHID
///   DetectedPortName            call-out device (/dev/...) of the data port
///   DetectedModemPortName       call-out device of the modem port
///   DetectedNetworkAdapterName  BSD name of the network interface
class HWServiceDetection {
public:
    /// Both reset the instance to none. DELIBERATE: getInstance() stores a new object only after its
    /// construction, and code that deletes the instance gets a new one from the next getInstance().
    HWServiceDetection();
    virtual ~HWServiceDetection();

    HWServiceDetection(const HWServiceDetection&) = delete;
    HWServiceDetection& operator=(const HWServiceDetection&) = delete;

    /// The instance, created on demand.
    static HWServiceDetection* getInstance();

    /// For an implementation that holds something between two scans: init() prepares it, before anything
    /// else; registerService() acquires what it needs, unRegisterService() releases it. The implementation
    /// over IOKit holds nothing: there these three do nothing, may be called in any order and number, and
    /// need not be called.
    virtual void init() = 0;
    /// Whether a scan is possible here. Over IOKit always true, even if the registry holds no USB device.
    virtual bool isAvailable() = 0;
    virtual void registerService() = 0;
    virtual void unRegisterService() = 0;

    /// Looks for the described device and adds its ports to `result`. If the device is not connected, or none
    /// of its ports is found, `result` stays as it was.
    virtual void detectDeviceHID(Dictionary& device, Dictionary& result) = 0;
    /// Inserts one "vendor|product" (both decimal) per connected USB device; keeps what `devices` already
    /// holds. The first argument is ignored.
    virtual void getConnectedDevices(std::string ignored, std::set<std::string>& devices) = 0;

private:
    static HWServiceDetection* m_activeProvider;
};
