#pragma once

#include "NotificationQueue.h"
#include "RunLoop.h"

#include <IOKit/IOKitLib.h>

#include <memory>

namespace LinuxPlatform {

/// Delivers a port's messages on a run loop. It also sleeps on the host's feed, so that devices are noticed.
class PortSource final : public RunLoopSource {
public:
    explicit PortSource(std::shared_ptr<NotificationQueue> queue) : m_queue(std::move(queue)) {}

    void appendDescriptors(std::vector<pollfd>& descriptors) const override;
    bool deliver() override;

private:
    const std::shared_ptr<NotificationQueue> m_queue;
};

} // namespace LinuxPlatform

/// What an IONotificationPortRef points to.
struct IONotificationPort {
    std::shared_ptr<LinuxPlatform::NotificationQueue> queue;
    LinuxPlatform::Owned<LinuxPlatform::PortSource> source;
};
