#pragma once

#include "HWServicePnP.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

/// Plug-and-play notifications from the IOKit registry.
///
/// Devices that are present when registerService() runs are watched, but no client is told that they arrived:
/// HWServiceDetection finds those. Their removal is told like any other.
class HWServicePnPIOKit : public HWServicePnP {
public:
    HWServicePnPIOKit();
    ~HWServicePnPIOKit() override;

    void init() override;
    /// DELIBERATE: always false; no caller relies on it.
    bool isAvailable() override;
    void registerService() override;
    /// The records of devices still present are not freed: their notifications refer to them.
    void unRegisterService() override;

private:
    CFRunLoopSourceRef m_runLoopSource;
};

// The callbacks given to IOKit. `refCon` is, for each, the record that it was registered with.

/// Match of class "IOUSBDevice". A device that is matched again is told of again, and watched once more.
void DeviceAddedCallback(void* refCon, io_iterator_t it) noexcept;
/// Drains the iterator, which arms it. With `initial` no client is told.
void DeviceAdded(void* refCon, io_iterator_t it, bool initial);

/// Match of any service that does not refuse a watched device's vendor and product ids: on a Mac most services of
/// the machine, so that only those whose path lies below the device's are told of.
void ChildDeviceAddedCallback(void* refCon, io_iterator_t it) noexcept;
/// Drains the iterator, which arms it. With `initial` no client is told. `refCon` must not be null.
void ChildDeviceAdded(void* refCon, io_iterator_t it, bool initial);

/// "IOGeneralInterest" of a watched device: its termination frees the device's records.
void DeviceNotification(void* refCon, io_service_t service, natural_t messageType, void* argument) noexcept;
