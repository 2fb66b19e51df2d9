#include "NotificationQueue.h"

#include <algorithm>

namespace LinuxPlatform {

Notification::~Notification() {
    m_queue->cancel(*this);
}

void Notification::post(std::uint32_t messageType) {
    m_queue->post(*this, messageType);
}

void NotificationQueue::post(Notification& from, std::uint32_t messageType) {
    if (m_isClosed)
        return;
    m_messages.push_back({&from, messageType});
    if (m_messages.size() == 1)
        m_wakeUp.signal();
}

void NotificationQueue::cancel(const Notification& from) {
    const auto isOfIt = [&from](const Message& message) { return message.from == &from; };
    const auto last = std::remove_if(m_messages.begin(), m_messages.end(), isOfIt);
    if (last == m_messages.end())
        return;
    m_messages.erase(last, m_messages.end());
    if (m_messages.empty())
        m_wakeUp.clear();
}

bool NotificationQueue::take(Delivery& delivery) {
    if (m_messages.empty())
        return false;
    const Message message = m_messages.front();
    m_messages.pop_front();
    if (m_messages.empty())
        m_wakeUp.clear();
    delivery = message.from->prepare(message.type);
    return true;
}

void NotificationQueue::close() {
    m_isClosed = true;
    m_messages.clear();
    m_wakeUp.clear();
}

} // namespace LinuxPlatform
