#include "Notifications.h"

#include <algorithm>

#include <IOKit/IOMessage.h>

namespace LinuxPlatform {
namespace {

/// How many services the iterator of a notification holds on a Mac.
const std::size_t KERNELS_ROOM = 1024;

} // namespace

Notification::~Notification() {
    m_queue->Forget(*this);
}

void Notification::Post(std::uint32_t messageType) {
    m_queue->Post(*this, messageType);
}

void NotificationQueue::Post(Notification& from, std::uint32_t messageType) {
    if (m_isClosed)
        return;
    m_messages.push_back({&from, messageType});
    if (m_messages.size() == 1)
        m_wakeUp.Signal();
}

void NotificationQueue::Forget(const Notification& from) {
    const auto isOfIt = [&from](const Message& message) { return message.from == &from; };
    const auto last = std::remove_if(m_messages.begin(), m_messages.end(), isOfIt);
    if (last == m_messages.end())
        return;
    m_messages.erase(last, m_messages.end());
    if (m_messages.empty())
        m_wakeUp.Clear();
}

bool NotificationQueue::Take(Delivery& delivery) {
    if (m_messages.empty())
        return false;
    const Message message = m_messages.front();
    m_messages.pop_front();
    if (m_messages.empty())
        m_wakeUp.Clear();
    delivery = message.from->Prepare(message.type);
    return true;
}

void NotificationQueue::Close() {
    m_isClosed = true;
    m_messages.clear();
    m_wakeUp.Clear();
}

MatchingNotification::MatchingNotification(Registry& registry, std::shared_ptr<NotificationQueue> queue,
                                           About about, MatchingCriteria criteria,
                                           IOServiceMatchingCallback callback, void* refCon)
    : Notification(std::move(queue)), m_registry(registry), m_about(about), m_criteria(std::move(criteria)),
      m_callback(callback), m_refCon(refCon) {
    m_registry.AddObserver(*this);
    if (m_about == About::Terminations)
        return;
    for (const EntryPointer& present : m_criteria.MatchesIn(m_registry))
        Append(present);
}

MatchingNotification::~MatchingNotification() {
    m_registry.RemoveObserver(*this);
}

EntryPointer MatchingNotification::Next() {
    if (m_services.empty()) {
        m_isArmed = true;
        return nullptr;
    }
    EntryPointer service;
    if (m_registry.Habits().matching) {
        service = std::move(m_services.back());
        m_services.pop_back();
    } else {
        service = std::move(m_services.front());
        m_services.pop_front();
    }
    return service;
}

void MatchingNotification::ServicePublished(const EntryPointer& service) {
    if (m_about != About::Terminations)
        Offer(service);
}

void MatchingNotification::ServicePublishedAgain(const EntryPointer& service) {
    if (m_about == About::Arrivals)
        Offer(service);
}

void MatchingNotification::ServiceTerminated(const EntryPointer& service) {
    if (m_about == About::Terminations)
        Offer(service);
}

void MatchingNotification::Offer(const EntryPointer& service) {
    if (!m_criteria.Match(*service, m_registry.Habits()) || !Append(service) || !m_isArmed)
        return;
    m_isArmed = false;
    Post(0);
}

bool MatchingNotification::Append(const EntryPointer& service) {
    if (m_registry.Habits().matching && m_services.size() >= KERNELS_ROOM)
        return false;
    m_services.push_back(service);
    return true;
}

Delivery MatchingNotification::Prepare(std::uint32_t) {
    return {shared_from_this(),
            [callback = m_callback, refCon = m_refCon](io_object_t iterator) { callback(refCon, iterator); }};
}

InterestNotification::InterestNotification(std::shared_ptr<NotificationQueue> queue, EntryPointer service,
                                           IOServiceInterestCallback callback, void* refCon)
    : Notification(std::move(queue)), m_service(std::move(service)), m_callback(callback), m_refCon(refCon) {
    if (m_service->IsAttached())
        m_service->AddObserver(*this);
    else
        Post(kIOMessageServiceIsTerminated);
}

InterestNotification::~InterestNotification() {
    m_service->RemoveObserver(*this);
}

void InterestNotification::EntryTerminated() {
    Post(kIOMessageServiceIsTerminated);
}

Delivery InterestNotification::Prepare(std::uint32_t messageType) {
    return {m_service, [callback = m_callback, refCon = m_refCon, messageType](io_object_t service) {
                callback(refCon, service, messageType, nullptr);
            }};
}

} // namespace LinuxPlatform
