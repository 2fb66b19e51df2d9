#pragma once

#include "RegistryEntry.h"

#include <LinuxPlatform.h>

#include <cstdint>
#include <map>

namespace LinuxPlatform {

/// Hears of every service that comes and goes.
class RegistryObserver {
public:
    virtual ~RegistryObserver() = default;
    virtual void ServicePublished(const EntryPointer& service) = 0;
    virtual void ServicePublishedAgain(const EntryPointer&) {}
    virtual void ServiceTerminated(const EntryPointer& service) = 0;
};

/// The graph of entries. It knows nothing of where they come from, and calls nobody but its observers, which
/// only queue what they hear. Used with the server's lock held.
class Registry {
public:
    Registry();

    const EntryPointer& Root() const { return m_root; }
    /// The one entry that every network interface is a parent of.
    const EntryPointer& NetworkStack() const { return m_networkStack; }

    /// Adds an entry below `parent`. `location` gives way when a sibling has it already.
    EntryPointer Publish(const EntryPointer& parent, std::string className, std::string name,
                         std::uint32_t location, PropertyTable properties);
    /// Tells the observers of an entry that is there already.
    void PublishAgain(const EntryPointer& entry);
    /// Makes `child`, which has other parents, a child of `parent` too.
    void AddParent(const EntryPointer& child, const EntryPointer& parent);
    /// Takes an entry out, after everything that hangs on it alone.
    void Terminate(const EntryPointer& entry);

    /// By their ids, and so parents before their children.
    using ServiceTable = std::map<std::uint64_t, EntryPointer>;
    /// All services that are there.
    const ServiceTable& Services() const { return m_services; }
    /// Those that have a property with this number; null when none has. A watch for each of a thousand
    /// devices need not look at all of them a thousand times.
    const ServiceTable* FindServicesWith(std::string_view key, std::int32_t number) const;

    /// Changes whenever an entry comes or goes.
    std::uint64_t Generation() const { return m_generation; }

    const KernelHabits& Habits() const { return m_habits; }
    void AdoptHabits(const KernelHabits& habits) { m_habits = habits; }

    void AddObserver(RegistryObserver& observer) { m_observers.push_back(&observer); }
    void RemoveObserver(RegistryObserver& observer);

private:
    EntryPointer Create(std::string className, std::string name, PropertyTable properties);
    void Attach(const EntryPointer& entry, const EntryPointer& parent, std::uint32_t location);
    static std::uint32_t FreeLocation(const RegistryEntry& parent, std::uint32_t wanted);
    void Detach(const EntryPointer& entry);
    void AddService(const EntryPointer& entry);
    void RemoveService(const EntryPointer& entry);
    void TellTerminated(const EntryPointer& entry);

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
