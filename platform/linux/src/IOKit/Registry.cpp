#include "Registry.h"

#include "ClassTree.h"

#include <algorithm>

#include <IOKit/IOKitKeys.h>

namespace LinuxPlatform {
namespace {

template <class T, class U>
void eraseOne(std::vector<T>& from, const U& what) {
    const auto found = std::find(from.begin(), from.end(), what);
    if (found != from.end())
        from.erase(found);
}

} // namespace

Registry::Registry() {
    m_root = create(ClassName::REGISTRY_ENTRY, "Root", {});
    m_root->m_isAttached = true;
    m_networkStack = publish(m_root, ClassName::NETWORK_STACK, ClassName::NETWORK_STACK, 0, {});
}

EntryPointer Registry::create(std::string className, std::string name, PropertyTable properties) {
    properties[kIOClassKey] = className;
    return std::make_shared<RegistryEntry>(++m_lastID, std::move(className), std::move(name),
                                           std::move(properties));
}

EntryPointer Registry::publish(const EntryPointer& parent, std::string className, std::string name,
                               std::uint32_t location, PropertyTable properties) {
    EntryPointer entry = create(std::move(className), std::move(name), std::move(properties));
    attach(entry, parent, location);
    if (entry->m_className == ClassName::NETWORK_INTERFACE)
        addParent(m_networkStack, entry);
    addService(entry);
    for (RegistryObserver* observer : m_observers)
        observer->servicePublished(entry);
    return entry;
}

void Registry::publishAgain(const EntryPointer& entry) {
    for (RegistryObserver* observer : m_observers)
        observer->servicePublishedAgain(entry);
}

void Registry::addParent(const EntryPointer& child, const EntryPointer& parent) {
    child->m_parents.push_back(parent.get());
    parent->m_children.push_back(child);
    ++m_generation;
}

void Registry::attach(const EntryPointer& entry, const EntryPointer& parent, std::uint32_t location) {
    entry->m_location = freeLocation(*parent, location);
    entry->m_isAttached = true;
    addParent(entry, parent);
}

std::uint32_t Registry::freeLocation(const RegistryEntry& parent, std::uint32_t wanted) {
    const auto isTaken = [&](std::uint32_t location) {
        return std::any_of(parent.m_children.begin(), parent.m_children.end(),
                           [location](const auto& sibling) { return sibling->location() == location; });
    };
    std::uint32_t location = wanted;
    // No port has such a high number.
    for (std::uint32_t next = 0x80000000U; isTaken(location); ++next)
        location = next;
    return location;
}

void Registry::terminate(const EntryPointer& entry) {
    const std::vector<EntryPointer> children = entry->m_children;
    for (const EntryPointer& child : children)
        if (child->m_parents.size() == 1)
            terminate(child);
    detach(entry);
    removeService(entry);
    tellTerminated(entry);
}

void Registry::detach(const EntryPointer& entry) {
    for (RegistryEntry* parent : entry->m_parents)
        eraseOne(parent->m_children, entry);
    for (const EntryPointer& child : entry->m_children)
        eraseOne(child->m_parents, entry.get());
    entry->m_parents.clear();
    entry->m_children.clear();
    entry->m_isAttached = false;
    ++m_generation;
}

void Registry::tellTerminated(const EntryPointer& entry) {
    for (EntryObserver* observer : entry->m_observers)
        observer->entryTerminated();
    for (RegistryObserver* observer : m_observers)
        observer->serviceTerminated(entry);
}

void Registry::addService(const EntryPointer& entry) {
    m_services.emplace(entry->id(), entry);
    for (const auto& [key, value] : entry->properties())
        if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
            m_servicesByNumber[key][*number].emplace(entry->id(), entry);
}

void Registry::removeService(const EntryPointer& entry) {
    m_services.erase(entry->id());
    for (const auto& [key, value] : entry->properties()) {
        const std::int32_t* const number = std::get_if<std::int32_t>(&value);
        if (!number)
            continue;
        auto& byNumber = m_servicesByNumber[key];
        ServiceTable& services = byNumber[*number];
        services.erase(entry->id());
        if (services.empty())
            byNumber.erase(*number);
    }
}

const Registry::ServiceTable* Registry::findServicesWith(std::string_view key, std::int32_t number) const {
    const auto byNumber = m_servicesByNumber.find(key);
    if (byNumber == m_servicesByNumber.end())
        return nullptr;
    const auto services = byNumber->second.find(number);
    return services == byNumber->second.end() ? nullptr : &services->second;
}

void Registry::removeObserver(RegistryObserver& observer) {
    eraseOne(m_observers, &observer);
}

} // namespace LinuxPlatform
