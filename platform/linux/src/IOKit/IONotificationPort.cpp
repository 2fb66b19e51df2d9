// Notification ports of <IOKit/IOKitLib.h>.

#include "Diagnostics.h"
#include "NotificationPort.h"
#include "RegistryServer.h"

using namespace LinuxPlatform;

IONotificationPortRef IONotificationPortCreate(mach_port_t) {
    auto port = std::make_unique<IONotificationPort>();
    port->queue = std::make_shared<NotificationQueue>();
    if (!port->queue->isUsable())
        return nullptr;
    port->source = Owned<PortSource>(handOver(std::make_unique<PortSource>(port->queue)));
    RegistryServer::enter()->ports().insert(port.get());
    return port.release();
}

void IONotificationPortDestroy(IONotificationPortRef notify) {
    {
        const auto server = RegistryServer::enter();
        if (server->ports().erase(notify) == 0) {
            complain("IOKit: IONotificationPortDestroy of %p, which is no live port",
                     static_cast<void*>(notify));
            return;
        }
        notify->queue->close();
    }
    const std::unique_ptr<IONotificationPort> destroyed(notify);
    destroyed->source->invalidate();
}

mach_port_t IONotificationPortGetMachPort(IONotificationPortRef notify) {
    const mach_port_t thePort = 1; // nobody receives from it, so all ports can have the same name
    return notify && RegistryServer::enter(RegistryServer::Freshness::UpToDate)->hearsOfDevices()
               ? thePort
               : MACH_PORT_NULL;
}

CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef notify) {
    return notify ? notify->source.get() : nullptr;
}
