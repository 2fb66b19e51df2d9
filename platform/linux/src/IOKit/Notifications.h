#pragma once

#include "Iterators.h"
#include "MatchingCriteria.h"
#include "NotificationQueue.h"
#include "Registry.h"

#include <IOKit/IOKitLib.h>

#include <deque>

namespace LinuxPlatform {

/// What IOServiceAddMatchingNotification registers. Used with the server's lock held.
///
/// It posts one message when a service is added to its empty, drained iterator, and no other until the
/// iterator has been drained again. A service that leaves before it was taken out is still returned: a client
/// that then asks for its end is notified at once, so a short visit is seen as an arrival and a removal.
class MatchingNotification final : public RegistryIterator, private Notification, private RegistryObserver {
public:
    enum class About { Arrivals, FirstArrivals, Terminations };

    MatchingNotification(Registry& registry, std::shared_ptr<NotificationQueue> queue, About about,
                         MatchingCriteria criteria, IOServiceMatchingCallback callback, void* refCon);
    ~MatchingNotification() override;

    std::string_view className() const override { return ClassName::MATCHING_NOTIFICATION; }
    EntryPointer next() override;
    void reset() override {}
    bool isValid() const override { return true; }

private:
    void servicePublished(const EntryPointer& service) override;
    void servicePublishedAgain(const EntryPointer& service) override;
    void serviceTerminated(const EntryPointer& service) override;
    Delivery prepare(std::uint32_t messageType) override;
    void offer(const EntryPointer& service);
    /// False if there is no room for it.
    bool append(const EntryPointer& service);

    Registry& m_registry;
    const About m_about;
    const MatchingCriteria m_criteria;
    const IOServiceMatchingCallback m_callback;
    void* const m_refCon;
    std::deque<EntryPointer> m_services;
    bool m_isArmed = false;
};

/// What IOServiceAddInterestNotification registers. Used with the server's lock held.
class InterestNotification final : public RegistryObject, private Notification, private EntryObserver {
public:
    InterestNotification(std::shared_ptr<NotificationQueue> queue, EntryPointer service,
                         IOServiceInterestCallback callback, void* refCon);
    ~InterestNotification() override;

    std::string_view className() const override { return ClassName::INTEREST_NOTIFICATION; }

private:
    void entryTerminated() override;
    Delivery prepare(std::uint32_t messageType) override;

    const EntryPointer m_service;
    const IOServiceInterestCallback m_callback;
    void* const m_refCon;
};

} // namespace LinuxPlatform
