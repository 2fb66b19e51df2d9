#include "NotificationPort.h"

#include "ClientCalls.h"

namespace LinuxPlatform {

void PortSource::AppendDescriptors(std::vector<pollfd>& descriptors) const {
    const int feed = RegistryServer::Enter()->FeedDescriptor();
    // poll leaves a descriptor of -1 alone.
    descriptors.push_back({feed, POLLIN, 0});
    descriptors.push_back({m_queue->Descriptor(), POLLIN, 0});
}

bool PortSource::Deliver() {
    Delivery delivery;
    io_object_t argument = IO_OBJECT_NULL;
    {
        const auto server = RegistryServer::Enter(RegistryServer::Freshness::UpToDate);
        if (!m_queue->Take(delivery))
            return false;
        argument = server->Handles().Add(delivery.argument);
    }
    delivery.call(argument);
    delivery.argument.reset();
    ReleaseReference(RegistryServer::Enter(), argument, "delivery");
    return true;
}

} // namespace LinuxPlatform
