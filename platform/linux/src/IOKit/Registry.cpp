#include "Registry.h"

#include "ClassTree.h"

#include <algorithm>

#include <IOKit/IOKitKeys.h>

namespace LinuxPlatform {
namespace {

template <class T, class U>
void EraseOne(std::vector<T>& from, const U& what) {
    const auto found = std::find(from.begin(), from.end(), what);
    if (found != from.end())
        from.erase(found);
}

} // namespace

Registry::Registry() {
    m_root = Create(ClassName::REGISTRY_ENTRY, "Root", {});
    m_root->m_isAttached = true;
    m_networkStack = Publish(m_root, ClassName::NETWORK_STACK, ClassName::NETWORK_STACK, 0, {});
}

EntryPointer Registry::Create(std::string className, std::string name, PropertyTable properties) {
    properties[kIOClassKey] = className;
    return std::make_shared<RegistryEntry>(++m_lastID, std::move(className), std::move(name),
                                           std::move(properties));
}

EntryPointer Registry::Publish(const EntryPointer& parent, std::string className, std::string name,
                               std::uint32_t location, PropertyTable properties) {
    EntryPointer entry = Create(std::move(className), std::move(name), std::move(properties));
    Attach(entry, parent, location);
    if (entry->m_className == ClassName::NETWORK_INTERFACE)
        AddParent(m_networkStack, entry);
    AddService(entry);
    for (RegistryObserver* observer : m_observers)
        observer->ServicePublished(entry);
    return entry;
}

void Registry::PublishAgain(const EntryPointer& entry) {
    for (RegistryObserver* observer : m_observers)
        observer->ServicePublishedAgain(entry);
}

void Registry::AddParent(const EntryPointer& child, const EntryPointer& parent) {
    child->m_parents.push_back(parent.get());
    parent->m_children.push_back(child);
    ++m_generation;
}

void Registry::Attach(const EntryPointer& entry, const EntryPointer& parent, std::uint32_t location) {
    entry->m_location = FreeLocation(*parent, location);
    entry->m_isAttached = true;
    AddParent(entry, parent);
}

std::uint32_t Registry::FreeLocation(const RegistryEntry& parent, std::uint32_t wanted) {
    const auto isTaken = [&](std::uint32_t location) {
        return std::any_of(parent.m_children.begin(), parent.m_children.end(),
                           [location](const auto& sibling) { return sibling->Location() == location; });
    };
    std::uint32_t location = wanted;
    // No port has a number up there.
    for (std::uint32_t next = 0x80000000U; isTaken(location); ++next)
        location = next;
    return location;
}

void Registry::Terminate(const EntryPointer& entry) {
    const std::vector<EntryPointer> children = entry->m_children;
    for (const EntryPointer& child : children) {
        if (child->m_parents.size() == 1)
            Terminate(child);
    }
    Detach(entry);
    RemoveService(entry);
    TellTerminated(entry);
}

void Registry::Detach(const EntryPointer& entry) {
    for (RegistryEntry* parent : entry->m_parents)
        EraseOne(parent->m_children, entry);
    for (const EntryPointer& child : entry->m_children)
        EraseOne(child->m_parents, entry.get());
    entry->m_parents.clear();
    entry->m_children.clear();
    entry->m_isAttached = false;
    ++m_generation;
}

void Registry::TellTerminated(const EntryPointer& entry) {
    for (EntryObserver* observer : entry->m_observers)
        observer->EntryTerminated();
    for (RegistryObserver* observer : m_observers)
        observer->ServiceTerminated(entry);
}

void Registry::AddService(const EntryPointer& entry) {
    m_services.emplace(entry->ID(), entry);
    for (const auto& [key, value] : entry->Properties()) {
        if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
            m_servicesByNumber[key][*number].emplace(entry->ID(), entry);
    }
}

void Registry::RemoveService(const EntryPointer& entry) {
    m_services.erase(entry->ID());
    for (const auto& [key, value] : entry->Properties()) {
        const std::int32_t* const number = std::get_if<std::int32_t>(&value);
        if (!number)
            continue;
        auto& byNumber = m_servicesByNumber[key];
        ServiceTable& services = byNumber[*number];
        services.erase(entry->ID());
        if (services.empty())
            byNumber.erase(*number);
    }
}

const Registry::ServiceTable* Registry::FindServicesWith(std::string_view key, std::int32_t number) const {
    const auto byNumber = m_servicesByNumber.find(key);
    if (byNumber == m_servicesByNumber.end())
        return nullptr;
    const auto services = byNumber->second.find(number);
    return services == byNumber->second.end() ? nullptr : &services->second;
}

void Registry::RemoveObserver(RegistryObserver& observer) {
    EraseOne(m_observers, &observer);
}

} // namespace LinuxPlatform
