#include "RegistryServer.h"

namespace LinuxPlatform {

RegistryServer::Access RegistryServer::Enter(Freshness freshness) {
    // Never destroyed: run loops of other threads may still use it while the process exits.
    static RegistryServer& server = *new RegistryServer;
    Access access(server);
    if (freshness == Freshness::UpToDate)
        server.BringUpToDate();
    return access;
}

void RegistryServer::BringUpToDate() {
    if (!m_isFeedChosen) {
        m_isFeedChosen = true;
        m_feed = MakeHostFeed();
        if (m_feed)
            m_feed->Start(m_devices);
    }
    if (m_feed)
        m_feed->Pump(m_devices);
}

void RegistryServer::DropFeed() {
    m_isFeedChosen = true;
    m_feed.reset();
    m_devices.LeaveAll();
}

} // namespace LinuxPlatform
