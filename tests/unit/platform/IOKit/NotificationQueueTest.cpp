#include "NotificationQueue.h"

#include <gtest/gtest.h>
#include <poll.h>

using LinuxPlatform::Delivery;
using LinuxPlatform::Notification;
using LinuxPlatform::NotificationQueue;

namespace {

/// Posts messages, and records the type of the last one that was prepared for delivery.
class Sender final : public Notification {
public:
    explicit Sender(std::shared_ptr<NotificationQueue> queue) : Notification(std::move(queue)) {}

    using Notification::post;
    Delivery prepare(std::uint32_t messageType) override {
        lastPrepared = messageType;
        return {};
    }

    std::uint32_t lastPrepared = 0;
};

class NotificationQueues : public ::testing::Test {
protected:
    bool IsReadable() const {
        pollfd ready{m_queue->descriptor(), POLLIN, 0};
        return poll(&ready, 1, 0) == 1;
    }

    const std::shared_ptr<NotificationQueue> m_queue = std::make_shared<NotificationQueue>();
    Delivery m_delivery;
};

} // namespace

TEST_F(NotificationQueues, FirstComeFirstServed) {
    Sender sender(m_queue);
    sender.post(1);
    sender.post(2);
    EXPECT_TRUE(m_queue->take(m_delivery));
    EXPECT_EQ(sender.lastPrepared, 1U);
    EXPECT_TRUE(m_queue->take(m_delivery));
    EXPECT_EQ(sender.lastPrepared, 2U);
    EXPECT_FALSE(m_queue->take(m_delivery));
}

TEST_F(NotificationQueues, TheDescriptorIsReadableWhileMessagesWait) {
    Sender sender(m_queue);
    EXPECT_FALSE(IsReadable());
    sender.post(1);
    sender.post(2);
    EXPECT_TRUE(IsReadable());
    m_queue->take(m_delivery);
    EXPECT_TRUE(IsReadable());
    m_queue->take(m_delivery);
    EXPECT_FALSE(IsReadable());
}

TEST_F(NotificationQueues, AMessageDiesWithItsSender) {
    Sender stays(m_queue);
    {
        Sender goes(m_queue);
        goes.post(1);
        stays.post(2);
    }
    EXPECT_TRUE(IsReadable());
    EXPECT_TRUE(m_queue->take(m_delivery));
    EXPECT_EQ(stays.lastPrepared, 2U);
    EXPECT_FALSE(m_queue->take(m_delivery));
}

TEST_F(NotificationQueues, TheLastMessageToDieLeavesNothingToWakeUpFor) {
    {
        Sender sender(m_queue);
        sender.post(1);
    }
    EXPECT_FALSE(IsReadable());
}

TEST_F(NotificationQueues, AClosedOneKeepsNothing) {
    Sender sender(m_queue);
    sender.post(1);
    m_queue->close();
    EXPECT_FALSE(IsReadable());
    EXPECT_FALSE(m_queue->take(m_delivery));
    sender.post(2);
    EXPECT_FALSE(IsReadable());
    EXPECT_FALSE(m_queue->take(m_delivery));
}
