#include "RegistryServer.h"

namespace LinuxPlatform {

RegistryServer::Access RegistryServer::enter(Freshness freshness) {
    // Never destroyed: run loops of other threads may still use it while the process exits.
    static RegistryServer& server = *new RegistryServer;
    Access access(server);
    if (freshness == Freshness::UpToDate)
        server.bringUpToDate();
    return access;
}

void RegistryServer::bringUpToDate() {
    if (!m_isFeedChosen) {
        m_isFeedChosen = true;
        m_feed = makeHostFeed();
        if (m_feed)
            m_feed->start(m_devices);
    }
    if (m_feed)
        m_feed->pump(m_devices);
}

void RegistryServer::dropFeed() {
    m_isFeedChosen = true;
    m_feed.reset();
    m_devices.leaveAll();
}

} // namespace LinuxPlatform
