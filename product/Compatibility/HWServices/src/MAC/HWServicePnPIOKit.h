#pragma once

#include "HWServicePnP.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

/// Plug-and-play notifications from the IOKit registry.
///
/// Devices that are present when registerService() runs are watched, but no client is notified of their
/// arrival: HWServiceDetection finds those. Clients are notified of their removal like of any other.
class HWServicePnPIOKit : public HWServicePnP {
public:
    HWServicePnPIOKit();
    ~HWServicePnPIOKit() override;

    void init() override;
    /// DELIBERATE: always false; no caller relies on it.
    bool isAvailable() override;
    void registerService() override;
    /// Does not free the records of devices that are still present: their notifications refer to them.
    void unRegisterService() override;

private:
    CFRunLoopSourceRef m_runLoopSource;
};

// The callbacks for IOKit. `refCon` is the context that each was registered with.

/// Match of class "IOUSBDevice". A device that is matched again is reported again, and watched once more.
void DeviceAddedCallback(void* refCon, io_iterator_t it) noexcept;
/// Drains the iterator, which arms it. With `initial`, no client is notified.
void DeviceAdded(void* refCon, io_iterator_t it, bool initial);

/// Match of any service that does not refuse a watched device's vendor and product ids. On a Mac these are
/// most services of the machine, so only those whose path is below the device's are reported.
void ChildDeviceAddedCallback(void* refCon, io_iterator_t it) noexcept;
/// Drains the iterator, which arms it. With `initial`, no client is notified. `refCon` must not be null.
void ChildDeviceAdded(void* refCon, io_iterator_t it, bool initial);

/// "IOGeneralInterest" of a watched device: its termination frees the device's records.
void DeviceNotification(void* refCon, io_service_t service, natural_t messageType, void* argument) noexcept;
