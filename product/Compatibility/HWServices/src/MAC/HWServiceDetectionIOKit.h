#pragma once

#include "HWServiceDetection.h"

#include <IOKit/IOKitLib.h>

/// Device detection by a scan of the IOKit registry. Strings of more than 255 bytes are cut.
class HWServiceDetectionIOKit : public HWServiceDetection {
public:
    HWServiceDetectionIOKit();
    ~HWServiceDetectionIOKit() override;

    void init() override;
    /// Always true.
    bool isAvailable() override;
    void registerService() override;
    void unRegisterService() override;
    void detectDeviceHID(Dictionary& device, Dictionary& result) override;
    void getConnectedDevices(std::string ignored, std::set<std::string>& devices) override;

    /// Scans every device of the iterator for the ports that `device` describes and adds them to `found`.
    /// `refCon` is ignored.
    void DeviceAdded(void* refCon, io_iterator_t it, Dictionary& device, Dictionary& found);
};
