#pragma once

#include <vector>

class HWServicePnPClient;

/// Tells registered clients when a USB device arrives or goes away. One per process, over the device registry.
///
/// Call registerClient() for every client first, then registerService(), then run the run loop.
///
/// Errors: none is thrown but std::bad_alloc. What the system refuses is traced as an error, and the clients are
/// told of nothing. Thread: one for all of it, and for every notification; nothing is locked.
class HWServicePnP {
public:
    virtual ~HWServicePnP();

    HWServicePnP(const HWServicePnP&) = delete;
    HWServicePnP& operator=(const HWServicePnP&) = delete;

    /// The one instance, created by the first call and never destroyed.
    static HWServicePnP* getInstance();

    /// Appends a client, which is borrowed and must outlive the service's notifications: there is no way to
    /// take it back. A client registered twice is told twice. Not null.
    void registerClient(HWServicePnPClient* client);

    /// For an implementation that has something to prepare before registerService(); may be called again. The one
    /// over IOKit does nothing, and need not be called.
    virtual void init() = 0;
    /// Whether the service can be used here. DELIBERATE: the one over IOKit always says no, also while it notifies.
    /// Do not ask, register.
    virtual bool isAvailable() = 0;
    /// Notifies the clients from now on, in the run loop of the calling thread. To be called once, or again
    /// after unRegisterService(). Where the system tells nobody of devices, that is an error in the trace and
    /// in the log.
    virtual void registerService() = 0;
    /// Ends the notifications; to be called on the thread that called registerService().
    virtual void unRegisterService() = 0;

protected:
    HWServicePnP();

    std::vector<HWServicePnPClient*> m_clients;

private:
    static HWServicePnP* m_activeProvider;
};
