// Notification ports of <IOKit/IOKitLib.h>.

#include "Diagnostics.h"
#include "NotificationPort.h"
#include "RegistryServer.h"

using namespace LinuxPlatform;

IONotificationPortRef IONotificationPortCreate(mach_port_t) {
    auto port = std::make_unique<IONotificationPort>();
    port->queue = std::make_shared<NotificationQueue>();
    if (!port->queue->IsUsable())
        return nullptr;
    port->source = Owned<PortSource>(HandOver(std::make_unique<PortSource>(port->queue)));
    RegistryServer::Enter()->Ports().insert(port.get());
    return port.release();
}

void IONotificationPortDestroy(IONotificationPortRef notify) {
    {
        const auto server = RegistryServer::Enter();
        if (server->Ports().erase(notify) == 0) {
            Complain("IOKit: IONotificationPortDestroy of %p, which is no live port",
                     static_cast<void*>(notify));
            return;
        }
        notify->queue->Close();
    }
    const std::unique_ptr<IONotificationPort> destroyed(notify);
    destroyed->source->Invalidate();
}

mach_port_t IONotificationPortGetMachPort(IONotificationPortRef notify) {
    const mach_port_t thePort = 1; // nobody receives from it, so that all ports can have the same name
    return notify && RegistryServer::Enter(RegistryServer::Freshness::UpToDate)->HearsOfDevices()
               ? thePort
               : MACH_PORT_NULL;
}

CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef notify) {
    return notify ? notify->source.Get() : nullptr;
}
