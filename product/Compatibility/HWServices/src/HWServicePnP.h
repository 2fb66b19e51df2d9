#pragma once

#include <vector>

class HWServicePnPClient;

/// Notifies registered clients when a USB device arrives or leaves. One per process, over the device
/// registry.
///
/// Call registerClient() for every client first, then registerService(), then run the run loop.
///
/// Errors: nothing is thrown except std::bad_alloc. If the system refuses a registration, that is traced as
/// an error and the clients are not notified. Thread: one for all calls and all notifications; nothing is
/// locked.
class HWServicePnP {
public:
    virtual ~HWServicePnP();

    HWServicePnP(const HWServicePnP&) = delete;
    HWServicePnP& operator=(const HWServicePnP&) = delete;

    /// The instance, created by the first call and never destroyed.
    static HWServicePnP* getInstance();

    /// Appends a client. It is borrowed and must outlive the service's notifications, because it cannot be
    /// unregistered. A client that is registered twice is notified twice. Not null.
    void registerClient(HWServicePnPClient* client);

    /// For an implementation that has something to prepare before registerService(); may be called again. The
    /// implementation over IOKit does nothing, and need not be called.
    virtual void init() = 0;
    /// Whether the service can be used here. DELIBERATE: the implementation over IOKit always returns false,
    /// even while it notifies. Do not ask, register.
    virtual bool isAvailable() = 0;
    /// Notifies the clients from now on, in the run loop of the calling thread. Call it once, or again after
    /// unRegisterService(). If the system does not report devices to anyone, that is an error in the trace
    /// and in the log.
    virtual void registerService() = 0;
    /// Ends the notifications. Call it on the thread that called registerService().
    virtual void unRegisterService() = 0;

protected:
    HWServicePnP();

    std::vector<HWServicePnPClient*> m_clients;

private:
    static HWServicePnP* m_activeProvider;
};
