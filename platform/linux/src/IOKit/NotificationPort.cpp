#include "NotificationPort.h"

#include "ClientCalls.h"

namespace LinuxPlatform {

void PortSource::appendDescriptors(std::vector<pollfd>& descriptors) const {
    const int feed = RegistryServer::enter()->feedDescriptor();
    // poll ignores a descriptor of -1.
    descriptors.push_back({feed, POLLIN, 0});
    descriptors.push_back({m_queue->descriptor(), POLLIN, 0});
}

bool PortSource::deliver() {
    Delivery delivery;
    io_object_t argument = IO_OBJECT_NULL;
    {
        const auto server = RegistryServer::enter(RegistryServer::Freshness::UpToDate);
        if (!m_queue->take(delivery))
            return false;
        argument = server->handles().add(delivery.argument);
    }
    delivery.call(argument);
    delivery.argument.reset();
    releaseReference(RegistryServer::enter(), argument, "delivery");
    return true;
}

} // namespace LinuxPlatform
