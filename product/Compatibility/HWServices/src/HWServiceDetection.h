#pragma once

#include <set>
#include <string>

class Dictionary;

/// Answers, by a scan of the device registry while the caller waits, which USB devices are connected now and
/// which ports one configured modem exposes. One instance per process.
///
/// Errors: none is thrown but std::bad_alloc. A registry that cannot be read is traced as an error and looks like
/// one without devices. Thread: the main one only; nothing is locked.
///
/// Keys of a device description (all texts, all optional):
///   VendorID, ProductID   the USB ids in decimal
///   PortHID, ModemPortHID name of the data and of the modem port's TTY device, in any letter case, or a POSIX
///                         basic regular expression that finds a match in it
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
    /// Both forget the instance. DELIBERATE: getInstance() stores a new object only after its construction,
    /// and who deletes the instance gets a fresh one from the next getInstance().
    HWServiceDetection();
    virtual ~HWServiceDetection();

    HWServiceDetection(const HWServiceDetection&) = delete;
    HWServiceDetection& operator=(const HWServiceDetection&) = delete;

    /// The one instance, created on demand.
    static HWServiceDetection* getInstance();

    /// For an implementation that holds something between two scans: init() prepares it, before anything else;
    /// registerService() takes what it needs, unRegisterService() gives it back. The one over IOKit holds nothing:
    /// there the three do nothing, in any order and number, and need not be called.
    virtual void init() = 0;
    /// Whether a scan can be made here. Over IOKit always true, also where the registry holds no USB device.
    virtual bool isAvailable() = 0;
    virtual void registerService() = 0;
    virtual void unRegisterService() = 0;

    /// Looks for the described device and adds its ports to `result`. A device that is not connected, or of
    /// which no port was found, leaves `result` as it was.
    virtual void detectDeviceHID(Dictionary& device, Dictionary& result) = 0;
    /// Inserts one "vendor|product" (both decimal) per connected USB device; what `devices` held stays. The
    /// first argument is ignored.
    virtual void getConnectedDevices(std::string ignored, std::set<std::string>& devices) = 0;

private:
    static HWServiceDetection* m_activeProvider;
};
