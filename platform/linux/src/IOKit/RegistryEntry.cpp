#include "RegistryEntry.h"

#include <algorithm>
#include <cstdio>

namespace LinuxPlatform {

RegistryEntry::RegistryEntry(std::uint64_t id, std::string className, std::string name,
                             PropertyTable properties)
    : m_id(id), m_className(std::move(className)), m_name(std::move(name)),
      m_properties(std::move(properties)) {}

const PropertyValue* RegistryEntry::findProperty(std::string_view key) const {
    const auto property = m_properties.find(key);
    return property == m_properties.end() ? nullptr : &property->second;
}

void RegistryEntry::removeObserver(EntryObserver& observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), &observer), m_observers.end());
}

std::optional<std::string> RegistryEntry::path() const {
    if (!m_isAttached)
        return std::nullopt;
    std::string components;
    for (const RegistryEntry* entry = this; !entry->m_parents.empty(); entry = entry->m_parents.front())
        components.insert(0, "/" + entry->component());
    return "IOService:" + (components.empty() ? "/" : components);
}

std::string RegistryEntry::component() const {
    char location[sizeof("@00000000")];
    std::snprintf(location, sizeof(location), "@%08lx", static_cast<unsigned long>(m_location));
    std::string component = m_name;
    std::replace(component.begin(), component.end(), '/', '_');
    return component + location;
}

} // namespace LinuxPlatform
