#include "Notifications.h"

#include <IOKit/IOMessage.h>

namespace LinuxPlatform {
namespace {

/// How many services the iterator of a notification holds on a Mac.
const std::size_t KERNEL_ITERATOR_CAPACITY = 1024;

} // namespace

MatchingNotification::MatchingNotification(Registry& registry, std::shared_ptr<NotificationQueue> queue,
                                           About about, MatchingCriteria criteria,
                                           IOServiceMatchingCallback callback, void* refCon)
    : Notification(std::move(queue)), m_registry(registry), m_about(about), m_criteria(std::move(criteria)),
      m_callback(callback), m_refCon(refCon) {
    m_registry.addObserver(*this);
    if (m_about == About::Terminations)
        return;
    for (const EntryPointer& present : m_criteria.matchesIn(m_registry))
        append(present);
}

MatchingNotification::~MatchingNotification() {
    m_registry.removeObserver(*this);
}

EntryPointer MatchingNotification::next() {
    if (m_services.empty()) {
        m_isArmed = true;
        return nullptr;
    }
    EntryPointer service;
    if (m_registry.habits().matching) {
        service = std::move(m_services.back());
        m_services.pop_back();
    } else {
        service = std::move(m_services.front());
        m_services.pop_front();
    }
    return service;
}

void MatchingNotification::servicePublished(const EntryPointer& service) {
    if (m_about != About::Terminations)
        offer(service);
}

void MatchingNotification::servicePublishedAgain(const EntryPointer& service) {
    if (m_about == About::Arrivals)
        offer(service);
}

void MatchingNotification::serviceTerminated(const EntryPointer& service) {
    if (m_about == About::Terminations)
        offer(service);
}

void MatchingNotification::offer(const EntryPointer& service) {
    if (!m_criteria.match(*service, m_registry.habits()) || !append(service) || !m_isArmed)
        return;
    m_isArmed = false;
    post(0);
}

bool MatchingNotification::append(const EntryPointer& service) {
    if (m_registry.habits().matching && m_services.size() >= KERNEL_ITERATOR_CAPACITY)
        return false;
    m_services.push_back(service);
    return true;
}

Delivery MatchingNotification::prepare(std::uint32_t) {
    return {shared_from_this(),
            [callback = m_callback, refCon = m_refCon](io_object_t iterator) { callback(refCon, iterator); }};
}

InterestNotification::InterestNotification(std::shared_ptr<NotificationQueue> queue, EntryPointer service,
                                           IOServiceInterestCallback callback, void* refCon)
    : Notification(std::move(queue)), m_service(std::move(service)), m_callback(callback), m_refCon(refCon) {
    if (m_service->isAttached())
        m_service->addObserver(*this);
    else
        post(kIOMessageServiceIsTerminated);
}

InterestNotification::~InterestNotification() {
    m_service->removeObserver(*this);
}

void InterestNotification::entryTerminated() {
    post(kIOMessageServiceIsTerminated);
}

Delivery InterestNotification::prepare(std::uint32_t messageType) {
    return {m_service, [callback = m_callback, refCon = m_refCon, messageType](
                           io_object_t service) { callback(refCon, service, messageType, nullptr); }};
}

} // namespace LinuxPlatform
