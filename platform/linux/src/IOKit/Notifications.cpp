#include "Notifications.h"

#include <IOKit/IOMessage.h>

namespace LinuxPlatform {
namespace {

/// How many services the iterator of a notification holds on a Mac.
const std::size_t KERNELS_ROOM = 1024;

} // namespace

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
