#pragma once

#include <string>

/// The interface of a listener to plug-and-play events. Register it with HWServicePnP::registerClient().
///
/// A hardware identifier has the form "USB#Vid_%04x&Pid_%04x" with lower-case hexadecimal digits, for example
/// USB#Vid_12d1&Pid_1001. One physical arrival normally yields several onDeviceArrival() calls with the same
/// identifier, one for the device and one for each service below it: implementations must tolerate repeats.
///
/// Every operation is called on the thread that registered the service, inside its run loop. The text is
/// borrowed for the call, and all clients get the same one. An exception from an operation is traced as an
/// error and goes no further.
class HWServicePnPClient {
public:
    virtual ~HWServicePnPClient() = default;

    /// The machine woke from sleep. The service over the device registry never calls it.
    virtual void onResumeStandbyMode() = 0;
    virtual void onDeviceArrival(std::string& hid) = 0;
    virtual void onDeviceRemoval(std::string& hid) = 0;
    /// Not called by the service over the device registry; by default they do nothing.
    virtual void onVolumeArrival(std::string& /*volume*/) {}
    virtual void onVolumeRemoval(std::string& /*volume*/) {}
};
