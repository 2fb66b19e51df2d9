#pragma once

#include "RegistryEntry.h"

#include <LinuxPlatform.h>

#include <cstdint>
#include <map>

namespace LinuxPlatform {

/// Is notified of every service that comes or goes.
class RegistryObserver {
public:
    virtual ~RegistryObserver() = default;
    virtual void servicePublished(const EntryPointer& service) = 0;
    virtual void servicePublishedAgain(const EntryPointer&) {}
    virtual void serviceTerminated(const EntryPointer& service) = 0;
};

/// The graph of entries. It does not know where they come from, and calls nobody but its observers, which
/// only queue their notifications. Used with the server's lock held.
class Registry {
public:
    Registry();

    const EntryPointer& root() const { return m_root; }
    /// The one entry that every network interface is a parent of.
    const EntryPointer& networkStack() const { return m_networkStack; }

    /// Adds an entry below `parent`. If a sibling already has this location, it gets another one.
    EntryPointer publish(const EntryPointer& parent, std::string className, std::string name,
                         std::uint32_t location, PropertyTable properties);
    /// Notifies the observers of an entry that exists already.
    void publishAgain(const EntryPointer& entry);
    /// Makes `child`, which has other parents, a child of `parent` too.
    void addParent(const EntryPointer& child, const EntryPointer& parent);
    /// Removes an entry, after everything that is only below it.
    void terminate(const EntryPointer& entry);

    /// Sorted by id, and so parents before their children.
    using ServiceTable = std::map<std::uint64_t, EntryPointer>;
    /// All present services.
    const ServiceTable& services() const { return m_services; }
    /// Those that have a property with this number; null if there are none. So the notifications for a
    /// thousand devices need not each check all of them.
    const ServiceTable* findServicesWith(std::string_view key, std::int32_t number) const;

    /// Changes whenever an entry comes or goes.
    std::uint64_t generation() const { return m_generation; }

    const KernelHabits& habits() const { return m_habits; }
    void adoptHabits(const KernelHabits& habits) { m_habits = habits; }

    void addObserver(RegistryObserver& observer) { m_observers.push_back(&observer); }
    void removeObserver(RegistryObserver& observer);

private:
    EntryPointer create(std::string className, std::string name, PropertyTable properties);
    void attach(const EntryPointer& entry, const EntryPointer& parent, std::uint32_t location);
    static std::uint32_t freeLocation(const RegistryEntry& parent, std::uint32_t wanted);
    void detach(const EntryPointer& entry);
    void addService(const EntryPointer& entry);
    void removeService(const EntryPointer& entry);
    void tellTerminated(const EntryPointer& entry);

    KernelHabits m_habits;
    std::uint64_t m_lastID = 0;
    std::uint64_t m_generation = 0;
    EntryPointer m_root;
    EntryPointer m_networkStack;
    ServiceTable m_services; ///< an entry's id is larger than its first parent's
    std::map<std::string, std::map<std::int32_t, ServiceTable>, std::less<>> m_servicesByNumber;
    std::vector<RegistryObserver*> m_observers;
};

} // namespace LinuxPlatform
